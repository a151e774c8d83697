#include "WireEncoding.h"

#include "JsonWriter.h"
#include "TessaryServer/Engine/PriceEngine.h"

#include <cmath>

namespace tessary::server {

namespace {

void optionalMetric(JsonWriter& json, std::string_view key, const std::optional<double>& value)
{
    // A metric that came out as infinity or NaN (a zero price in the data) is as unknown as an
    // absent one.
    if (value && std::isfinite(*value))
        json.key(key).number(*value);
}

void optionalText(JsonWriter& json, std::string_view key, const std::optional<QString>& value)
{
    if (value)
        json.key(key).string(*value);
}

void stringArray(JsonWriter& json, const QStringList& values)
{
    json.beginArray();
    for (const QString& value : values)
        json.string(value);
    json.endArray();
}

void optionalStringColumn(
    JsonWriter& json, std::string_view key, const std::optional<std::vector<std::optional<QString>>>& column)
{
    if (!column)
        return;
    json.key(key).beginArray();
    for (const auto& value : *column)
        json.optionalString(value);
    json.endArray();
}

void boolColumn(JsonWriter& json, const std::vector<bool>& column)
{
    json.beginArray();
    for (const bool value : column)
        json.boolean(value);
    json.endArray();
}

// Marks the text written since `begin` as literal, joined to the range before it when only
// keys lie between them: a switch of coding costs more than those few bytes.
void markLiteral(ByteRanges& ranges, qsizetype begin, const JsonWriter& json)
{
    constexpr qsizetype joinedGap = 64;
    if (!ranges.isEmpty() && begin - ranges.back().second <= joinedGap)
        ranges.back().second = json.size();
    else
        ranges.append({ begin, json.size() });
}

// Where the last dates array went: the series of a list mostly share their dates, and copying
// the text is cheaper than formatting it again.
struct WrittenDates {
    const std::vector<qint64>* dates = nullptr;
    qsizetype begin = 0;
    qsizetype end = 0;
};

// The series of a list share their dates, but one series' text is longer than the 32 KB that
// gzip looks back, so it cannot reuse the dates of the series before. Every other series
// therefore lists its keys back to front: its dates then directly follow the previous series'
// dates, and cost next to nothing. The app reads keys by name, in any order. The returns and
// closes are digits that hardly repeat: they go in `literal`.
void writeSeries(
    JsonWriter& json, const TickerSeries& series, bool datesFirst, ByteRanges& literal, WrittenDates& written)
{
    const auto dates = [&] {
        json.key("dates");
        const qsizetype begin = json.size();
        if (written.dates && *written.dates == series.dates)
            json.repeat(written.begin, written.end);
        else
            json.integerArray(series.dates);
        written = { &series.dates, begin, json.size() };
    };
    const auto performance = [&] {
        json.key("performance");
        const qsizetype begin = json.size();
        json.returnArray(series.performance, JsonWriter::chartDigits);
        markLiteral(literal, begin, json);
    };
    const auto adjClose = [&] {
        if (series.adjClose) {
            json.key("adjClose");
            const qsizetype begin = json.size();
            json.numberArray(*series.adjClose, JsonWriter::chartDigits);
            markLiteral(literal, begin, json);
        }
    };
    json.beginObject();
    if (datesFirst) {
        dates();
        adjClose();
        performance();
        json.key("ticker").string(series.ticker);
    } else {
        json.key("ticker").string(series.ticker);
        performance();
        adjClose();
        dates();
    }
    json.endObject();
}

void writeRanking(JsonWriter& json, const TickerRanking& ranking)
{
    json.beginObject();
    json.key("ticker").string(ranking.ticker);
    optionalMetric(json, "cagr", ranking.cagr);
    optionalMetric(json, "volatility", ranking.volatility);
    optionalMetric(json, "net_return", ranking.netReturn);
    optionalMetric(json, "sharpe_ratio", ranking.sharpeRatio);
    optionalMetric(json, "period_max_drawdown", ranking.periodMaxDrawdown);
    optionalText(json, "start_date", ranking.startDate);
    optionalMetric(json, "end_value", ranking.endValue);
    optionalMetric(json, "market_cap", ranking.marketCap);
    if (ranking.presetReturns) {
        json.key("preset_returns").beginObject();
        for (const auto& [preset, value] : *ranking.presetReturns)
            json.key(preset.toStdString()).optionalNumber(value);
        json.endObject();
    }
    json.endObject();
}

} // namespace

EncodedPrices encodePricesResponse(const PricesResponse& response)
{
    EncodedPrices encoded;
    qsizetype points = 0;
    for (const TickerSeries& series : response.series)
        points += static_cast<qsizetype>(series.dates.size());
    JsonWriter json(points * 40 + static_cast<qsizetype>(response.rankings.size()) * 700 + 512);

    json.beginObject();
    json.key("range").beginObject();
    json.key("actual_start").string(response.range.actualStart);
    json.key("actual_end").string(response.range.actualEnd);
    json.key("interval").string(response.range.interval);
    json.endObject();

    json.key("series").beginArray();
    WrittenDates written;
    for (std::size_t i = 0; i < response.series.size(); ++i)
        writeSeries(json, response.series[i], i % 2 == 1, encoded.literalRanges, written);
    json.endArray();

    json.key("rankings").beginArray();
    for (const TickerRanking& ranking : response.rankings)
        writeRanking(json, ranking);
    json.endArray();

    if (response.skippedTickers) {
        json.key("skipped_tickers");
        stringArray(json, *response.skippedTickers);
    }
    if (response.dataFreshness) {
        json.key("data_freshness").beginObject();
        optionalText(json, "latest_historical_timestamp", response.dataFreshness->latestHistoricalTimestamp);
        optionalText(json, "latest_live_timestamp", response.dataFreshness->latestLiveTimestamp);
        json.endObject();
    }
    optionalText(json, "data_source", response.dataSource);
    optionalText(json, "data_provider", response.dataProvider);
    optionalText(json, "data_refreshed_at", response.dataRefreshedAt);
    json.endObject();
    encoded.body = json.take();
    return encoded;
}

TickersResponse tickersResponse(const std::vector<TickerInfo>& universe, DataSource source)
{
    TickersResponse response;
    auto& columns = response.tickers;
    columns.isFund.emplace();
    columns.marketCaps.emplace();
    columns.sectors.emplace();
    columns.industries.emplace();
    columns.exchanges.emplace();
    const auto count = universe.size();
    columns.tickers.reserve(static_cast<qsizetype>(count));
    columns.companyNames.reserve(count);
    for (const TickerInfo& info : universe) {
        columns.tickers.append(info.symbol);
        columns.companyNames.emplace_back(info.name.isEmpty() ? std::nullopt : std::optional<QString>(info.name));
        columns.isEtf.push_back(info.isEtf);
        columns.isFund->push_back(info.isFund);
        columns.marketCaps->push_back(info.marketCap);
        columns.sectors->push_back(info.sector);
        columns.industries->push_back(info.industry);
        columns.exchanges->push_back(info.exchange);
    }
    response.dataSource = dataSourceName(source);
    return response;
}

QByteArray encodeTickersResponse(const TickersResponse& response)
{
    const auto& columns = response.tickers;
    JsonWriter json(columns.tickers.size() * 120 + 256);
    json.beginObject();
    json.key("tickers").beginObject();
    json.key("tickers");
    stringArray(json, columns.tickers);
    json.key("companyNames").beginArray();
    for (const auto& name : columns.companyNames)
        json.optionalString(name);
    json.endArray();
    json.key("isEtf");
    boolColumn(json, columns.isEtf);
    if (columns.isFund) {
        json.key("isFund");
        boolColumn(json, *columns.isFund);
    }
    if (columns.marketCaps) {
        json.key("marketCaps").beginArray();
        for (const auto& cap : *columns.marketCaps)
            json.optionalNumber(cap);
        json.endArray();
    }
    optionalStringColumn(json, "sectors", columns.sectors);
    optionalStringColumn(json, "industries", columns.industries);
    optionalStringColumn(json, "exchanges", columns.exchanges);
    json.endObject();
    optionalText(json, "data_source", response.dataSource);
    json.endObject();
    return json.take();
}

QByteArray encodeRelatedResponse(const RelatedResponse& response)
{
    JsonWriter json(static_cast<qsizetype>(response.related.size()) * 300 + 64);
    json.beginObject();
    optionalText(json, "label", response.label);
    json.key("related").beginArray();
    for (const RelatedTicker& related : response.related) {
        json.beginObject();
        json.key("ticker").string(related.ticker);
        optionalText(json, "name", related.name);
        json.key("kind").string(related.kind);
        optionalText(json, "label", related.label);
        json.key("reason").string(related.reason);
        optionalText(json, "detail", related.detail);
        optionalText(json, "category", related.category);
        optionalText(json, "subcategory", related.subcategory);
        if (related.groups) {
            json.key("groups");
            stringArray(json, *related.groups);
        }
        if (related.sharedThemes) {
            json.key("shared_themes");
            stringArray(json, *related.sharedThemes);
        }
        json.endObject();
    }
    json.endArray();
    json.endObject();
    return json.take();
}

QByteArray encodeErrorBody(const QString& message)
{
    JsonWriter json;
    json.beginObject().key("error").string(message).endObject();
    return json.take();
}

} // namespace tessary::server
