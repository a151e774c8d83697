#include "RankingsPanel.h"

#include "MultiPeriodChips.h"
#include "MultiPeriodChoice.h"
#include "MultiPeriodGrid.h"
#include "RankingTable.h"
#include "SummaryCards.h"

#include <QLabel>
#include <QTabWidget>
#include <QVBoxLayout>

#include "Tessary/Model/Palette.h"
#include "Tessary/Store/Store.h"

namespace tessary {

RankingsPanel::RankingsPanel(Store& store, ChartFocus& focus, Preferences& preferences, QWidget* parent)
    : QWidget(parent)
    , m_store(store)
    , m_choice(new MultiPeriodChoice(preferences, this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    m_cards = new SummaryCards(this);
    layout->addWidget(m_cards);

    // Table and grid each get the whole width: nine metric columns, or one column per
    // period, do not fit side by side in a window of ordinary size.
    auto* tabs = new QTabWidget(this);
    tabs->setDocumentMode(true);
    m_table = new RankingTable(focus, tabs);
    auto* gridSide = new QWidget(tabs);
    auto* gridLayout = new QVBoxLayout(gridSide);
    gridLayout->setContentsMargins(0, 0, 0, 0);
    // The taller of the two tabs sets the panel's least height, and so what the chart keeps.
    gridLayout->setSpacing(0);
    m_chips = new MultiPeriodChips(*m_choice, gridSide);
    m_grid = new MultiPeriodGrid(focus, gridSide);
    gridLayout->addWidget(m_chips);
    gridLayout->addWidget(m_grid, 1);
    tabs->addTab(m_table, QStringLiteral("Rankings"));
    tabs->addTab(gridSide, QStringLiteral("Periods"));
    layout->addWidget(tabs, 1);

    m_table->setExchangeLookup([this](const QString& ticker) -> std::optional<QString> {
        const TickerInfo* info = m_store.universe().find(ticker);
        return info ? info->exchange : std::nullopt;
    });
    connect(m_table, &RankingTable::makeBenchmarkRequested, &m_store, &Store::makeBenchmark);
    connect(m_table, &RankingTable::removeRequested, this,
        [this](const QString& ticker) { m_store.removeTickers({ ticker }); });
    connect(m_chips, &MultiPeriodChips::periodClicked, m_grid, &MultiPeriodGrid::sortByPeriod);
    connect(m_choice, &MultiPeriodChoice::periodsChanged, this, &RankingsPanel::refreshGrid);
    connect(&m_store, &Store::comparisonChanged, this, &RankingsPanel::refresh);
    connect(&m_store, &Store::selectionChanged, this, &RankingsPanel::refresh);
    refresh();
}

void RankingsPanel::refresh()
{
    const auto& comparison = m_store.comparison();
    const QString benchmark = m_store.selectedBenchmark();
    RankingTableModel::Input input;
    if (comparison) {
        input.rows = comparison->rows;
        input.benchmarkRow = comparison->benchmarkRow;
    }
    input.tickers = m_store.selectedTickers();
    input.benchmark = benchmark;
    input.editable = m_store.selectionIsEditable();
    m_cards->setSummary(RankingSummary::of(input.rows, input.benchmarkRow, benchmark));
    m_table->setInput(std::move(input));
    refreshGrid();
}

void RankingsPanel::refreshGrid()
{
    const auto& comparison = m_store.comparison();
    MultiPeriodGridModel::Input input;
    input.benchmark = m_store.selectedBenchmark();
    input.periods = m_choice->periods();
    if (comparison) {
        input.rows = comparison->rows;
        input.benchmarkRow = comparison->benchmarkRow;
        // The labels take the colours of the chart's lines; the benchmark and symbols outside
        // the list keep the secondary colour.
        const QStringList tickers = m_store.selectedTickers();
        for (qsizetype i = 0; i < tickers.size(); ++i) {
            if (tickers[i] != input.benchmark)
                input.colors.insert(tickers[i], Palette::seriesColor(static_cast<std::size_t>(i)));
        }
    }
    m_grid->setInput(std::move(input));
}

} // namespace tessary
