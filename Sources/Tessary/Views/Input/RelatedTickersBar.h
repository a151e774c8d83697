#pragma once

#include "Tessary/MarketData/Cancellation.h"
#include "TessaryWire/WireRecords.h"

#include <QCoroTask>
#include <QList>
#include <QStringList>
#include <QWidget>

#include <optional>
#include <vector>

class QLabel;
class QToolButton;

namespace tessary {

class FlowLayout;
class Store;

// "Related": tickers the service relates to the selected list's tickers, one click to add.
// It asks again whenever the list's tickers change, answers from the shared cache when the
// same set was asked before, and keeps showing the last answer while a new one loads.
class RelatedTickersBar : public QWidget {
    Q_OBJECT

public:
    static constexpr int requestLimit = 15;
    // Pills before the "more" pill; one row at the usual window width.
    static constexpr int collapsedCount = 6;

    explicit RelatedTickersBar(Store& store, QWidget* parent = nullptr);

    const std::vector<RelatedTicker>& shown() const { return m_shown; }
    bool isExpanded() const { return m_expanded; }
    void setExpanded(bool expanded);
    // The pill buttons in order, the "more" or "Show fewer" pill last when there is one.
    QList<QToolButton*> pills() const { return m_pills; }

Q_SIGNALS:
    void shownChanged();

private:
    void followSelection();
    void startLoad();
    QCoro::Task<> load(QStringList tickers, Cancellation cancellation);
    void present(const RelatedResponse& response);
    void refilter();
    void rebuild();
    QToolButton* makePill(const RelatedTicker& related);

    Store& m_store;
    FlowLayout* m_flow = nullptr;
    QLabel* m_heading = nullptr;
    std::optional<QStringList> m_editKey;
    Cancellation m_cancellation;
    std::optional<RelatedResponse> m_response;
    std::vector<RelatedTicker> m_shown;
    QList<QToolButton*> m_pills;
    bool m_expanded = false;
};

} // namespace tessary
