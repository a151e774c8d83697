#include "TimeAxis.h"

#include <QDateTime>
#include <QFontMetricsF>
#include <QGuiApplication>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

#include "ChartScale.h"
#include "Tessary/Model/Comparison.h"
#include "Tessary/Model/DateLabel.h"
#include "TessaryWire/MarketTime.h"

namespace tessary {

namespace {

constexpr double daySeconds = 86'400;

// Tried in this order when choosing tick marks: finest first.
enum class TickUnit { minutes15, minutes30, hour, hours2, hours3, day, week, month, quarter, year, fiveYears };
constexpr std::array allUnits
    = { TickUnit::minutes15, TickUnit::minutes30, TickUnit::hour, TickUnit::hours2, TickUnit::hours3, TickUnit::day,
          TickUnit::week, TickUnit::month, TickUnit::quarter, TickUnit::year, TickUnit::fiveYears };

struct CalendarParts {
    QDateTime local;
    qint64 year = 0;
    qint64 month = 0;
    qint64 day = 0;
    qint64 hour = 0;
    qint64 minute = 0;
    qint64 week = 0;
    qint64 weekYear = 0;

    qint64 dayKey() const { return (year * 13 + month) * 32 + day; }
};

CalendarParts partsOf(double seconds, const QTimeZone& zone)
{
    CalendarParts parts;
    parts.local = QDateTime::fromSecsSinceEpoch(static_cast<qint64>(std::floor(seconds)), zone);
    const QDate date = parts.local.date();
    const QTime time = parts.local.time();
    parts.year = date.year();
    parts.month = date.month();
    parts.day = date.day();
    parts.hour = time.hour();
    parts.minute = time.minute();
    int weekYear = 0;
    parts.week = date.weekNumber(&weekYear);
    parts.weekYear = weekYear;
    return parts;
}

qint64 keyOf(TickUnit unit, const CalendarParts& p)
{
    switch (unit) {
    case TickUnit::minutes15:
        return p.dayKey() * 96 + p.hour * 4 + p.minute / 15;
    case TickUnit::minutes30:
        return p.dayKey() * 48 + p.hour * 2 + p.minute / 30;
    case TickUnit::hour:
        return p.dayKey() * 24 + p.hour;
    case TickUnit::hours2:
        return p.dayKey() * 12 + p.hour / 2;
    case TickUnit::hours3:
        return p.dayKey() * 8 + p.hour / 3;
    case TickUnit::day:
        return p.dayKey();
    case TickUnit::week:
        return p.weekYear * 54 + p.week;
    case TickUnit::month:
        return p.year * 13 + p.month;
    case TickUnit::quarter:
        return p.year * 4 + (p.month - 1) / 3;
    case TickUnit::year:
        return p.year;
    case TickUnit::fiveYears:
        return p.year / 5;
    }
    return 0;
}

bool isSubDay(TickUnit unit)
{
    return unit <= TickUnit::hours3;
}

bool isMajor(TickUnit unit, const CalendarParts& current, const CalendarParts& previous)
{
    if (isSubDay(unit))
        return current.dayKey() != previous.dayKey();
    switch (unit) {
    case TickUnit::day:
    case TickUnit::week:
        return current.month != previous.month;
    case TickUnit::month:
    case TickUnit::quarter:
        return current.year != previous.year;
    default:
        return false;
    }
}

QString labelOf(TickUnit unit, bool major, const CalendarParts& parts, const QLocale& locale)
{
    QString format;
    if (isSubDay(unit))
        format = major ? QStringLiteral("ddd, ") + DateLabel::monthDayFormat(locale)
                       : DateLabel::hourFormat(parts.minute != 0, locale);
    else if (unit == TickUnit::day || unit == TickUnit::week)
        format = DateLabel::monthDayFormat(locale);
    else if (unit == TickUnit::month || unit == TickUnit::quarter)
        format = major ? QStringLiteral("yyyy") : QStringLiteral("MMM");
    else
        format = QStringLiteral("yyyy");
    return locale.toString(parts.local, format);
}

} // namespace

TimeAxis TimeAxis::build(std::span<const ChartSeries> series, QStringView interval, double now)
{
    // The lines of a list mostly share their dates: merging each line's sorted dates into the
    // union, and skipping a line whose dates are all in it already, is linear where sorting
    // every point of 201 lines was most of the build.
    std::vector<double> times;
    std::vector<double> line;
    std::vector<double> merged;
    for (const ChartSeries& s : series) {
        line.clear();
        for (const ChartPoint& point : s.points)
            line.push_back(point.date);
        if (!std::ranges::is_sorted(line))
            std::ranges::sort(line);
        line.erase(std::unique(line.begin(), line.end()), line.end());
        if (std::ranges::includes(times, line))
            continue;
        merged.clear();
        std::ranges::set_union(times, line, std::back_inserter(merged));
        std::swap(times, merged);
    }
    return fromTimes(std::move(times), interval, now);
}

TimeAxis TimeAxis::build(std::span<const ChartSeries> series, QStringView interval)
{
    return build(series, interval, static_cast<double>(QDateTime::currentSecsSinceEpoch()));
}

TimeAxis TimeAxis::fromTimes(std::vector<double> times, QStringView interval, double now)
{
    TimeAxis axis;
    axis.m_intraday = isIntradayInterval(interval);
    if (!std::ranges::is_sorted(times))
        std::ranges::sort(times);
    times.erase(std::unique(times.begin(), times.end()), times.end());
    if (times.size() < 2)
        times = { now - daySeconds, now };

    // Daily bars step a day (23 or 25 hours across a clock change); anything longer is a
    // weekend or a holiday and keeps one day of length. Intraday bars step minutes; an hour
    // without bars is a night. Weekly and longer bars have nothing worth hiding.
    double threshold = 0;
    double kept = 0;
    if (interval == u"1D") {
        threshold = 90'000;
        kept = daySeconds;
    } else if (axis.m_intraday) {
        threshold = 3'600;
        kept = 1'800;
    }

    axis.m_origin = times.front();
    double hidden = 0;
    if (threshold > 0) {
        for (std::size_t i = 1; i < times.size(); ++i) {
            const double previous = times[i - 1];
            const double current = times[i];
            if (current - previous <= threshold)
                continue;
            const double start = previous + kept;
            axis.m_breakStarts.push_back(start);
            axis.m_breakEnds.push_back(current);
            axis.m_hiddenBefore.push_back(hidden);
            axis.m_breakPositions.push_back(start - axis.m_origin - hidden);
            hidden += current - start;
        }
    }
    axis.m_span = times.back() - axis.m_origin - hidden;
    axis.m_positions.reserve(times.size());
    for (const double time : times)
        axis.m_positions.push_back(axis.position(time));
    axis.m_dates = std::move(times);
    return axis;
}

double TimeAxis::position(double time) const
{
    const auto k = std::upper_bound(m_breakStarts.begin(), m_breakStarts.end(), time) - m_breakStarts.begin();
    if (k == 0)
        return time - m_origin;
    const auto g = static_cast<std::size_t>(k - 1);
    if (time >= m_breakEnds[g])
        return (time - m_origin - m_hiddenBefore[g]) - (m_breakEnds[g] - m_breakStarts[g]);
    return m_breakPositions[g];
}

qsizetype TimeAxis::nearestIndex(double x) const
{
    if (m_positions.empty())
        return -1;
    const auto i = std::upper_bound(m_positions.begin(), m_positions.end(), x) - m_positions.begin();
    const auto count = static_cast<qsizetype>(m_positions.size());
    if (i == 0)
        return 0;
    if (i == count)
        return count - 1;
    const double before = x - m_positions[static_cast<std::size_t>(i - 1)];
    const double after = m_positions[static_cast<std::size_t>(i)] - x;
    return before <= after ? i - 1 : i;
}

std::optional<double> TimeAxis::nearestDate(double x) const
{
    const qsizetype index = nearestIndex(x);
    if (index < 0)
        return std::nullopt;
    return m_dates[static_cast<std::size_t>(index)];
}

QFont TimeAxis::tickFont(bool major)
{
    QFont font = QGuiApplication::font();
    font.setPointSizeF(ChartScale::tickFontSize);
    font.setWeight(major ? QFont::DemiBold : QFont::Normal);
    return font;
}

std::vector<TimeAxis::Tick> TimeAxis::ticks(double width, double spacing) const
{
    return ticks(width, spacing, QGuiApplication::font(), MarketTime::displayLocale());
}

std::vector<TimeAxis::Tick> TimeAxis::ticks(
    double width, double spacing, const QFont& font, const QLocale& locale) const
{
    std::vector<Tick> result;
    if (width <= 0 || m_span <= 0 || m_dates.size() < 2 || spacing <= 0)
        return result;
    auto target = static_cast<qint64>(width / spacing);
    if (target < 3)
        target = 2;
    const double limit = static_cast<double>(target) * 1.25;

    const QTimeZone zone = m_intraday ? MarketTime::eastern() : MarketTime::utc();
    std::vector<CalendarParts> parts;
    parts.reserve(m_dates.size());
    for (const double date : m_dates)
        parts.push_back(partsOf(date, zone));

    std::array<std::vector<std::size_t>, allUnits.size()> boundaries;
    for (std::size_t u = 0; u < allUnits.size(); ++u) {
        qint64 previousKey = keyOf(allUnits[u], parts[0]);
        for (std::size_t i = 1; i < parts.size(); ++i) {
            const qint64 key = keyOf(allUnits[u], parts[i]);
            if (key != previousKey)
                boundaries[u].push_back(i);
            previousKey = key;
        }
    }

    const auto firstUnit = [&](auto&& accepts) -> std::optional<std::size_t> {
        for (std::size_t u = 0; u < allUnits.size(); ++u)
            if (accepts(static_cast<double>(boundaries[u].size())))
                return u;
        return std::nullopt;
    };
    auto chosen = firstUnit([&](double n) { return n > 1 && n <= limit; });
    if (!chosen)
        chosen = firstUnit([&](double n) { return n > 1 && n <= 2 * limit; });
    if (!chosen)
        chosen = firstUnit([&](double n) { return n >= 1 && n <= limit; });
    if (!chosen) {
        for (std::size_t u = allUnits.size(); u-- > 0;) {
            if (!boundaries[u].empty()) {
                chosen = u;
                break;
            }
        }
    }
    if (!chosen)
        return result;

    QFont minorFont = font;
    minorFont.setPointSizeF(ChartScale::tickFontSize);
    minorFont.setWeight(QFont::Normal);
    QFont majorFont = minorFont;
    majorFont.setWeight(QFont::DemiBold);
    const QFontMetricsF minorMetrics(minorFont);
    const QFontMetricsF majorMetrics(majorFont);

    // Labels may not come closer than 10 points. Major ticks win over minor ones, and an
    // earlier major tick wins over a later one.
    const TickUnit unit = allUnits[*chosen];
    const double scale = width / m_span;
    std::vector<double> keptWidths;
    const auto conflicts = [&](double position, double labelWidth) {
        return scale * (position - result.back().position) < (labelWidth + keptWidths.back()) / 2 + 10;
    };
    for (const std::size_t i : boundaries[*chosen]) {
        const bool major = isMajor(unit, parts[i], parts[i - 1]);
        QString label = labelOf(unit, major, parts[i], locale);
        const double labelWidth = (major ? majorMetrics : minorMetrics).horizontalAdvance(label);
        const double position = m_positions[i];
        if (major) {
            while (!result.empty() && !result.back().major && conflicts(position, labelWidth)) {
                result.pop_back();
                keptWidths.pop_back();
            }
        }
        if (!result.empty() && conflicts(position, labelWidth))
            continue;
        result.push_back(Tick { position, std::move(label), major });
        keptWidths.push_back(labelWidth);
    }
    return result;
}

} // namespace tessary
