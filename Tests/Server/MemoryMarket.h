#pragma once

#include "TessaryServer/Data/DataError.h"
#include "TessaryServer/MarketReader.h"

#include <QHash>
#include <QString>

#include <expected>
#include <memory>

namespace tessary::server::test {

// A market held in memory for tests of the engine and the endpoints: no database, no files
// except the daily CSV files it can load.
class MemoryMarket final : public MarketReader {
public:
    void addSymbol(const TickerInfo& info, DailyHistory daily = {}, IntradayHistory intraday = {});
    void setDataSource(DataSource source) { m_source = source; }

    // Every "SYMBOL.csv" of `directory` in the layout date,close,adjusted_close[,…].
    static std::expected<std::unique_ptr<MemoryMarket>, DataError> fromDailyCsvDirectory(const QString& directory);

    std::shared_ptr<const Universe> universe() const override { return m_universe; }
    std::optional<TickerInfo> find(QStringView symbol) const override;
    std::shared_ptr<const DailyHistory> dailyBars(const QString& symbol) const override;
    std::shared_ptr<const IntradayHistory> intradayBars(const QString& symbol) const override;
    std::optional<QDate> lastMarketDate() const override;
    DataSource dataSource() const override { return m_source; }

private:
    std::shared_ptr<Universe> m_universe = std::make_shared<Universe>();
    QHash<QString, std::shared_ptr<const DailyHistory>> m_daily;
    QHash<QString, std::shared_ptr<const IntradayHistory>> m_intraday;
    DataSource m_source = DataSource::imported;
};

// Daily bars from compact text: "2021-01-04 10" or "2021-01-04 10 9.5" (close, adjusted close;
// the adjusted close defaults to the close), one bar per comma-separated piece.
DailyHistory dailyBarsFromText(const QString& text);

} // namespace tessary::server::test
