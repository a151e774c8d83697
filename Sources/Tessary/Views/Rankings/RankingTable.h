#pragma once

#include "QuoteLinks.h"
#include "RankView.h"
#include "RankingTableModel.h"
#include "Tessary/Views/Common/TickerActions.h"

#include <functional>

class QMenu;

namespace tessary {

class ChartFocus;

// The rankings table under the chart. Hovering a row brings the ticker's line forward,
// clicking pins it; the context menu opens outside quote pages and, in a list the user can
// edit, offers to remove the ticker or make it the benchmark (Delete removes the current row).
class RankingTable : public RankView {
    Q_OBJECT

public:
    using ExchangeLookup = std::function<std::optional<QString>(const QString& ticker)>;

    static constexpr int rowHeight = 44;

    explicit RankingTable(ChartFocus& focus, QWidget* parent = nullptr);

    RankingTableModel& tableModel() const { return *m_model; }
    void setInput(RankingTableModel::Input input);
    void setQuoteHosts(QuoteHosts hosts) { m_hosts = std::move(hosts); }
    void setExchangeLookup(ExchangeLookup lookup) { m_exchange = std::move(lookup); }

    // The context menu of a display row; the caller owns it.
    QMenu* contextMenuFor(int row);

    QSize sizeHint() const override;

Q_SIGNALS:
    void makeBenchmarkRequested(const QString& ticker);
    void removeRequested(const QString& ticker);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void headingClicked(int section) override;
    QString helpTopic(int section) const override;

private:
    TickerActions actionsFor(const QString& ticker);
    void hoverRow(const QModelIndex& index);
    void syncHeader();

    RankingTableModel* m_model = nullptr;
    QuoteHosts m_hosts;
    ExchangeLookup m_exchange;
    std::optional<QString> m_hovered;
};

} // namespace tessary
