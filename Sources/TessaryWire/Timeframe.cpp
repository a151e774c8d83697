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

// Views rather than C strings, so looking a text up measures no lengths.
constexpr std::array<QLatin1StringView, timeframeCount> rawValues = {
    QLatin1StringView("1D"),
    QLatin1StringView("2D"),
    QLatin1StringView("3D"),
    QLatin1StringView("1W"),
    QLatin1StringView("15D"),
    QLatin1StringView("1M"),
    QLatin1StringView("2M"),
    QLatin1StringView("3M"),
    QLatin1StringView("6M"),
    QLatin1StringView("9M"),
    QLatin1StringView("YTD"),
    QLatin1StringView("1Y"),
    QLatin1StringView("2Y"),
    QLatin1StringView("3Y"),
    QLatin1StringView("4Y"),
    QLatin1StringView("5Y"),
    QLatin1StringView("7Y"),
    QLatin1StringView("10Y"),
    QLatin1StringView("15Y"),
    QLatin1StringView("20Y"),
    QLatin1StringView("25Y"),
    QLatin1StringView("30Y"),
    QLatin1StringView("35Y"),
    QLatin1StringView("40Y"),
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
    return QString(rawValues[static_cast<std::size_t>(timeframe)]);
}

std::optional<Timeframe> fromRawValue(QStringView text)
{
    for (std::size_t i = 0; i < timeframeCount; ++i) {
        if (text == rawValues[i])
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
