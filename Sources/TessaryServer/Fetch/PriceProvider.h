#pragma once

#include <QDate>
#include <QNetworkRequest>
#include <QString>

#include <expected>
#include <functional>
#include <optional>
#include <vector>

#include "TessaryServer/Fetch/ProviderClient.h"
#include "TessaryServer/MarketReader.h"

namespace tessary::server {

// Which days of one symbol to ask for; no start asks for the whole history.
struct PriceQuery {
    QString symbol;
    std::optional<QDate> start;
    QDate end;
};

// How the user chose a provider on the command line.
struct ProviderSettings {
    QString name;
    QString baseUrl; // empty: the provider's own address
    QString urlTemplate; // url-template only
    QString layout; // url-template only
    QString keyFile; // keyed providers: a file holding the key (else an environment variable)
    FetchPolicy policy;
};

// One provider: how to ask it for a symbol's prices and how to read its answer. Bars come
// back oldest first; an empty list is an empty history, not a failure.
struct PriceProvider {
    QString name; // as the app shows it
    std::function<QNetworkRequest(const PriceQuery&)> request;
    std::function<std::expected<std::vector<DailyBar>, QString>(const PriceQuery&, const HttpAnswer&)> read;
};

// `path` (starting with "/") after `base`, whether or not the user ended it with a slash.
QUrl joinedUrl(QString base, const QString& path);

// The names `makePriceProvider` knows, for the usage text and its error.
QStringList priceProviderNames();
// The CSV layouts a url-template may name.
QStringList priceLayoutNames();

// Builds the named provider, reading its key where it needs one. The key is never part of an
// error text or a URL.
std::expected<PriceProvider, QString> makePriceProvider(const ProviderSettings& settings);

} // namespace tessary::server
