#include "MultiPeriods.h"

#include <QStringList>

#include <bitset>

namespace tessary::MultiPeriods {

namespace {

std::vector<Timeframe> canonical(const std::bitset<timeframeCount>& chosen)
{
    std::vector<Timeframe> periods;
    for (const Timeframe timeframe : Timeframes::all()) {
        if (chosen.test(static_cast<std::size_t>(timeframe)))
            periods.push_back(timeframe);
    }
    return periods;
}

} // namespace

std::vector<Timeframe> defaults()
{
    return {Timeframe::oneDay,  Timeframe::oneWeek,   Timeframe::oneMonth, Timeframe::sixMonth,
            Timeframe::oneYear, Timeframe::threeYear, Timeframe::fiveYear, Timeframe::tenYear};
}

QString encode(const std::vector<Timeframe>& periods)
{
    std::bitset<timeframeCount> chosen;
    for (const Timeframe timeframe : periods)
        chosen.set(static_cast<std::size_t>(timeframe));
    QStringList pieces;
    for (const Timeframe timeframe : canonical(chosen))
        pieces.append(Timeframes::rawValue(timeframe));
    return pieces.join(u',');
}

std::vector<Timeframe> decode(QStringView text)
{
    std::bitset<timeframeCount> chosen;
    for (const QStringView piece : text.split(u',', Qt::SkipEmptyParts)) {
        if (const auto timeframe = Timeframes::fromRawValue(piece))
            chosen.set(static_cast<std::size_t>(*timeframe));
    }
    if (chosen.none())
        return defaults();
    return canonical(chosen);
}

} // namespace tessary::MultiPeriods
