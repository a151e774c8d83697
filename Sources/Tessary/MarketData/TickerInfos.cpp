#include "TickerInfos.h"

namespace tessary {

namespace {

template <class Column>
auto entryOf(const std::optional<Column>& column, qsizetype i) -> std::optional<typename Column::value_type>
{
    if (!column || i >= static_cast<qsizetype>(column->size()))
        return std::nullopt;
    return (*column)[static_cast<std::size_t>(i)];
}

std::optional<QString> nonEmptyText(const std::optional<std::vector<std::optional<QString>>>& column, qsizetype i)
{
    const auto entry = entryOf(column, i);
    if (!entry || !*entry || (*entry)->isEmpty())
        return std::nullopt;
    return **entry;
}

} // namespace

std::vector<TickerInfo> tickerInfos(const TickersResponse& response)
{
    const TickersResponse::Columns& columns = response.tickers;
    std::vector<TickerInfo> infos;
    infos.reserve(static_cast<std::size_t>(columns.tickers.size()));
    for (qsizetype i = 0; i < columns.tickers.size(); ++i) {
        const auto index = static_cast<std::size_t>(i);
        TickerInfo info;
        info.symbol = columns.tickers.at(i);
        const bool hasName = index < columns.companyNames.size() && columns.companyNames[index].has_value();
        info.name = hasName ? *columns.companyNames[index] : info.symbol;
        info.isEtf = index < columns.isEtf.size() && columns.isEtf[index];
        info.isFund = entryOf(columns.isFund, i).value_or(false);
        info.marketCap = entryOf(columns.marketCaps, i).value_or(std::nullopt);
        info.sector = nonEmptyText(columns.sectors, i);
        info.industry = nonEmptyText(columns.industries, i);
        info.exchange = nonEmptyText(columns.exchanges, i);
        infos.push_back(std::move(info));
    }
    return infos;
}

} // namespace tessary
