#pragma once

// The records of the market-data service's JSON bodies. The app decodes them and the
// companion server encodes them, so both sides include this one header.

#include "Json.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>
#include <utility>
#include <vector>

namespace tessary {

using OptionalValues = std::vector<std::optional<double>>;

// The span and bar size the service actually used. Day texts are "yyyy-MM-dd".
struct RangeSummary {
    QString actualStart; // actual_start
    QString actualEnd; // actual_end
    QString interval; // "15min", "1D", "1W"

    friend bool operator==(const RangeSummary&, const RangeSummary&) = default;
};

// One price path. `performance` and `adjClose` have the length of `dates`; a null is a
// point without a value.
struct TickerSeries {
    QString ticker;
    std::vector<qint64> dates; // milliseconds since 1970, oldest first
    OptionalValues performance; // fractions from the start of the series
    std::optional<OptionalValues> adjClose; // adjClose

    friend bool operator==(const TickerSeries&, const TickerSeries&) = default;
};

// Precomputed metrics of one ticker; every metric may be absent ("NA"), never zero.
struct TickerRanking {
    QString ticker;
    std::optional<double> cagr;
    std::optional<double> volatility;
    std::optional<double> netReturn; // net_return
    std::optional<double> sharpeRatio; // sharpe_ratio
    std::optional<double> periodMaxDrawdown; // period_max_drawdown
    std::optional<QString> startDate; // start_date
    std::optional<double> endValue; // end_value
    std::optional<double> marketCap; // market_cap
    // preset_returns, keyed by Timeframe raw value, in document order.
    std::optional<std::vector<std::pair<QString, std::optional<double>>>> presetReturns;

    friend bool operator==(const TickerRanking&, const TickerRanking&) = default;
};

struct DataFreshness {
    std::optional<QString> latestHistoricalTimestamp; // latest_historical_timestamp
    std::optional<QString> latestLiveTimestamp; // latest_live_timestamp

    friend bool operator==(const DataFreshness&, const DataFreshness&) = default;
};

struct PricesResponse {
    RangeSummary range;
    std::vector<TickerSeries> series;
    std::vector<TickerRanking> rankings;
    std::optional<QStringList> skippedTickers; // skipped_tickers
    std::optional<DataFreshness> dataFreshness; // data_freshness
    std::optional<QString> dataSource; // data_source: "simulated" or "imported"
    // Where imported prices were fetched from and when they were last brought up to date.
    std::optional<QString> dataProvider; // data_provider
    std::optional<QString> dataRefreshedAt; // data_refreshed_at: ISO 8601, UTC

    friend bool operator==(const PricesResponse&, const PricesResponse&) = default;
};

// One symbol of the universe.
struct TickerInfo {
    QString symbol;
    QString name;
    bool isEtf = false;
    bool isFund = false;
    std::optional<double> marketCap;
    std::optional<QString> sector;
    std::optional<QString> industry;
    std::optional<QString> exchange;

    friend bool operator==(const TickerInfo&, const TickerInfo&) = default;
};

// The `tickers` body is column-oriented to keep a 15,000-symbol universe small.
struct TickersResponse {
    struct Columns {
        QStringList tickers;
        std::vector<std::optional<QString>> companyNames;
        std::vector<bool> isEtf;
        std::optional<std::vector<bool>> isFund;
        std::optional<OptionalValues> marketCaps;
        std::optional<std::vector<std::optional<QString>>> sectors;
        std::optional<std::vector<std::optional<QString>>> industries;
        std::optional<std::vector<std::optional<QString>>> exchanges;

        friend bool operator==(const Columns&, const Columns&) = default;
    };
    Columns tickers;
    std::optional<QString> dataSource; // data_source

    friend bool operator==(const TickersResponse&, const TickersResponse&) = default;
};

struct RelatedTicker {
    QString ticker;
    std::optional<QString> name;
    QString kind; // "peer", "category_benchmark", "popular", "shared_themes", ...
    std::optional<QString> label;
    QString reason;
    std::optional<QString> detail;
    std::optional<QString> category;
    std::optional<QString> subcategory;
    std::optional<QStringList> groups;
    std::optional<QStringList> sharedThemes; // shared_themes

    friend bool operator==(const RelatedTicker&, const RelatedTicker&) = default;
};

struct RelatedResponse {
    std::optional<QString> label;
    std::vector<RelatedTicker> related;

    friend bool operator==(const RelatedResponse&, const RelatedResponse&) = default;
};

} // namespace tessary
