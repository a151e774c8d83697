#pragma once

#include <QHash>
#include <QSettings>
#include <QString>
#include <QStringList>

#include <memory>

namespace tessary {

// The user's preferences, under the key names the rest of the app and its documentation use.
// Every setter writes through at once; nothing is kept only in memory.
class Preferences {
public:
    // The platform's per-user store.
    Preferences();
    // A separate file, for tests and for running two instances side by side.
    explicit Preferences(const QString& iniFile);

    bool logScale() const;
    void setLogScale(bool on);

    // List key → highlighted tickers.
    QHash<QString, QStringList> highlights() const;
    void setHighlights(const QHash<QString, QStringList>& highlights);

    QString multiPeriods() const;
    void setMultiPeriods(const QString& encoded);

    // "featureFlags.beta" and "featureFlags.internal": false when never set.
    bool featureFlag(const QString& key) const;
    void setFeatureFlag(const QString& key, bool on);

    // The floating widgets' configurations, one JSON array; empty when never saved.
    QByteArray floatingWidgets() const;
    void setFloatingWidgets(const QByteArray& json);
    bool widgetShortcutTipSeen() const;
    void setWidgetShortcutTipSeen();
    // The first-run tour was dismissed; it is only offered from the Help menu after that.
    bool tourSeen() const;
    void setTourSeen();
    // The user let the app check the release feed at start-up; off until they do.
    bool checksForUpdates() const;
    void setChecksForUpdates(bool on);

private:
    std::unique_ptr<QSettings> m_settings;
};

} // namespace tessary
