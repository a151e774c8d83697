#pragma once

// How each record of the market-data bodies reads its keys, for any node the JSON reader
// walks: the Qt tree or simdjson's. Private to the module.

#include "TessaryWire/JsonReader.h"
#include "TessaryWire/WireRecords.h"

namespace tessary {

template <class Node> bool readFields(JsonReader<Node>& reader, const Node& node, const JsonPath& at, RangeSummary& out)
{
    return reader.expect(node, at, JsonKind::object) && reader.required(node, at, "actual_start", out.actualStart)
        && reader.required(node, at, "actual_end", out.actualEnd)
        && reader.required(node, at, "interval", out.interval);
}

template <class Node> bool readFields(JsonReader<Node>& reader, const Node& node, const JsonPath& at, TickerSeries& out)
{
    if (!reader.expect(node, at, JsonKind::object) || !reader.required(node, at, "ticker", out.ticker)
        || !reader.required(node, at, "dates", out.dates) || !reader.required(node, at, "performance", out.performance)
        || !reader.optional(node, at, "adjClose", out.adjClose))
        return false;
    // Columns line up with `dates` from the first bar. A column that stops short leaves its last
    // bars without a value rather than losing the whole ticker (or, through the assembly, the
    // whole list); values past the last date belong to no bar.
    out.performance.resize(out.dates.size());
    if (out.adjClose)
        out.adjClose->resize(out.dates.size());
    return true;
}

template <class Node>
bool readFields(JsonReader<Node>& reader, const Node& node, const JsonPath& at, TickerRanking& out)
{
    return reader.expect(node, at, JsonKind::object) && reader.required(node, at, "ticker", out.ticker)
        && reader.optional(node, at, "cagr", out.cagr) && reader.optional(node, at, "volatility", out.volatility)
        && reader.optional(node, at, "net_return", out.netReturn)
        && reader.optional(node, at, "sharpe_ratio", out.sharpeRatio)
        && reader.optional(node, at, "period_max_drawdown", out.periodMaxDrawdown)
        && reader.optional(node, at, "start_date", out.startDate)
        && reader.optional(node, at, "end_value", out.endValue)
        && reader.optional(node, at, "market_cap", out.marketCap)
        && reader.optional(node, at, "preset_returns", out.presetReturns);
}

template <class Node>
bool readFields(JsonReader<Node>& reader, const Node& node, const JsonPath& at, DataFreshness& out)
{
    return reader.expect(node, at, JsonKind::object)
        && reader.optional(node, at, "latest_historical_timestamp", out.latestHistoricalTimestamp)
        && reader.optional(node, at, "latest_live_timestamp", out.latestLiveTimestamp);
}

template <class Node>
bool readFields(JsonReader<Node>& reader, const Node& node, const JsonPath& at, PricesResponse& out)
{
    return reader.expect(node, at, JsonKind::object) && reader.required(node, at, "range", out.range)
        && reader.required(node, at, "series", out.series) && reader.required(node, at, "rankings", out.rankings)
        && reader.optional(node, at, "skipped_tickers", out.skippedTickers)
        && reader.optional(node, at, "data_freshness", out.dataFreshness)
        && reader.optional(node, at, "data_source", out.dataSource)
        && reader.optional(node, at, "data_provider", out.dataProvider)
        && reader.optional(node, at, "data_refreshed_at", out.dataRefreshedAt);
}

// Columns of unequal length are accepted here: turning them into records tolerates them.
template <class Node>
bool readFields(JsonReader<Node>& reader, const Node& node, const JsonPath& at, TickersResponse::Columns& out)
{
    return reader.expect(node, at, JsonKind::object) && reader.required(node, at, "tickers", out.tickers)
        && reader.required(node, at, "companyNames", out.companyNames) && reader.required(node, at, "isEtf", out.isEtf)
        && reader.optional(node, at, "isFund", out.isFund) && reader.optional(node, at, "marketCaps", out.marketCaps)
        && reader.optional(node, at, "sectors", out.sectors) && reader.optional(node, at, "industries", out.industries)
        && reader.optional(node, at, "exchanges", out.exchanges);
}

template <class Node>
bool readFields(JsonReader<Node>& reader, const Node& node, const JsonPath& at, TickersResponse& out)
{
    return reader.expect(node, at, JsonKind::object) && reader.required(node, at, "tickers", out.tickers)
        && reader.optional(node, at, "data_source", out.dataSource);
}

template <class Node>
bool readFields(JsonReader<Node>& reader, const Node& node, const JsonPath& at, RelatedTicker& out)
{
    return reader.expect(node, at, JsonKind::object) && reader.required(node, at, "ticker", out.ticker)
        && reader.optional(node, at, "name", out.name) && reader.required(node, at, "kind", out.kind)
        && reader.optional(node, at, "label", out.label) && reader.required(node, at, "reason", out.reason)
        && reader.optional(node, at, "detail", out.detail) && reader.optional(node, at, "category", out.category)
        && reader.optional(node, at, "subcategory", out.subcategory) && reader.optional(node, at, "groups", out.groups)
        && reader.optional(node, at, "shared_themes", out.sharedThemes);
}

template <class Node>
bool readFields(JsonReader<Node>& reader, const Node& node, const JsonPath& at, RelatedResponse& out)
{
    return reader.expect(node, at, JsonKind::object) && reader.optional(node, at, "label", out.label)
        && reader.required(node, at, "related", out.related);
}

} // namespace tessary
