#include "TessaryServer/Data/DemoUniverse.h"

#include <QFile>

#include <algorithm>

#include "TessaryServer/Data/CsvText.h"
#include "TessaryServer/Data/DemoMarket.h"

namespace tessary::server {

namespace demo {

namespace {

std::vector<DemoSymbol> readDemoSymbols()
{
    std::vector<DemoSymbol> symbols;
    QFile file(QStringLiteral(":/tessary/demo-universe.csv"));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        qFatal("the demo universe resource is missing from this build");
    file.readLine(); // symbol,name,type,sector,industry,exchange,market_cap_billions,since,profile
    while (!file.atEnd()) {
        const QStringList fields = splitCsvLine(QString::fromUtf8(file.readLine()).trimmed());
        if (fields.size() != 9)
            continue;
        auto optional = [](const QString& text) { return text.isEmpty() ? std::nullopt : std::optional(text); };
        DemoSymbol symbol;
        symbol.info.symbol = fields[0];
        symbol.info.name = fields[1];
        symbol.info.isEtf = fields[2] == u"etf";
        symbol.info.isFund = fields[2] == u"fund";
        symbol.info.sector = optional(fields[3]);
        symbol.info.industry = optional(fields[4]);
        symbol.info.exchange = optional(fields[5]);
        if (const auto billions = parseNumber(fields[6]))
            symbol.info.marketCap = *billions * 1e9;
        symbol.since = fields[7].toInt();
        symbol.profile = fields[8];
        symbols.push_back(std::move(symbol));
    }
    // Sorted through an index: swapping the records themselves trips a false
    // maybe-uninitialized warning of GCC 12 in optimised builds.
    std::vector<std::size_t> order(symbols.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::ranges::sort(order, {}, [&](std::size_t i) { return symbols[i].info.symbol; });
    std::vector<DemoSymbol> sorted;
    sorted.reserve(symbols.size());
    for (const std::size_t i : order)
        sorted.push_back(symbols[i]);
    return sorted;
}

} // namespace

const std::vector<DemoSymbol>& demoSymbols()
{
    static const std::vector<DemoSymbol> symbols = readDemoSymbols();
    return symbols;
}

} // namespace demo

const std::vector<TickerInfo>& demoUniverse()
{
    static const std::vector<TickerInfo> universe = [] {
        std::vector<TickerInfo> infos;
        for (const demo::DemoSymbol& symbol : demo::demoSymbols())
            infos.push_back(symbol.info);
        return infos;
    }();
    return universe;
}

} // namespace tessary::server
