#include "TessaryServer/Data/MarketDatabase.h"

#include <algorithm>

#include "TessaryServer/Data/SqliteMarketDatabase.h"

namespace tessary::server {

namespace {

constexpr qint64 epochJulianDay = 2440588;

} // namespace

qint64 MarketDatabase::dayNumber(QDate date)
{
    return date.toJulianDay() - epochJulianDay;
}

QDate MarketDatabase::dateOfDay(qint64 day)
{
    return QDate::fromJulianDay(day + epochJulianDay);
}

std::expected<std::unique_ptr<MarketDatabase>, DataError> MarketDatabase::open(const QString& directory)
{
    auto database = SqliteMarketDatabase::open(directory);
    if (!database)
        return std::unexpected(database.error());
    return std::unique_ptr<MarketDatabase>(std::move(*database));
}

void MarketDatabase::reload() const
{
    std::lock_guard lock(m_mutex);
    m_daily.clear();
    m_intraday.clear();
    auto snapshot = loadSnapshot();
    if (!snapshot)
        snapshot.emplace();
    std::ranges::sort(snapshot->universe, {}, &TickerInfo::symbol);
    // Handlers on the server's thread may still hold the old snapshot; it stays theirs.
    m_universe = std::make_shared<const Universe>(std::move(snapshot->universe));
    m_ids = std::move(snapshot->ids);
    m_meta = std::move(snapshot->meta);
    m_lastMarketDate = snapshot->lastMarketDate;
}

void MarketDatabase::refresh() const
{
    if (changedElsewhere())
        reload();
}

std::shared_ptr<const Universe> MarketDatabase::universe() const
{
    std::lock_guard lock(m_mutex);
    refresh();
    return m_universe;
}

std::optional<TickerInfo> MarketDatabase::find(QStringView symbol) const
{
    const auto snapshot = universe();
    const auto found = std::ranges::lower_bound(
        *snapshot, symbol, {}, [](const TickerInfo& info) { return QStringView(info.symbol); });
    if (found == snapshot->end() || found->symbol != symbol)
        return std::nullopt;
    return *found;
}

std::shared_ptr<const DailyHistory> MarketDatabase::dailyBars(const QString& symbol) const
{
    std::lock_guard lock(m_mutex);
    refresh();
    if (const auto cached = m_daily.constFind(symbol); cached != m_daily.cend())
        return *cached;
    const auto id = m_ids.constFind(symbol);
    auto bars = std::make_shared<const DailyHistory>(id != m_ids.cend() ? loadDailyBars(*id) : DailyHistory());
    m_daily.insert(symbol, bars);
    return bars;
}

std::shared_ptr<const IntradayHistory> MarketDatabase::intradayBars(const QString& symbol) const
{
    std::lock_guard lock(m_mutex);
    refresh();
    if (const auto cached = m_intraday.constFind(symbol); cached != m_intraday.cend())
        return *cached;
    const auto id = m_ids.constFind(symbol);
    auto bars = std::make_shared<const IntradayHistory>(id != m_ids.cend() ? loadIntradayBars(*id) : IntradayHistory());
    m_intraday.insert(symbol, bars);
    return bars;
}

QHash<qint64, DailyHistory> MarketDatabase::loadDailyBars(const QList<qint64>& ids) const
{
    QHash<qint64, DailyHistory> histories;
    for (const qint64 id : ids)
        histories.insert(id, loadDailyBars(id));
    return histories;
}

QHash<qint64, IntradayHistory> MarketDatabase::loadIntradayBars(const QList<qint64>& ids) const
{
    QHash<qint64, IntradayHistory> histories;
    for (const qint64 id : ids)
        histories.insert(id, loadIntradayBars(id));
    return histories;
}

void MarketDatabase::prefetch(const QStringList& symbols) const
{
    std::lock_guard lock(m_mutex);
    refresh();
    QList<qint64> daily;
    QList<qint64> intraday;
    QHash<qint64, QString> symbolOf;
    for (const QString& symbol : symbols) {
        const auto id = m_ids.constFind(symbol);
        if (id == m_ids.cend())
            continue;
        symbolOf.insert(*id, symbol);
        if (!m_daily.contains(symbol))
            daily.append(*id);
        if (!m_intraday.contains(symbol))
            intraday.append(*id);
    }
    // A symbol without any bars is not in the answer; it gets its empty history all the same.
    auto dailyBars = daily.isEmpty() ? QHash<qint64, DailyHistory>() : loadDailyBars(daily);
    for (const qint64 id : std::as_const(daily))
        m_daily.insert(symbolOf.value(id), std::make_shared<const DailyHistory>(dailyBars.take(id)));
    auto intradayBars = intraday.isEmpty() ? QHash<qint64, IntradayHistory>() : loadIntradayBars(intraday);
    for (const qint64 id : std::as_const(intraday))
        m_intraday.insert(symbolOf.value(id), std::make_shared<const IntradayHistory>(intradayBars.take(id)));
}

std::optional<QDate> MarketDatabase::lastMarketDate() const
{
    std::lock_guard lock(m_mutex);
    refresh();
    return m_lastMarketDate;
}

DataSource MarketDatabase::dataSource() const
{
    const auto source = metaValue(QString::fromLatin1(dataSourceKey));
    if (source)
        return *source == QLatin1String("simulated") ? DataSource::simulated : DataSource::imported;
    return demoSeed() ? DataSource::simulated : DataSource::imported;
}

DataOrigin MarketDatabase::dataOrigin() const
{
    return DataOrigin { metaValue(QString::fromLatin1(providerKey)), metaValue(QString::fromLatin1(lastRefreshKey)) };
}

std::optional<QString> MarketDatabase::metaValue(const QString& key) const
{
    std::lock_guard lock(m_mutex);
    refresh();
    if (const auto found = m_meta.constFind(key); found != m_meta.cend())
        return *found;
    return std::nullopt;
}

std::optional<quint64> MarketDatabase::demoSeed() const
{
    bool ok = false;
    const quint64 seed = metaValue(QString::fromLatin1(demoSeedKey)).value_or(QString()).toULongLong(&ok);
    return ok ? std::optional(seed) : std::nullopt;
}

std::optional<QDate> MarketDatabase::lastDemoDate() const
{
    const QDate date
        = QDate::fromString(metaValue(QString::fromLatin1(lastDemoDateKey)).value_or(QString()), Qt::ISODate);
    return date.isValid() ? std::optional(date) : std::nullopt;
}

qint64 MarketDatabase::dailyBarCount() const
{
    std::lock_guard lock(m_mutex);
    return countDailyBars();
}

std::expected<void, DataError> MarketDatabase::write(const std::function<std::expected<void, DataError>(Writer&)>& body)
{
    std::lock_guard lock(m_mutex);
    auto done = transaction(body);
    reload();
    return done;
}

} // namespace tessary::server
