#pragma once

#include <QString>

#include <optional>

namespace tessary::Format {

// Every number the app shows goes through these, so a missing value always reads "—" (or
// nothing, for prices) and never as a made-up zero. Grouping and the decimal mark follow the
// user's locale; negative numbers use the real minus sign (U+2212).

inline constexpr QChar minusSign = QChar(0x2212);
inline constexpr QChar missing = QChar(0x2014);

// A fraction as a percentage: 1 decimal below 100 %, none from 100 % up.
QString percent(std::optional<double> fraction, bool showPlus = false);
// Two decimals below 10,000, none from there up; empty for a missing or non-positive price.
QString price(std::optional<double> value);
// Sharpe and other ratios: two decimals.
QString ratio(std::optional<double> value);
// 2.50T, 760.4B, 12M, or the plain number below a million.
QString marketCap(std::optional<double> value);

// How a ticker's growth compares with the benchmark's over the same period: the ratio of
// the two growth factors, (1 + r) / (1 + r_benchmark), so "2.0× SPY" means the ticker turned
// a dollar into twice what the benchmark did. Unlike a ratio of returns it stays meaningful
// when either return is negative.
struct BenchmarkMultiple {
    enum class Tone { above, below, equal };
    QString text;
    Tone tone = Tone::equal;
};

BenchmarkMultiple benchmarkMultiple(std::optional<double> tickerReturn, std::optional<double> benchmarkReturn,
                                    const QString& benchmarkTicker);

} // namespace tessary::Format
