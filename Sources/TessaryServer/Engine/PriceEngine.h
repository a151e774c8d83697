#pragma once

#include "TessaryServer/MarketReader.h"
#include "TessaryWire/WireRecords.h"
#include "WindowRules.h"

#include <QString>
#include <QStringList>

#include <expected>

namespace tessary::server {

// The optional metrics a client names in `metrics`; the others are always computed.
struct MetricSelection {
    bool volatility = true;
    bool sharpeRatio = true;
    bool periodMaxDrawdown = true;
};

struct PricesQuery {
    QStringList tickers; // upper-case, distinct, in the order asked
    bool skipUnknown = false;
    MetricSelection metrics;
    PriceWindow window;
};

struct UnknownTickerError {
    QString symbol;
    QString description() const { return QStringLiteral("unknown ticker: ") + symbol; }
};

// Series and rankings for every requested symbol over one window, in request order. A known
// symbol without bars in the window gets no series and a ranking holding only its ticker.
std::expected<PricesResponse, UnknownTickerError> computePrices(const MarketReader& market, const PricesQuery& query);

// The metrics of one symbol over bars[range.base … range.last], plus `preset_returns` ending at
// the market's last day.
TickerRanking rankTicker(
    const QString& symbol, const DailyHistory& bars, BarRange range, QDate marketEnd, const MetricSelection& metrics);

// The price path of one symbol at the window's bar size: performance against the base bar and
// the adjusted closes.
TickerSeries tickerSeries(const QString& symbol, const DailyHistory& bars, BarRange range, BarInterval interval,
    const IntradayHistory* intraday);

QString dataSourceName(DataSource source);

} // namespace tessary::server
