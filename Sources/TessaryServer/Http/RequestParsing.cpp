#include "RequestParsing.h"

#include "TessaryWire/MarketTime.h"

namespace tessary::server {

namespace {

std::unexpected<RequestError> refuse(QString message)
{
    return std::unexpected(RequestError { std::move(message) });
}

std::expected<bool, RequestError> parseFlag(const HttpRequest& request, QStringView name, bool fallback)
{
    const auto text = request.item(name);
    if (!text)
        return fallback;
    const QString value = text->trimmed().toLower();
    if (value == u"true" || value == u"1")
        return true;
    if (value == u"false" || value == u"0")
        return false;
    return refuse(QStringLiteral("%1 must be true or false, not \"%2\"").arg(name, *text));
}

std::expected<QDate, RequestError> parseDay(QStringView name, const QString& text)
{
    // Exactly ten characters: "2020-01-01T00:00" is not a day.
    const auto day = text.size() == 10 ? MarketTime::parseDate(text) : std::nullopt;
    if (!day)
        return refuse(QStringLiteral("%1 is not a date (yyyy-MM-dd): \"%2\"").arg(name, text));
    return *day;
}

std::expected<MetricSelection, RequestError> parseMetrics(const HttpRequest& request)
{
    const auto text = request.item(u"metrics");
    if (!text)
        return MetricSelection {};
    MetricSelection selection { .volatility = false, .sharpeRatio = false, .periodMaxDrawdown = false };
    for (const QString& piece : text->split(u',', Qt::SkipEmptyParts)) {
        const QString name = piece.trimmed().toLower();
        if (name == u"volatility")
            selection.volatility = true;
        else if (name == u"sharpe" || name == u"sharpe_ratio")
            selection.sharpeRatio = true;
        else if (name == u"period_max_drawdown" || name == u"max_drawdown")
            selection.periodMaxDrawdown = true;
        else if (!name.isEmpty())
            return refuse(QStringLiteral("unknown metric: ") + piece.trimmed());
    }
    return selection;
}

std::expected<PriceWindow, RequestError> parseWindow(const HttpRequest& request, QDate marketEnd)
{
    const auto startText = request.item(u"start");
    const auto endText = request.item(u"end");
    if (startText || endText) {
        if (!startText)
            return refuse(QStringLiteral("end needs a start"));
        const auto start = parseDay(u"start", *startText);
        if (!start)
            return std::unexpected(start.error());
        QDate end = marketEnd;
        if (endText) {
            const auto parsed = parseDay(u"end", *endText);
            if (!parsed)
                return std::unexpected(parsed.error());
            end = *parsed;
        }
        if (*start > end) {
            return refuse(QStringLiteral("start %1 is after end %2")
                              .arg(MarketTime::formatDate(*start), MarketTime::formatDate(end)));
        }
        return rangeWindow(*start, end);
    }

    Timeframe preset = defaultTimeframe;
    if (const auto presetText = request.item(u"preset")) {
        const auto parsed = Timeframes::fromRawValue(presetText->trimmed().toUpper());
        if (!parsed)
            return refuse(QStringLiteral("unknown preset: ") + *presetText);
        preset = *parsed;
    }
    const auto intraday = parseFlag(request, u"intraday", Timeframes::isIntraday(preset));
    if (!intraday)
        return std::unexpected(intraday.error());
    return presetWindow(preset, marketEnd, *intraday);
}

} // namespace

std::expected<QStringList, RequestError> parseTickerList(const QString& text)
{
    QStringList symbols;
    int pieces = 0;
    for (const QString& piece : text.split(u',', Qt::SkipEmptyParts)) {
        const QString symbol = piece.trimmed().toUpper();
        if (symbol.isEmpty())
            continue;
        ++pieces;
        if (!symbols.contains(symbol))
            symbols.append(symbol);
    }
    if (pieces > maximumTickersPerRequest) {
        return refuse(QStringLiteral("too many tickers: %1 (at most %2)").arg(pieces).arg(maximumTickersPerRequest));
    }
    return symbols;
}

std::expected<PricesQuery, RequestError> parsePricesQuery(const HttpRequest& request, QDate marketEnd)
{
    const auto tickers = parseTickerList(request.item(u"tickers").value_or(QString()));
    if (!tickers)
        return std::unexpected(tickers.error());
    if (tickers->isEmpty())
        return refuse(QStringLiteral("no tickers given"));
    const auto skipUnknown = parseFlag(request, u"skip_unknown", false);
    if (!skipUnknown)
        return std::unexpected(skipUnknown.error());
    const auto metrics = parseMetrics(request);
    if (!metrics)
        return std::unexpected(metrics.error());
    const auto window = parseWindow(request, marketEnd);
    if (!window)
        return std::unexpected(window.error());
    return PricesQuery { .tickers = *tickers, .skipUnknown = *skipUnknown, .metrics = *metrics, .window = *window };
}

std::expected<RelatedQuery, RequestError> parseRelatedQuery(const HttpRequest& request)
{
    RelatedQuery query;
    if (const auto limitText = request.item(u"limit")) {
        bool ok = false;
        query.limit = limitText->trimmed().toInt(&ok);
        if (!ok || query.limit < 1 || query.limit > maximumRelatedLimit) {
            return refuse(QStringLiteral("limit must be a whole number from 1 to %1, not \"%2\"")
                              .arg(maximumRelatedLimit)
                              .arg(*limitText));
        }
    }
    const auto tickers = parseTickerList(request.item(u"tickers").value_or(QString()));
    if (!tickers)
        return std::unexpected(tickers.error());
    query.tickers = *tickers;
    return query;
}

} // namespace tessary::server
