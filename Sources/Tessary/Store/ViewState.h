#pragma once

#include "Preferences.h"

#include "Tessary/Model/ListPeriod.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <memory>

namespace tessary {

// How lists are looked at, apart from the lists themselves: the highlighted tickers of each
// list, the log-scale switch, the period chosen for each curated list, and the tickers just
// added. Highlights and the log scale are preferences and are written at once.
class ViewState : public QObject {
    Q_OBJECT

public:
    ViewState(std::shared_ptr<Preferences> preferences, const QStringList& justAdded, QObject* parent = nullptr);

    QStringList highlights(const QString& listKey) const { return m_highlights.value(listKey); }
    // Returns whether anything changed.
    bool setHighlights(const QString& listKey, const QStringList& tickers);

    bool logScale() const { return m_logScale; }
    void setLogScale(bool on);

    // The period a curated list is shown over (curated lists cannot keep one themselves).
    std::optional<ListPeriod> viewPeriod(const QString& listKey) const;
    void setViewPeriod(const QString& listKey, const ListPeriod& period);

    const QSet<QString>& justAdded() const { return m_justAdded; }
    void setJustAdded(const QStringList& tickers);
    void clearJustAdded();

Q_SIGNALS:
    void highlightsChanged();
    void logScaleChanged(bool on);
    void justAddedChanged();

private:
    std::shared_ptr<Preferences> m_preferences;
    QHash<QString, QStringList> m_highlights;
    QHash<QString, ListPeriod> m_viewPeriods;
    bool m_logScale = false;
    QSet<QString> m_justAdded;
};

} // namespace tessary
