#pragma once

// The one set of decoding rules for the market-data bodies, written once over a small node
// interface so that the Qt JSON tree and the faster simdjson tree read every body the same
// way (same results, same error paths). Private to the module.
//
// A Node offers: kind(), number(), boolean(), string(), member(const char*) -> optional<Node>,
// elements(f(index, node) -> bool) and members(f(QString key, node) -> bool).

#include "TessaryWire/JsonPath.h"
#include "TessaryWire/WireRecords.h"

#include <QString>
#include <QStringList>

#include <cmath>
#include <optional>
#include <utility>
#include <vector>

namespace tessary {

enum class JsonKind { null, boolean, number, string, array, object };

QString jsonKindName(JsonKind kind);

template <class Node> class WireReader {
public:
    DecodingError takeError() { return std::move(*m_error); }

    bool fail(const JsonPath& at, QString reason)
    {
        if (!m_error)
            m_error = DecodingError { at.text(), std::move(reason) };
        return false;
    }

    bool expect(const Node& node, const JsonPath& at, JsonKind kind)
    {
        if (node.kind() == kind)
            return true;
        return fail(at, QStringLiteral("expected %1, found %2").arg(jsonKindName(kind), jsonKindName(node.kind())));
    }

    bool read(const Node& node, const JsonPath& at, QString& out)
    {
        if (!expect(node, at, JsonKind::string))
            return false;
        out = node.string();
        return true;
    }

    bool read(const Node& node, const JsonPath& at, bool& out)
    {
        if (!expect(node, at, JsonKind::boolean))
            return false;
        out = node.boolean();
        return true;
    }

    bool read(const Node& node, const JsonPath& at, double& out)
    {
        if (!expect(node, at, JsonKind::number))
            return false;
        out = node.number();
        if (!std::isfinite(out))
            return fail(at, QStringLiteral("the number is out of range"));
        return true;
    }

    bool read(const Node& node, const JsonPath& at, qint64& out)
    {
        double number = 0;
        if (!read(node, at, number))
            return false;
        constexpr double limit = 9007199254740992.0; // 2^53: beyond it doubles skip integers
        if (std::trunc(number) != number || std::abs(number) > limit)
            return fail(at, QStringLiteral("expected a whole number"));
        out = static_cast<qint64>(number);
        return true;
    }

    // A null element or key is an absent value.
    template <class T> bool read(const Node& node, const JsonPath& at, std::optional<T>& out)
    {
        if (node.kind() == JsonKind::null) {
            out.reset();
            return true;
        }
        T value {};
        if (!read(node, at, value))
            return false;
        out = std::move(value);
        return true;
    }

    template <class T> bool read(const Node& node, const JsonPath& at, std::vector<T>& out)
    {
        if (!expect(node, at, JsonKind::array))
            return false;
        out.clear();
        out.reserve(node.size());
        return node.elements([&](qsizetype i, const Node& element) {
            T value {};
            if (!read(element, at.element(i), value))
                return false;
            out.push_back(std::move(value));
            return true;
        });
    }

    bool read(const Node& node, const JsonPath& at, QStringList& out)
    {
        std::vector<QString> strings;
        if (!read(node, at, strings))
            return false;
        out = QStringList(std::make_move_iterator(strings.begin()), std::make_move_iterator(strings.end()));
        return true;
    }

    // An object of number-or-null values, kept in the order the tree yields its keys.
    bool read(const Node& node, const JsonPath& at, std::vector<std::pair<QString, std::optional<double>>>& out)
    {
        if (!expect(node, at, JsonKind::object))
            return false;
        out.clear();
        return node.members([&](const QString& key, const Node& value) {
            std::optional<double> number;
            const QByteArray keyBytes = key.toUtf8();
            if (!read(value, at.member(keyBytes.constData()), number))
                return false;
            out.emplace_back(key, number);
            return true;
        });
    }

    template <class T> bool required(const Node& object, const JsonPath& at, const char* key, T& out)
    {
        const std::optional<Node> value = object.member(key);
        if (!value)
            return fail(at.member(key), QStringLiteral("required key is missing"));
        return read(*value, at.member(key), out);
    }

    template <class T> bool optional(const Node& object, const JsonPath& at, const char* key, std::optional<T>& out)
    {
        const std::optional<Node> value = object.member(key);
        if (!value) {
            out.reset();
            return true;
        }
        return read(*value, at.member(key), out);
    }

    bool read(const Node& node, const JsonPath& at, RangeSummary& out)
    {
        return expect(node, at, JsonKind::object) && required(node, at, "actual_start", out.actualStart)
            && required(node, at, "actual_end", out.actualEnd) && required(node, at, "interval", out.interval);
    }

    bool read(const Node& node, const JsonPath& at, TickerSeries& out)
    {
        if (!expect(node, at, JsonKind::object) || !required(node, at, "ticker", out.ticker)
            || !required(node, at, "dates", out.dates) || !required(node, at, "performance", out.performance)
            || !optional(node, at, "adjClose", out.adjClose))
            return false;
        // Every column is read against `dates`; a short one would shift values onto the wrong bars.
        if (!sameLength(out.performance.size(), out.dates.size(), at.member("performance")))
            return false;
        return !out.adjClose || sameLength(out.adjClose->size(), out.dates.size(), at.member("adjClose"));
    }

    bool read(const Node& node, const JsonPath& at, TickerRanking& out)
    {
        return expect(node, at, JsonKind::object) && required(node, at, "ticker", out.ticker)
            && optional(node, at, "cagr", out.cagr) && optional(node, at, "volatility", out.volatility)
            && optional(node, at, "net_return", out.netReturn) && optional(node, at, "sharpe_ratio", out.sharpeRatio)
            && optional(node, at, "period_max_drawdown", out.periodMaxDrawdown)
            && optional(node, at, "start_date", out.startDate) && optional(node, at, "end_value", out.endValue)
            && optional(node, at, "market_cap", out.marketCap)
            && optional(node, at, "preset_returns", out.presetReturns);
    }

    bool read(const Node& node, const JsonPath& at, DataFreshness& out)
    {
        return expect(node, at, JsonKind::object)
            && optional(node, at, "latest_historical_timestamp", out.latestHistoricalTimestamp)
            && optional(node, at, "latest_live_timestamp", out.latestLiveTimestamp);
    }

    bool read(const Node& node, const JsonPath& at, PricesResponse& out)
    {
        return expect(node, at, JsonKind::object) && required(node, at, "range", out.range)
            && required(node, at, "series", out.series) && required(node, at, "rankings", out.rankings)
            && optional(node, at, "skipped_tickers", out.skippedTickers)
            && optional(node, at, "data_freshness", out.dataFreshness)
            && optional(node, at, "data_source", out.dataSource);
    }

    // Columns of unequal length are accepted here: turning them into records tolerates them.
    bool read(const Node& node, const JsonPath& at, TickersResponse::Columns& out)
    {
        return expect(node, at, JsonKind::object) && required(node, at, "tickers", out.tickers)
            && required(node, at, "companyNames", out.companyNames) && required(node, at, "isEtf", out.isEtf)
            && optional(node, at, "isFund", out.isFund) && optional(node, at, "marketCaps", out.marketCaps)
            && optional(node, at, "sectors", out.sectors) && optional(node, at, "industries", out.industries)
            && optional(node, at, "exchanges", out.exchanges);
    }

    bool read(const Node& node, const JsonPath& at, TickersResponse& out)
    {
        return expect(node, at, JsonKind::object) && required(node, at, "tickers", out.tickers)
            && optional(node, at, "data_source", out.dataSource);
    }

    bool read(const Node& node, const JsonPath& at, RelatedTicker& out)
    {
        return expect(node, at, JsonKind::object) && required(node, at, "ticker", out.ticker)
            && optional(node, at, "name", out.name) && required(node, at, "kind", out.kind)
            && optional(node, at, "label", out.label) && required(node, at, "reason", out.reason)
            && optional(node, at, "detail", out.detail) && optional(node, at, "category", out.category)
            && optional(node, at, "subcategory", out.subcategory) && optional(node, at, "groups", out.groups)
            && optional(node, at, "shared_themes", out.sharedThemes);
    }

    bool read(const Node& node, const JsonPath& at, RelatedResponse& out)
    {
        return expect(node, at, JsonKind::object) && optional(node, at, "label", out.label)
            && required(node, at, "related", out.related);
    }

private:
    bool sameLength(std::size_t values, std::size_t dates, const JsonPath& at)
    {
        if (values == dates)
            return true;
        return fail(at, QStringLiteral("has %1 values for %2 dates").arg(values).arg(dates));
    }

    std::optional<DecodingError> m_error;
};

// Reads a whole tree as T; the first failure, with its key path, is the error.
template <class T, class Node> Decoded<T> readWire(const Node& root)
{
    WireReader<Node> reader;
    T value {};
    if (!reader.read(root, JsonPath {}, value))
        return std::unexpected(reader.takeError());
    return value;
}

} // namespace tessary
