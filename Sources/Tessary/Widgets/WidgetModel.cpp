#include "WidgetModel.h"

#include "Tessary/Model/ListPeriod.h"
#include "Tessary/Store/Store.h"

#include <QPointer>
#include <QSet>

#include <algorithm>

namespace tessary {

namespace {

QStringList inputsOf(const std::optional<WidgetModel::Source>& source)
{
    return source ? source->tickers + QStringList { source->benchmark } : QStringList();
}

} // namespace

WidgetModel::WidgetModel(Store& store, SidebarItem item, Timeframe timeframe, int topN, bool pinned,
    std::chrono::milliseconds refreshInterval, QObject* parent)
    : QObject(parent)
    , m_store(store)
    , m_item(std::move(item))
    , m_timeframe(timeframe)
    , m_topN(validTopN(topN))
    , m_pinned(pinned)
{
    // QTimer runs on the monotonic clock, so a changed wall clock neither skips nor repeats a
    // refresh.
    m_refresh.setSingleShot(true);
    m_refresh.setTimerType(Qt::CoarseTimer);
    m_refresh.setInterval(refreshInterval);
    connect(&m_refresh, &QTimer::timeout, this, &WidgetModel::load);
    // The list may be edited, renamed or deleted in the main window meanwhile; only a change
    // of what is asked for needs a new load.
    connect(&m_store, &Store::listsChanged, this, [this] {
        const auto now = source();
        if (inputsOf(now) != m_asked)
            load();
        else
            Q_EMIT changed();
    });
    connect(&m_store, &Store::catalogChanged, this, &WidgetModel::load);
    connect(&m_store, &Store::serviceConnected, this, &WidgetModel::load);
}

void WidgetModel::setItem(const SidebarItem& item)
{
    if (item == m_item)
        return;
    m_item = item;
    Q_EMIT configChanged();
    load();
}

void WidgetModel::setTimeframe(Timeframe timeframe)
{
    if (timeframe == m_timeframe)
        return;
    m_timeframe = timeframe;
    Q_EMIT configChanged();
    load();
}

void WidgetModel::setTopN(int topN)
{
    topN = validTopN(topN);
    if (topN == m_topN)
        return;
    m_topN = topN;
    reshape();
    Q_EMIT configChanged();
    Q_EMIT changed();
}

void WidgetModel::setPinned(bool pinned)
{
    if (pinned == m_pinned)
        return;
    m_pinned = pinned;
    Q_EMIT configChanged();
    Q_EMIT changed();
}

std::optional<WidgetModel::Source> WidgetModel::source() const
{
    if (const auto id = m_item.listId()) {
        if (const ComparisonList* list = m_store.list(*id))
            return Source { list->name, list->tickers, list->benchmark };
        return std::nullopt;
    }
    if (const auto* collection = m_store.catalog().collection(m_item.featuredId().value_or(QString())))
        return Source { collection->name, collection->tickers, QString::fromLatin1(defaultBenchmark) };
    return std::nullopt;
}

void WidgetModel::load()
{
    m_refresh.stop();
    m_cancellation.cancel();
    m_cancellation = Cancellation();
    const auto now = source();
    m_asked = inputsOf(now);
    // Nothing to ask for (a missing list, an empty one, no service yet): the panel says why
    // and the next change or refresh tries again.
    if (!now || now->tickers.isEmpty() || !m_store.isServiceConnected()) {
        m_isLoading = false;
        Q_EMIT changed();
        m_refresh.start();
        return;
    }
    m_isLoading = true;
    Q_EMIT changed();
    QCoro::connect(run(++m_generation, now->tickers, now->benchmark, m_timeframe, m_cancellation), this, [] {});
}

QCoro::Task<> WidgetModel::run(
    quint64 generation, QStringList tickers, QString benchmark, Timeframe timeframe, Cancellation cancellation)
{
    QPointer self(this);
    auto result = co_await m_store.fetchComparison(tickers, benchmark, ListPeriod::forPreset(timeframe), cancellation);
    if (!self || cancellation.isCancelled() || generation != m_generation)
        co_return;
    if (result) {
        m_comparison = std::make_shared<const Comparison>(std::move(*result));
        m_shownTimeframe = timeframe;
        m_updatedAt = QDateTime::currentDateTime();
        m_error.reset();
        reshape();
    } else {
        // The last good chart stays; the line under it says what went wrong.
        m_error = result.error().description();
    }
    finishLoad();
}

void WidgetModel::finishLoad()
{
    m_isLoading = false;
    m_refresh.start();
    Q_EMIT changed();
}

void WidgetModel::reshape()
{
    m_shown = m_comparison ? std::make_shared<const Comparison>(topByReturn(*m_comparison, m_topN)) : nullptr;
}

Comparison topByReturn(const Comparison& comparison, int count)
{
    std::vector<const RankRow*> ranked;
    for (const RankRow& row : comparison.rows)
        ranked.push_back(&row);
    std::ranges::stable_sort(ranked, [](const RankRow* a, const RankRow* b) {
        return a->netReturn.value_or(-std::numeric_limits<double>::infinity())
            > b->netReturn.value_or(-std::numeric_limits<double>::infinity());
    });
    ranked.resize(std::min<std::size_t>(ranked.size(), static_cast<std::size_t>(std::max(count, 0))));
    QSet<QString> kept;
    for (const RankRow* row : ranked)
        kept.insert(row->ticker);
    if (comparison.benchmarkRow)
        kept.insert(comparison.benchmarkRow->ticker);

    Comparison top = comparison;
    std::erase_if(top.series, [&](const ChartSeries& series) { return !kept.contains(series.ticker); });
    top.rows.clear();
    for (const RankRow* row : ranked)
        top.rows.push_back(*row);
    std::erase_if(top.lateStarters, [&](const LateStarter& late) { return !kept.contains(late.ticker); });
    return top;
}

int validTopN(int topN)
{
    const auto& choices = WidgetModel::topNChoices;
    return std::ranges::find(choices, topN) != choices.end() ? topN : WidgetModel::defaultTopN;
}

} // namespace tessary
