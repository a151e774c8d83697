#include "Format.h"

#include <QLocale>

#include <cmath>

namespace tessary::Format {

namespace {

bool usable(std::optional<double> value)
{
    return value && std::isfinite(*value);
}

QString number(double magnitude, int decimals)
{
    return QLocale().toString(magnitude, 'f', decimals);
}

// The sign is written by us, not the locale, so every negative number gets the same minus.
QString withSign(double value, const QString& magnitudeText, bool showPlus)
{
    if (value < 0)
        return minusSign + magnitudeText;
    if (value > 0 && showPlus)
        return u'+' + magnitudeText;
    return magnitudeText;
}

} // namespace

QString percent(std::optional<double> fraction, bool showPlus)
{
    if (!usable(fraction))
        return QString(missing);
    const double scaled = *fraction * 100.0;
    const double magnitude = std::abs(scaled);
    return withSign(scaled, number(magnitude, magnitude < 100.0 ? 1 : 0), showPlus) + u'%';
}

QString price(std::optional<double> value)
{
    if (!usable(value) || *value <= 0)
        return {};
    return number(*value, *value >= 10'000.0 ? 0 : 2);
}

QString ratio(std::optional<double> value)
{
    if (!usable(value))
        return QString(missing);
    return withSign(*value, number(std::abs(*value), 2), false);
}

QString marketCap(std::optional<double> value)
{
    if (!usable(value))
        return QString(missing);
    const double magnitude = std::abs(*value);
    QString text;
    if (magnitude >= 1e12)
        text = number(magnitude / 1e12, 2) + u'T';
    else if (magnitude >= 1e9)
        text = number(magnitude / 1e9, 1) + u'B';
    else if (magnitude >= 1e6)
        text = number(magnitude / 1e6, 0) + u'M';
    else
        text = number(magnitude, 0);
    return withSign(*value, text, false);
}

BenchmarkMultiple benchmarkMultiple(std::optional<double> tickerReturn, std::optional<double> benchmarkReturn,
                                    const QString& benchmarkTicker)
{
    if (!usable(tickerReturn) || !usable(benchmarkReturn))
        return {QString(missing), BenchmarkMultiple::Tone::equal};

    const double difference = *tickerReturn - *benchmarkReturn;
    const auto tone = std::abs(difference) < 1e-12 ? BenchmarkMultiple::Tone::equal
                      : difference > 0            ? BenchmarkMultiple::Tone::above
                                                  : BenchmarkMultiple::Tone::below;
    const double tickerGrowth = 1.0 + *tickerReturn;
    const double benchmarkGrowth = 1.0 + *benchmarkReturn;
    // A total loss of the benchmark leaves nothing to divide by; a total loss of the ticker
    // is simply nothing at all compared with it.
    if (benchmarkGrowth <= 0)
        return {QString(missing), tone};
    const double multiple = std::max(tickerGrowth, 0.0) / benchmarkGrowth;
    return {number(multiple, multiple < 10.0 ? 1 : 0) + QStringLiteral("× ") + benchmarkTicker, tone};
}

} // namespace tessary::Format
