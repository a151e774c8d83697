#pragma once

#include "HttpExchange.h"
#include "TessaryServer/Engine/PriceEngine.h"

#include <QDate>
#include <QString>
#include <QStringList>

#include <expected>

namespace tessary::server {

// Why a request was refused with 400; `description()` is the text of its error body.
struct RequestError {
    QString message;
    QString description() const { return message; }
};

// A list covers at most 200 tickers and its benchmark rides along as the 201st.
inline constexpr int maximumTickersPerRequest = 201;
inline constexpr int maximumRelatedLimit = 50;

// Comma-separated symbols, trimmed, upper-cased, empty pieces and repeats dropped.
std::expected<QStringList, RequestError> parseTickerList(const QString& text);

// Reads a /prices query. Presets end at `marketEnd`; `start`/`end` are taken as given (an
// explicit range without `end` runs to `marketEnd`).
std::expected<PricesQuery, RequestError> parsePricesQuery(const HttpRequest& request, QDate marketEnd);

struct RelatedQuery {
    QStringList tickers;
    int limit = 15;
};

std::expected<RelatedQuery, RequestError> parseRelatedQuery(const HttpRequest& request);

} // namespace tessary::server
