#include "HelpTopics.h"

#include <algorithm>
#include <array>

namespace tessary {

namespace {

constexpr std::array topics {
    HelpTopic { u"netReturn", u"Return",
        u"How much the price grew over the period: the last close divided by the first, minus one. Closes are "
        u"adjusted for dividends and splits, so dividends count as reinvested. NA means the ticker has no prices "
        u"for the period, or its history starts after the period begins." },
    HelpTopic { u"vsBenchmark", u"vs benchmark",
        u"The ticker's return minus the benchmark's return over the same period, in percentage points: above zero "
        u"it beat the benchmark. Both returns come from adjusted closes. NA means either return is missing." },
    HelpTopic { u"cagr", u"CAGR",
        u"Compound annual growth rate: the steady yearly rate that turns the first adjusted close into the last "
        u"over the period's length, (last \u00F7 first)^(1 \u00F7 years) \u2212 1. NA under one year of data, where "
        u"a yearly rate would blow a short run out of proportion, or when prices are missing." },
    HelpTopic { u"volatility", u"Volatility",
        u"How much the price swings: the standard deviation of its returns, scaled to a year. Daily returns for "
        u"periods up to two years, weekly up to ten, monthly beyond, all from adjusted closes. Lower is calmer, so "
        u"it ranks the calmest first. NA when there are too few prices to measure." },
    HelpTopic { u"sharpe", u"Sharpe ratio",
        u"Return per unit of swing: the yearly mean return divided by the volatility, from the same "
        u"adjusted-close returns, with no risk-free rate taken off. Higher pays better for the ups and downs. NA "
        u"when the volatility is missing or zero." },
    HelpTopic { u"maxDrawdown", u"Max drawdown",
        u"The deepest fall from a high to a later low within the period, as a share of that high, from adjusted "
        u"closes: \u221230% means that at its worst the ticker was 30% below its earlier peak. The shallowest fall "
        u"ranks first. NA when the ticker has no prices for the period." },
    HelpTopic { u"averageRank", u"Average rank",
        u"Avg rank is the ticker's average rank across the periods shown, so lower is better. Each period ranks "
        u"the list's tickers by their return over it, from adjusted closes, 1 for the highest. A ticker is averaged "
        u"over the periods it has a rank in. NA means the ticker doesn't have that much history." },
    HelpTopic { u"beats", u"Beat",
        u"Beat shows in how many of those periods it returned more than the benchmark, out of the periods where "
        u"both have a return. Returns come from adjusted closes. NA means the ticker doesn't have that much "
        u"history." },
};

} // namespace

std::span<const HelpTopic> helpTopics()
{
    return topics;
}

const HelpTopic* findHelpTopic(QStringView id)
{
    const auto found = std::ranges::find(topics, id, &HelpTopic::id);
    return found == topics.end() ? nullptr : &*found;
}

} // namespace tessary
