#include <QFontMetricsF>
#include <QRegularExpression>
#include <QTest>

#include <cmath>

#include "Tessary/Model/Comparison.h"
#include "Tessary/Model/DateLabel.h"
#include "Tessary/Views/Chart/ChartMapper.h"
#include "Tessary/Views/Chart/TimeAxis.h"
#include "TessaryWire/MarketTime.h"

using namespace tessary;

Q_DECLARE_METATYPE(std::vector<double>)

namespace {

constexpr double day = 86'400;

double utc(const char* iso)
{
    return static_cast<double>(QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODate).toSecsSinceEpoch());
}

// A New York wall-clock time, so that intraday cases read like the market's own clock.
double eastern(const char* local)
{
    QDateTime time = QDateTime::fromString(QString::fromLatin1(local), Qt::ISODate);
    time.setTimeZone(MarketTime::eastern());
    return static_cast<double>(time.toSecsSinceEpoch());
}

std::vector<double> times(std::initializer_list<const char*> isoTexts, bool inEastern = false)
{
    std::vector<double> result;
    for (const char* text : isoTexts)
        result.push_back(inEastern ? eastern(text) : utc(text));
    return result;
}

// Midnight UTC of every weekday from `first` to `last`, as daily bars are dated.
std::vector<double> weekdays(QDate first, QDate last, int stepDays = 1)
{
    std::vector<double> result;
    for (QDate date = first; date <= last; date = date.addDays(stepDays))
        if (stepDays > 1 || date.dayOfWeek() <= 5)
            result.push_back(static_cast<double>(QDateTime(date, QTime(0, 0), QTimeZone::utc()).toSecsSinceEpoch()));
    return result;
}

// Every 15-minute bar from 9:30 to 16:00 New York time on each weekday of the range.
std::vector<double> sessions(QDate first, QDate last)
{
    std::vector<double> result;
    for (QDate date = first; date <= last; date = date.addDays(1)) {
        if (date.dayOfWeek() > 5)
            continue;
        for (QTime time(9, 30); time <= QTime(16, 0) && time.isValid(); time = time.addSecs(900)) {
            result.push_back(static_cast<double>(QDateTime(date, time, MarketTime::eastern()).toSecsSinceEpoch()));
            if (time == QTime(16, 0))
                break;
        }
    }
    return result;
}

ChartSeries series(const QString& ticker, std::initializer_list<double> values, double firstDate = 0)
{
    ChartSeries line { ticker, {}, false };
    double date = firstDate;
    for (const double value : values) {
        line.points.push_back(ChartPoint { date, value, std::nullopt });
        date += day;
    }
    return line;
}

} // namespace

class ChartAxisTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void compressesGaps_data();
    void compressesGaps();
    void positionOfAnyTime_data();
    void positionOfAnyTime();
    void tooFewTimesGiveOneDayEndingNow_data();
    void tooFewTimesGiveOneDayEndingNow();
    void buildsFromSeries();
    void nearestDate_data();
    void nearestDate();
    void tickUnitFollowsTheSpan_data();
    void tickUnitFollowsTheSpan();
    void ticksNeverCollide_data();
    void ticksNeverCollide();
    void noTicksWithoutRoomOrDates();

    void mapsPoints_data();
    void mapsPoints();
    void pathFollowsThePoints();
    void yDomain_data();
    void yDomain();
    void logTicks_data();
    void logTicks();
};

void ChartAxisTests::compressesGaps_data()
{
    QTest::addColumn<QString>("interval");
    QTest::addColumn<std::vector<double>>("times");
    QTest::addColumn<std::vector<double>>("positions");
    QTest::addColumn<int>("gaps");

    QTest::newRow("weekend: Monday one day after Friday")
        << "1D" << times({ "2024-01-04T00:00:00Z", "2024-01-05T00:00:00Z", "2024-01-08T00:00:00Z" })
        << std::vector { 0.0, day, 2 * day } << 1;
    QTest::newRow("one-day holiday (48 h) shortened to a day")
        << "1D" << times({ "2024-07-03T00:00:00Z", "2024-07-05T00:00:00Z" }) << std::vector { 0.0, day } << 1;
    QTest::newRow("weekday steps are no gaps")
        << "1D" << times({ "2024-01-02T00:00:00Z", "2024-01-03T00:00:00Z", "2024-01-04T00:00:00Z" })
        << std::vector { 0.0, day, 2 * day } << 0;
    QTest::newRow("23-hour clock-change step is no gap")
        << "1D" << times({ "2024-03-08T05:00:00Z", "2024-03-09T04:00:00Z" }) << std::vector { 0.0, 82'800.0 } << 0;
    QTest::newRow("exactly 25 hours is no gap")
        << "1D" << times({ "2024-11-01T04:00:00Z", "2024-11-02T05:00:00Z" }) << std::vector { 0.0, 90'000.0 } << 0;
    QTest::newRow("one second over 25 hours is a gap")
        << "1D" << times({ "2024-11-01T04:00:00Z", "2024-11-02T05:00:01Z" }) << std::vector { 0.0, day } << 1;
    QTest::newRow("duplicates collapse") << "1D"
                                         << times({ "2024-01-05T00:00:00Z", "2024-01-04T00:00:00Z",
                                                "2024-01-05T00:00:00Z" })
                                         << std::vector { 0.0, day } << 0;
    QTest::newRow("overnight in 15-minute bars kept at 30 minutes")
        << "15min" << times({ "2024-01-04T15:45:00", "2024-01-04T16:00:00", "2024-01-05T09:30:00" }, true)
        << std::vector { 0.0, 900.0, 2'700.0 } << 1;
    QTest::newRow("missing half hour inside a session is kept")
        << "15min" << times({ "2024-01-04T10:00:00", "2024-01-04T10:45:00", "2024-01-04T11:45:00" }, true)
        << std::vector { 0.0, 2'700.0, 6'300.0 } << 0;
    QTest::newRow("weekend across the spring clock change")
        << "15min" << times({ "2024-03-08T16:00:00", "2024-03-11T09:30:00", "2024-03-11T09:45:00" }, true)
        << std::vector { 0.0, 1'800.0, 2'700.0 } << 1;
    QTest::newRow("hourly bars are intraday too")
        << "1h" << times({ "2024-01-04T15:00:00", "2024-01-04T16:00:00", "2024-01-05T10:00:00" }, true)
        << std::vector { 0.0, 3'600.0, 5'400.0 } << 1;
    QTest::newRow("two gaps add up") << "1D"
                                     << times({ "2024-01-05T00:00:00Z", "2024-01-08T00:00:00Z", "2024-01-12T00:00:00Z",
                                            "2024-01-16T00:00:00Z" })
                                     << std::vector { 0.0, day, 2 * day, 3 * day } << 3;
    QTest::newRow("weekly bars are not compressed")
        << "1W" << times({ "2024-01-05T00:00:00Z", "2024-01-12T00:00:00Z", "2024-01-26T00:00:00Z" })
        << std::vector { 0.0, 7 * day, 21 * day } << 0;
}

void ChartAxisTests::compressesGaps()
{
    QFETCH(QString, interval);
    QFETCH(std::vector<double>, times);
    QFETCH(std::vector<double>, positions);
    QFETCH(int, gaps);

    const TimeAxis axis = TimeAxis::fromTimes(times, interval, 0);
    QCOMPARE(axis.positions(), positions);
    QCOMPARE(axis.span(), positions.back());
    QCOMPARE(static_cast<int>(axis.breakStarts().size()), gaps);
    QCOMPARE(axis.breakEnds().size(), axis.breakStarts().size());
    QCOMPARE(axis.hiddenBefore().size(), axis.breakStarts().size());
    QCOMPARE(axis.breakPositions().size(), axis.breakStarts().size());
    QVERIFY(std::ranges::is_sorted(axis.dates()));
    QCOMPARE(axis.intraday(), interval != QLatin1String("1D") && interval != QLatin1String("1W"));
}

void ChartAxisTests::positionOfAnyTime_data()
{
    QTest::addColumn<QString>("interval");
    QTest::addColumn<double>("time");
    QTest::addColumn<double>("position");

    // Data: Thu 4, Fri 5, Mon 8, Tue 9 January 2024 (daily), or the 15-minute case below.
    QTest::newRow("a data time") << "1D" << utc("2024-01-08T00:00:00Z") << 2 * day;
    QTest::newRow("start of the hidden stretch") << "1D" << utc("2024-01-06T00:00:00Z") << 2 * day;
    QTest::newRow("Saturday noon shares the gap's start") << "1D" << utc("2024-01-06T12:00:00Z") << 2 * day;
    QTest::newRow("Sunday night shares it too") << "1D" << utc("2024-01-07T23:59:59Z") << 2 * day;
    QTest::newRow("Friday afternoon lies before the gap") << "1D" << utc("2024-01-05T15:00:00Z") << day + 54'000;
    QTest::newRow("between Monday and Tuesday") << "1D" << utc("2024-01-08T06:00:00Z") << 2 * day + 21'600;
    QTest::newRow("before the first time") << "1D" << utc("2024-01-03T00:00:00Z") << -day;
    QTest::newRow("after the last time") << "1D" << utc("2024-01-10T00:00:00Z") << 4 * day;
    QTest::newRow("overnight instant sits at the session close plus 30 min")
        << "15min" << eastern("2024-01-05T03:00:00") << 2'700.0;
    QTest::newRow("next morning's first bar") << "15min" << eastern("2024-01-05T09:30:00") << 2'700.0;
    QTest::newRow("after the morning's first bar") << "15min" << eastern("2024-01-05T09:45:00") << 3'600.0;
}

void ChartAxisTests::positionOfAnyTime()
{
    QFETCH(QString, interval);
    QFETCH(double, time);
    QFETCH(double, position);

    const auto data = interval == QLatin1String("1D")
        ? times({ "2024-01-04T00:00:00Z", "2024-01-05T00:00:00Z", "2024-01-08T00:00:00Z", "2024-01-09T00:00:00Z" })
        : times({ "2024-01-04T15:45:00", "2024-01-04T16:00:00", "2024-01-05T09:30:00", "2024-01-05T09:45:00" }, true);
    const TimeAxis axis = TimeAxis::fromTimes(data, interval, 0);
    QCOMPARE(axis.position(time), position);
}

void ChartAxisTests::tooFewTimesGiveOneDayEndingNow_data()
{
    QTest::addColumn<std::vector<double>>("times");
    QTest::newRow("no times") << std::vector<double> {};
    QTest::newRow("one time") << std::vector { utc("2020-06-01T00:00:00Z") };
    QTest::newRow("one time twice") << std::vector { utc("2020-06-01T00:00:00Z"), utc("2020-06-01T00:00:00Z") };
}

void ChartAxisTests::tooFewTimesGiveOneDayEndingNow()
{
    QFETCH(std::vector<double>, times);
    const double now = utc("2024-05-01T12:00:00Z");
    const TimeAxis axis = TimeAxis::fromTimes(times, u"1D", now);
    QCOMPARE(axis.dates(), (std::vector { now - day, now }));
    QCOMPARE(axis.positions(), (std::vector { 0.0, day }));
    QCOMPARE(axis.span(), day);
}

void ChartAxisTests::buildsFromSeries()
{
    const double friday = utc("2024-01-05T00:00:00Z");
    std::vector<ChartSeries> lines { series("AAA", { 0, 0.1 }, friday), series("BBB", { 0, 0.2, 0.1, 0.3 }, friday) };
    lines[1].points[1].date = friday + 3 * day;
    lines[1].points[2].date = friday + 4 * day;
    lines[1].points[3].date = friday + 5 * day;
    const TimeAxis axis = TimeAxis::build(lines, u"1D", 0);
    QCOMPARE(
        axis.dates(), (std::vector { friday, friday + day, friday + 3 * day, friday + 4 * day, friday + 5 * day }));
    // AAA's Saturday point is one day after Friday; the 48 hours from there to BBB's Monday
    // are a gap and keep one day.
    QCOMPARE(axis.positions(), (std::vector { 0.0, day, 2 * day, 3 * day, 4 * day }));
}

void ChartAxisTests::nearestDate_data()
{
    QTest::addColumn<double>("x");
    QTest::addColumn<int>("index");

    QTest::newRow("exactly on a date") << day << 1;
    QTest::newRow("halfway picks the earlier") << day / 2 << 0;
    QTest::newRow("just past halfway picks the later") << day / 2 + 1 << 1;
    QTest::newRow("halfway across the gap picks the earlier") << 2.5 * day << 2;
    QTest::newRow("before the axis") << -1e9 << 0;
    QTest::newRow("after the axis") << 1e12 << 3;
}

void ChartAxisTests::nearestDate()
{
    QFETCH(double, x);
    QFETCH(int, index);
    const auto data
        = times({ "2024-01-04T00:00:00Z", "2024-01-05T00:00:00Z", "2024-01-08T00:00:00Z", "2024-01-09T00:00:00Z" });
    const TimeAxis axis = TimeAxis::fromTimes(data, u"1D", 0);
    QCOMPARE(axis.nearestDate(x), std::optional { data[static_cast<std::size_t>(index)] });
    QVERIFY(!TimeAxis().nearestDate(x).has_value());
}

// Labels follow the machine's locale (this test also runs under a German one), so a minor
// label is checked by reading it back in its unit's format, and the majors are spelt out.
void ChartAxisTests::tickUnitFollowsTheSpan_data()
{
    QTest::addColumn<QString>("interval");
    QTest::addColumn<std::vector<double>>("times");
    QTest::addColumn<QStringList>("minorFormats");
    QTest::addColumn<QString>("majorFormat");
    QTest::addColumn<QList<QDate>>("majorDays");

    const QStringList hours { DateLabel::hourFormat(false), DateLabel::hourFormat(true) };
    const QString dayOfSession = QStringLiteral("ddd, ") + DateLabel::monthDayFormat();
    const QStringList monthDay { DateLabel::monthDayFormat() };
    const QStringList month { QStringLiteral("MMM") };
    const QStringList year { QStringLiteral("yyyy") };

    QTest::newRow("one session: half hours")
        << "15min" << sessions(QDate(2024, 1, 4), QDate(2024, 1, 4)) << hours << dayOfSession << QList<QDate> {};
    QTest::newRow("two sessions: hours with the day as major")
        << "15min" << sessions(QDate(2024, 1, 4), QDate(2024, 1, 5)) << hours << dayOfSession
        << QList { QDate(2024, 1, 5) };
    QTest::newRow("three sessions over a weekend") << "15min" << sessions(QDate(2024, 1, 4), QDate(2024, 1, 8)) << hours
                                                   << dayOfSession << QList { QDate(2024, 1, 5), QDate(2024, 1, 8) };
    QTest::newRow("one month of days: weeks")
        << "1D" << weekdays(QDate(2024, 2, 1), QDate(2024, 2, 29)) << monthDay << QString() << QList<QDate> {};
    // A week boundary is major only when the month changes between the two bars it
    // separates: April 2024 begins on a Monday, February and March mid-week.
    QTest::newRow("three months: weeks, a month starting on Monday is major")
        << "1D" << weekdays(QDate(2024, 2, 1), QDate(2024, 4, 30)) << monthDay << DateLabel::monthDayFormat()
        << QList { QDate(2024, 4, 1) };
    QTest::newRow("one year: months, the new year major")
        << "1D" << weekdays(QDate(2023, 6, 1), QDate(2024, 5, 31)) << month << QStringLiteral("yyyy")
        << QList { QDate(2024, 1, 1) };
    QTest::newRow("five years: years") << "1D" << weekdays(QDate(2019, 6, 3), QDate(2024, 5, 31)) << year << QString()
                                       << QList<QDate> {};
    QTest::newRow("ten years weekly: years")
        << "1W" << weekdays(QDate(2014, 6, 6), QDate(2024, 5, 31), 7) << year << QString() << QList<QDate> {};
    QTest::newRow("forty years weekly: five-year steps")
        << "1W" << weekdays(QDate(1984, 6, 1), QDate(2024, 5, 31), 7) << year << QString() << QList<QDate> {};
}

void ChartAxisTests::tickUnitFollowsTheSpan()
{
    QFETCH(QString, interval);
    QFETCH(std::vector<double>, times);
    QFETCH(QStringList, minorFormats);
    QFETCH(QString, majorFormat);
    QFETCH(QList<QDate>, majorDays);

    const QLocale locale = MarketTime::displayLocale();
    const TimeAxis axis = TimeAxis::fromTimes(times, interval, 0);
    const auto ticks = axis.ticks(1000, 90);
    QVERIFY2(ticks.size() >= 2, qPrintable(QString::number(ticks.size())));
    QStringList majors;
    for (const auto& tick : ticks) {
        if (tick.major) {
            majors.append(tick.label);
            continue;
        }
        const bool readsBack = std::ranges::any_of(minorFormats, [&](const QString& format) {
            // A leap year, so that "Feb 29" reads back too.
            if (format.contains(u'M'))
                return locale.toDate(tick.label + QStringLiteral(" 2024"), format + QStringLiteral(" yyyy")).isValid();
            return format.contains(u'y') ? locale.toDate(tick.label, format).isValid()
                                         : locale.toTime(tick.label, format).isValid();
        });
        QVERIFY2(readsBack, qPrintable(tick.label));
    }
    QStringList expected;
    for (const QDate& day : majorDays)
        expected.append(locale.toString(day, majorFormat));
    QCOMPARE(majors, expected);

    if (QTest::currentDataTag() == QByteArray("forty years weekly: five-year steps")) {
        for (const auto& tick : ticks)
            QCOMPARE(tick.label.toInt() % 5, 0);
    }
}

void ChartAxisTests::ticksNeverCollide_data()
{
    QTest::addColumn<QString>("interval");
    QTest::addColumn<std::vector<double>>("times");
    QTest::addColumn<double>("width");
    QTest::addColumn<bool>("hasMajor");

    // Day changes are the landmarks of an intraday axis: with room for only a few labels the
    // major one survives and the minor ones around it give way.
    QTest::newRow("two sessions, narrow") << "15min" << sessions(QDate(2024, 1, 4), QDate(2024, 1, 5)) << 260.0 << true;
    // A week of sessions ticks by day, and days within one month are all minor.
    QTest::newRow("week of sessions, medium")
        << "15min" << sessions(QDate(2024, 1, 1), QDate(2024, 1, 5)) << 520.0 << false;
    QTest::newRow("two years, narrow") << "1D" << weekdays(QDate(2022, 6, 1), QDate(2024, 5, 31)) << 240.0 << false;
    QTest::newRow("a year across New Year, tiny")
        << "1D" << weekdays(QDate(2023, 6, 1), QDate(2024, 5, 31)) << 60.0 << true;
}

void ChartAxisTests::ticksNeverCollide()
{
    QFETCH(QString, interval);
    QFETCH(std::vector<double>, times);
    QFETCH(double, width);
    QFETCH(bool, hasMajor);

    const TimeAxis axis = TimeAxis::fromTimes(times, interval, 0);
    const auto ticks = axis.ticks(width, 90);
    QVERIFY(!ticks.empty());
    const QFontMetricsF minor(TimeAxis::tickFont(false));
    const QFontMetricsF major(TimeAxis::tickFont(true));
    const auto labelWidth
        = [&](const TimeAxis::Tick& t) { return (t.major ? major : minor).horizontalAdvance(t.label); };
    const double scale = width / axis.span();
    for (std::size_t i = 1; i < ticks.size(); ++i) {
        const double gap = scale * (ticks[i].position - ticks[i - 1].position);
        QVERIFY2(gap >= (labelWidth(ticks[i]) + labelWidth(ticks[i - 1])) / 2 + 10,
            qPrintable(ticks[i - 1].label + QLatin1String(" / ") + ticks[i].label));
    }
    QCOMPARE(std::ranges::any_of(ticks, &TimeAxis::Tick::major), hasMajor);
}

void ChartAxisTests::noTicksWithoutRoomOrDates()
{
    const TimeAxis axis = TimeAxis::fromTimes(weekdays(QDate(2024, 1, 1), QDate(2024, 3, 1)), u"1D", 0);
    QVERIFY(axis.ticks(0, 90).empty());
    QVERIFY(axis.ticks(-10, 90).empty());
    QVERIFY(TimeAxis().ticks(800, 90).empty());
    // Room for not even one tick still aims at two.
    QVERIFY(!axis.ticks(100, 90).empty());
}

void ChartAxisTests::mapsPoints_data()
{
    QTest::addColumn<bool>("log");
    QTest::addColumn<double>("lower");
    QTest::addColumn<double>("upper");
    QTest::addColumn<double>("value");
    QTest::addColumn<double>("y");

    // Plot from y = 10 to y = 210.
    QTest::newRow("linear bottom") << false << -0.1 << 0.3 << -0.1 << 210.0;
    QTest::newRow("linear top") << false << -0.1 << 0.3 << 0.3 << 10.0;
    QTest::newRow("linear zero") << false << -0.1 << 0.3 << 0.0 << 160.0;
    QTest::newRow("flat range sits mid-plot") << false << 0.2 << 0.2 << 5.0 << 110.0;
    QTest::newRow("log: factor 1 of 0.1…10 is mid-plot") << true << 0.1 << 10.0 << 0.0 << 110.0;
    QTest::newRow("log: +900% at the top") << true << 0.1 << 10.0 << 9.0 << 10.0;
    QTest::newRow("log: −100% plots at factor 0.001") << true << 0.001 << 10.0 << -1.0 << 210.0;
    QTest::newRow("log: −150% too") << true << 0.001 << 10.0 << -1.5 << 210.0;
    QTest::newRow("log: flat range sits mid-plot") << true << 2.0 << 2.0 << 1.0 << 110.0;
}

void ChartAxisTests::mapsPoints()
{
    QFETCH(bool, log);
    QFETCH(double, lower);
    QFETCH(double, upper);
    QFETCH(double, value);
    QFETCH(double, y);

    const auto data = times({ "2024-01-04T00:00:00Z", "2024-01-05T00:00:00Z", "2024-01-08T00:00:00Z" });
    const ChartMapper mapper(QRectF(20, 10, 400, 200), TimeAxis::fromTimes(data, u"1D", 0), { lower, upper }, log);
    const QPointF point = mapper.point(data[2], value);
    QVERIFY(std::isfinite(point.y()));
    QCOMPARE(point.y(), y);
    QCOMPARE(point.x(), 420.0);
    QCOMPARE(mapper.x(data[1]), 220.0);
    // A weekend instant shares Monday's x, since Saturday starts the hidden stretch here.
    QCOMPARE(mapper.x(utc("2024-01-07T09:00:00Z")), 420.0);
    if (!log && lower < upper)
        QCOMPARE(mapper.valueAt(y), value);
}

void ChartAxisTests::pathFollowsThePoints()
{
    const double first = utc("2024-01-02T00:00:00Z");
    const ChartSeries line = series("AAA", { 0, 0.1, -0.1 }, first);
    const ChartMapper mapper(
        QRectF(0, 0, 200, 100), TimeAxis::build(std::span(&line, 1), u"1D", 0), { -0.1, 0.1 }, false);
    QCOMPARE(mapper.path(line), (QPolygonF { { 0, 50 }, { 100, 0 }, { 200, 100 } }));
    QVERIFY(mapper.path(ChartSeries { "EMPTY", {}, false }).isEmpty());
}

void ChartAxisTests::yDomain_data()
{
    QTest::addColumn<bool>("log");
    QTest::addColumn<QStringList>("zoomTo");
    QTest::addColumn<double>("lower");
    QTest::addColumn<double>("upper");

    // Series: AAA 0 … 0.3, BBB 0 … −0.1, CCC 0 … 1.0
    const double f = std::pow(2.0 / 0.9, 0.04);
    QTest::newRow("linear, all") << false << QStringList {} << -0.1 - 0.066 << 1.0 + 0.066;
    QTest::newRow("linear, zoomed to AAA and BBB") << false << QStringList { "AAA", "BBB" } << -0.124 << 0.324;
    QTest::newRow("linear, zoom matching nothing shows all")
        << false << QStringList { "ZZZ" } << -0.1 - 0.066 << 1.0 + 0.066;
    QTest::newRow("linear, flat line gets the minimum pad") << false << QStringList { "FLAT" } << -0.005 << 0.005;
    QTest::newRow("log, all") << true << QStringList {} << 0.9 / f << 2.0 * f;
    QTest::newRow("log, flat line gets the minimum factor") << true << QStringList { "FLAT" } << 1 / 1.005 << 1.005;
    QTest::newRow("log, −100% clamps to 0.001")
        << true << QStringList { "WIPE" } << 0.001 / std::pow(1000.0, 0.04) << 1.0 * std::pow(1000.0, 0.04);
}

void ChartAxisTests::yDomain()
{
    QFETCH(bool, log);
    QFETCH(QStringList, zoomTo);
    QFETCH(double, lower);
    QFETCH(double, upper);

    const std::vector<ChartSeries> lines { series("AAA", { 0, 0.1, 0.3 }), series("BBB", { 0, -0.1, -0.05 }),
        series("CCC", { 0, 0.5, 1.0 }), series("FLAT", { 0, 0, 0 }), series("WIPE", { 0, -0.5, -1.0 }) };
    const std::span<const ChartSeries> considered
        = zoomTo.contains("WIPE") ? std::span(lines) : std::span(lines).first(4);
    const QSet<QString> set(zoomTo.begin(), zoomTo.end());
    const YRange range = tessary::yDomain(considered, set, log);
    QVERIFY2(qFuzzyCompare(range.lower, lower), qPrintable(QString::number(range.lower)));
    QVERIFY2(qFuzzyCompare(range.upper, upper), qPrintable(QString::number(range.upper)));
}

void ChartAxisTests::logTicks_data()
{
    QTest::addColumn<double>("lower");
    QTest::addColumn<double>("upper");
    QTest::addColumn<std::vector<double>>("factors");

    QTest::newRow("narrow range keeps 1.0") << 0.9 << 1.1 << std::vector { 1.0 };
    QTest::newRow("nothing inside") << 1.01 << 1.2 << std::vector<double> {};
    QTest::newRow("nine candidates thinned once, 1.0 kept off its index")
        << 0.2 << 12.0 << std::vector { 0.25, 0.75, 1.0, 1.5, 3.0, 10.0 };
    QTest::newRow("all sixteen thinned twice") << 0.05 << 1500.0 << std::vector { 0.1, 1.0, 5.0, 100.0 };
    QTest::newRow("seven stay as they are") << 0.2 << 3.5 << std::vector { 0.25, 0.5, 0.75, 1.0, 1.5, 2.0, 3.0 };
}

void ChartAxisTests::logTicks()
{
    QFETCH(double, lower);
    QFETCH(double, upper);
    QFETCH(std::vector<double>, factors);
    QCOMPARE(tessary::logTicks({ lower, upper }), factors);
}

QTEST_MAIN(ChartAxisTests)
#include "tst_ChartAxis.moc"
