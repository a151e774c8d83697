#include "Support/TestSupport.h"
#include "Tessary/Model/Model.h"

#include <QLocale>
#include <QTest>

#include <cmath>
#include <limits>

using namespace tessary;
using test::utcInstant;

Q_DECLARE_METATYPE(std::optional<double>)

namespace {

using Formatter = QString (*)(std::optional<double>);

QString signedPercent(std::optional<double> value)
{
    return Format::percent(value, true);
}
QString plainPercent(std::optional<double> value)
{
    return Format::percent(value, false);
}

const QString minus = QString(QChar(0x2212));
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

} // namespace

Q_DECLARE_METATYPE(Formatter)

class FormatTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void numbers_data();
    void numbers();
    void followsTheUserLocale();
    void benchmarkMultiple_data();
    void benchmarkMultiple();
    void rankColourAtSegmentEdges_data();
    void rankColourAtSegmentEdges();
    void rankColourHasNoJumps();
    void marketClock_data();
    void marketClock();
    void marketDays_data();
    void marketDays();
};

void FormatTests::initTestCase()
{
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
}

void FormatTests::cleanup()
{
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
}

void FormatTests::numbers_data()
{
    QTest::addColumn<Formatter>("format");
    QTest::addColumn<std::optional<double>>("value");
    QTest::addColumn<QString>("text");

    const std::optional<double> none;
    QTest::newRow("percent negative") << Formatter(plainPercent) << std::optional(-0.0523)
                                      << minus + QStringLiteral("5.2%");
    QTest::newRow("percent signed large") << Formatter(signedPercent) << std::optional(1.456) << "+146%";
    QTest::newRow("percent zero has no sign") << Formatter(signedPercent) << std::optional(0.0) << "0.0%";
    QTest::newRow("percent positive unsigned") << Formatter(plainPercent) << std::optional(0.123) << "12.3%";
    QTest::newRow("percent absent") << Formatter(signedPercent) << none << "—";
    QTest::newRow("percent NaN") << Formatter(plainPercent) << std::optional(notANumber) << "—";
    QTest::newRow("percent infinite") << Formatter(plainPercent) << std::optional(-infinity) << "—";
    // The digit count is chosen before rounding: 99.95 % is still "below 100".
    QTest::newRow("percent 99.95 boundary") << Formatter(plainPercent) << std::optional(0.9995) << "100.0%";
    QTest::newRow("percent just under") << Formatter(plainPercent) << std::optional(0.99949) << "99.9%";
    QTest::newRow("percent exactly 100") << Formatter(signedPercent) << std::optional(1.0) << "+100%";
    QTest::newRow("percent total loss") << Formatter(signedPercent) << std::optional(-1.0)
                                        << minus + QStringLiteral("100%");
    QTest::newRow("percent grouped") << Formatter(plainPercent) << std::optional(123.456) << "12,346%";

    QTest::newRow("price large") << Formatter(Format::price) << std::optional(12345.67) << "12,346";
    QTest::newRow("price below 10,000") << Formatter(Format::price) << std::optional(9999.5) << "9,999.50";
    QTest::newRow("price rounds up past 10,000") << Formatter(Format::price) << std::optional(9999.995) << "10,000.00";
    QTest::newRow("price exactly 10,000") << Formatter(Format::price) << std::optional(10000.0) << "10,000";
    QTest::newRow("price small") << Formatter(Format::price) << std::optional(0.015) << "0.01";
    QTest::newRow("price zero") << Formatter(Format::price) << std::optional(0.0) << "";
    QTest::newRow("price negative") << Formatter(Format::price) << std::optional(-3.0) << "";
    QTest::newRow("price absent") << Formatter(Format::price) << none << "";

    QTest::newRow("ratio") << Formatter(Format::ratio) << std::optional(1.234) << "1.23";
    QTest::newRow("ratio negative") << Formatter(Format::ratio) << std::optional(-0.5)
                                    << minus + QStringLiteral("0.50");
    QTest::newRow("ratio absent") << Formatter(Format::ratio) << none << "—";

    QTest::newRow("cap trillions") << Formatter(Format::marketCap) << std::optional(2.5e12) << "2.50T";
    QTest::newRow("cap millions") << Formatter(Format::marketCap) << std::optional(7.6e8) << "760M";
    QTest::newRow("cap billions") << Formatter(Format::marketCap) << std::optional(1e9) << "1.0B";
    QTest::newRow("cap rounds within its unit")
        << Formatter(Format::marketCap) << std::optional(999'999'999.5) << "1,000M";
    QTest::newRow("cap just below a trillion") << Formatter(Format::marketCap) << std::optional(999.96e9) << "1,000.0B";
    QTest::newRow("cap plain") << Formatter(Format::marketCap) << std::optional(999'999.4) << "999,999";
    QTest::newRow("cap absent") << Formatter(Format::marketCap) << none << "—";
}

void FormatTests::numbers()
{
    QFETCH(Formatter, format);
    QFETCH(std::optional<double>, value);
    QFETCH(QString, text);
    QCOMPARE(format(value), text);
}

void FormatTests::followsTheUserLocale()
{
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    QCOMPARE(Format::percent(-0.0523), minus + QStringLiteral("5,2%"));
    QCOMPARE(Format::price(12345.67), QStringLiteral("12.346"));
    QCOMPARE(Format::marketCap(2.5e12), QStringLiteral("2,50T"));
    QCOMPARE(DateLabel::display(QDate(2009, 3, 9)), QStringLiteral("9. März 2009"));
    QCOMPARE(MarketTime::time(utcInstant("2026-01-15T21:00:00Z")), QStringLiteral("16:00 ET"));
    QLocale::setDefault(QLocale(QLocale::Spanish, QLocale::Spain));
    QCOMPARE(DateLabel::display(QDate(2009, 3, 9)), QStringLiteral("9 de mar de 2009"));
    QCOMPARE(QLocale().toString(QDate(2009, 3, 9), DateLabel::monthDayFormat()), QStringLiteral("9 de mar"));
    QLocale::setDefault(QLocale(QLocale::Japanese, QLocale::Japan));
    QCOMPARE(QLocale().toString(QDate(2009, 3, 9), DateLabel::monthDayFormat()), QStringLiteral("3月9日"));
}

void FormatTests::benchmarkMultiple_data()
{
    QTest::addColumn<std::optional<double>>("ticker");
    QTest::addColumn<std::optional<double>>("benchmark");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("tone");

    using Tone = Format::BenchmarkMultiple::Tone;
    QTest::newRow("twice the growth") << std::optional(1.5) << std::optional(0.25) << "2.0× SPY" << int(Tone::above);
    QTest::newRow("same return") << std::optional(0.1) << std::optional(0.1) << "1.0× SPY" << int(Tone::equal);
    QTest::newRow("within the tolerance")
        << std::optional(0.1 + 1e-13) << std::optional(0.1) << "1.0× SPY" << int(Tone::equal);
    QTest::newRow("losing while the benchmark is flat")
        << std::optional(-0.5) << std::optional(0.0) << "0.5× SPY" << int(Tone::below);
    QTest::newRow("both negative, ticker better")
        << std::optional(-0.1) << std::optional(-0.4) << "1.5× SPY" << int(Tone::above);
    QTest::newRow("no decimals from 10") << std::optional(10.0) << std::optional(0.0) << "11× SPY" << int(Tone::above);
    QTest::newRow("benchmark wiped out") << std::optional(0.2) << std::optional(-1.0) << "—" << int(Tone::above);
    QTest::newRow("ticker wiped out") << std::optional(-1.0) << std::optional(0.3) << "0.0× SPY" << int(Tone::below);
    QTest::newRow("missing return") << std::optional<double>() << std::optional(0.3) << "—" << int(Tone::equal);
}

void FormatTests::benchmarkMultiple()
{
    QFETCH(std::optional<double>, ticker);
    QFETCH(std::optional<double>, benchmark);
    QFETCH(QString, text);
    QFETCH(int, tone);
    const auto multiple = Format::benchmarkMultiple(ticker, benchmark, QStringLiteral("SPY"));
    QCOMPARE(multiple.text, text);
    QCOMPARE(int(multiple.tone), tone);
}

void FormatTests::rankColourAtSegmentEdges_data()
{
    QTest::addColumn<int>("rank");
    QTest::addColumn<int>("count");
    QTest::addColumn<QList<int>>("rgb");

    QTest::newRow("alone is grey") << 1 << 1 << QList<int> { 153, 153, 153 };
    QTest::newRow("nobody ranked") << 1 << 0 << QList<int> { 153, 153, 153 };
    QTest::newRow("best of two") << 1 << 2 << QList<int> { 16, 150, 55 };
    QTest::newRow("worst of two") << 2 << 2 << QList<int> { 200, 40, 30 };
    QTest::newRow("t = 0.33 starts amber") << 34 << 101 << QList<int> { 180, 140, 0 };
    QTest::newRow("t = 0.66 starts orange") << 67 << 101 << QList<int> { 220, 100, 0 };
    QTest::newRow("t = 0.5") << 3 << 5 << QList<int> { 201, 119, 0 };
}

void FormatTests::rankColourAtSegmentEdges()
{
    QFETCH(int, rank);
    QFETCH(int, count);
    QFETCH(QList<int>, rgb);
    const QColor color = Palette::rankColor(rank, count);
    QCOMPARE((QList<int> { color.red(), color.green(), color.blue() }), rgb);
    QCOMPARE(color.alpha(), 255);
}

void FormatTests::rankColourHasNoJumps()
{
    // Neighbouring ranks in a long list must look neighbouring: a wrong segment formula
    // shows up as a jump at 0.33 or 0.66.
    const int count = 1001;
    for (int rank = 2; rank <= count; ++rank) {
        const QColor previous = Palette::rankColor(rank - 1, count);
        const QColor current = Palette::rankColor(rank, count);
        const int step = std::max({ std::abs(previous.red() - current.red()),
            std::abs(previous.green() - current.green()), std::abs(previous.blue() - current.blue()) });
        QVERIFY2(step <= 2, qPrintable(QStringLiteral("rank %1 jumps by %2").arg(rank).arg(step)));
    }
}

void FormatTests::marketClock_data()
{
    QTest::addColumn<QDateTime>("instant");
    QTest::addColumn<QString>("date");
    QTest::addColumn<QString>("time");

    QTest::newRow("winter close") << utcInstant("2026-01-15T21:00:00Z") << u"2026-01-15"_qs << u"4:00 PM ET"_qs;
    QTest::newRow("summer close") << utcInstant("2026-03-13T20:00:00Z") << u"2026-03-13"_qs << u"4:00 PM ET"_qs;
    QTest::newRow("after midnight UTC is still yesterday")
        << utcInstant("2026-11-22T03:30:00Z") << u"2026-11-21"_qs << u"10:30 PM ET"_qs;
    QTest::newRow("the skipped hour") << utcInstant("2026-03-08T07:00:00Z") << u"2026-03-08"_qs << u"3:00 AM ET"_qs;
    QTest::newRow("the repeated hour, second time")
        << utcInstant("2026-11-01T06:30:00Z") << u"2026-11-01"_qs << u"1:30 AM ET"_qs;
    QTest::newRow("open") << utcInstant("2024-07-01T13:30:00Z") << u"2024-07-01"_qs << u"9:30 AM ET"_qs;
}

void FormatTests::marketClock()
{
    QFETCH(QDateTime, instant);
    QFETCH(QString, date);
    QFETCH(QString, time);
    QCOMPARE(MarketTime::date(instant), date);
    QCOMPARE(MarketTime::time(instant), time);
    QCOMPARE(MarketTime::date(MarketTime::fromMilliseconds(double(instant.toMSecsSinceEpoch()) + 0.75)), date);
}

void FormatTests::marketDays_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("marketDay");
    QTest::addColumn<QString>("display");

    QTest::newRow("plain day") << u"2009-03-09"_qs << u"2009-03-09"_qs << u"Mar 9, 2009"_qs;
    QTest::newRow("leap day") << u"2024-02-29"_qs << u"2024-02-29"_qs << u"Feb 29, 2024"_qs;
    QTest::newRow("no such day") << u"2023-02-29"_qs << u""_qs << u"2023-02-29"_qs;
    QTest::newRow("month 13") << u"2023-13-01"_qs << u""_qs << u"2023-13-01"_qs;
    QTest::newRow("short fields") << u"2023-2-1"_qs << u""_qs << u"2023-2-1"_qs;
    QTest::newRow("timestamp: the day is read, but it is no label")
        << u"2024-02-29T12:00:00Z"_qs << u"2024-02-29"_qs << u"2024-02-29T12:00:00Z"_qs;
    QTest::newRow("empty") << u""_qs << u""_qs << u""_qs;
}

void FormatTests::marketDays()
{
    QFETCH(QString, text);
    QFETCH(QString, marketDay);
    QFETCH(QString, display);
    const auto parsed = MarketTime::parseDate(text);
    QCOMPARE(parsed ? MarketTime::formatDate(*parsed) : QString(), marketDay);
    QCOMPARE(DateLabel::display(QStringView(text)), display);
}

QTEST_GUILESS_MAIN(FormatTests)
#include "tst_Formats.moc"
