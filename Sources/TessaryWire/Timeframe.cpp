#include "Timeframe.h"

namespace tessary::Timeframes {

namespace {

constexpr std::array<Timeframe, timeframeCount> allCases = {
    Timeframe::oneDay,
    Timeframe::twoDay,
    Timeframe::threeDay,
    Timeframe::oneWeek,
    Timeframe::fifteenDay,
    Timeframe::oneMonth,
    Timeframe::twoMonth,
    Timeframe::threeMonth,
    Timeframe::sixMonth,
    Timeframe::nineMonth,
    Timeframe::ytd,
    Timeframe::oneYear,
    Timeframe::twoYear,
    Timeframe::threeYear,
    Timeframe::fourYear,
    Timeframe::fiveYear,
    Timeframe::sevenYear,
    Timeframe::tenYear,
    Timeframe::fifteenYear,
    Timeframe::twentyYear,
    Timeframe::twentyFiveYear,
    Timeframe::thirtyYear,
    Timeframe::thirtyFiveYear,
    Timeframe::fortyYear,
};

constexpr std::array<const char*, timeframeCount> rawValues = {
    "1D",
    "2D",
    "3D",
    "1W",
    "15D",
    "1M",
    "2M",
    "3M",
    "6M",
    "9M",
    "YTD",
    "1Y",
    "2Y",
    "3Y",
    "4Y",
    "5Y",
    "7Y",
    "10Y",
    "15Y",
    "20Y",
    "25Y",
    "30Y",
    "35Y",
    "40Y",
};

constexpr std::array primaryCases = {
    Timeframe::oneDay,
    Timeframe::threeDay,
    Timeframe::oneWeek,
    Timeframe::oneMonth,
    Timeframe::threeMonth,
    Timeframe::sixMonth,
    Timeframe::ytd,
    Timeframe::oneYear,
    Timeframe::threeYear,
    Timeframe::fiveYear,
    Timeframe::tenYear,
    Timeframe::twentyYear,
};

} // namespace

std::span<const Timeframe, timeframeCount> all()
{
    return allCases;
}

std::span<const Timeframe> primary()
{
    return primaryCases;
}

QString rawValue(Timeframe timeframe)
{
    return QString::fromLatin1(rawValues[static_cast<std::size_t>(timeframe)]);
}

std::optional<Timeframe> fromRawValue(QStringView text)
{
    for (std::size_t i = 0; i < timeframeCount; ++i) {
        if (text == QLatin1StringView(rawValues[i]))
            return allCases[i];
    }
    return std::nullopt;
}

Timeframe fromStoredValue(QStringView text)
{
    return fromRawValue(text.toString().toUpper()).value_or(defaultTimeframe);
}

bool isIntraday(Timeframe timeframe)
{
    return timeframe == Timeframe::oneDay || timeframe == Timeframe::twoDay || timeframe == Timeframe::threeDay;
}

} // namespace tessary::Timeframes
