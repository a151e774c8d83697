#include "Support/TestSupport.h"
#include "Tessary/Model/Model.h"

#include <QTest>

#include <set>

using namespace tessary;
using test::utcInstant;

Q_DECLARE_METATYPE(tessary::Timeframe)
Q_DECLARE_METATYPE(std::optional<QString>)

class PeriodTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void storedPresetIsUpperCasedWithDefault_data();
    void storedPresetIsUpperCasedWithDefault();
    void rawValuesRoundTripAndPrimaryKeepsMenuOrder();
    void scenarioTableIsConsistent();
    void clamp_data();
    void clamp();
    void label_data();
    void label();
    void effectiveRange_data();
    void effectiveRange();
    void multiPeriodsDecode_data();
    void multiPeriodsDecode();
};

void PeriodTests::storedPresetIsUpperCasedWithDefault_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("exactMatch");
    QTest::newRow("lower ytd") << "ytd"
                               << "YTD" << false;
    QTest::newRow("lower 5y") << "5y"
                              << "5Y" << false;
    QTest::newRow("6Y is not a preset") << "6Y"
                                        << "1Y" << false;
    QTest::newRow("empty") << ""
                           << "1Y" << false;
    QTest::newRow("padded") << " 1M"
                            << "1Y" << false;
    QTest::newRow("15d") << "15d"
                         << "15D" << false;
    QTest::newRow("exact 40Y") << "40Y"
                               << "40Y" << true;
    QTest::newRow("exact 3D") << "3D"
                              << "3D" << true;
}

void PeriodTests::storedPresetIsUpperCasedWithDefault()
{
    QFETCH(QString, stored);
    QFETCH(QString, expected);
    QFETCH(bool, exactMatch);
    QCOMPARE(Timeframes::rawValue(Timeframes::fromStoredValue(stored)), expected);
    // The exact parser never upper-cases: only the list decoder is lenient.
    QCOMPARE(Timeframes::fromRawValue(stored).has_value(), exactMatch);
}

void PeriodTests::rawValuesRoundTripAndPrimaryKeepsMenuOrder()
{
    std::set<QString> seen;
    for (const Timeframe timeframe : Timeframes::all()) {
        const QString raw = Timeframes::rawValue(timeframe);
        QVERIFY2(seen.insert(raw).second, qPrintable(raw));
        QCOMPARE(Timeframes::fromRawValue(raw), std::optional(timeframe));
        QCOMPARE(Timeframes::isIntraday(timeframe), raw.endsWith(u'D') && raw.size() == 2);
    }
    QCOMPARE(seen.size(), timeframeCount);

    QCOMPARE(Timeframes::primary().size(), 12u);
    for (std::size_t i = 1; i < Timeframes::primary().size(); ++i)
        QVERIFY(Timeframes::primary()[i - 1] < Timeframes::primary()[i]);
}

void PeriodTests::scenarioTableIsConsistent()
{
    QCOMPARE(Scenario::groups().size(), 3u);
    QCOMPARE(Scenario::all().size(), 20u);
    std::set<QString> ids;
    for (const Scenario& scenario : Scenario::all()) {
        QVERIFY2(ids.insert(scenario.id).second, qPrintable(scenario.id));
        QVERIFY(MarketTime::parseDate(scenario.start));
        if (scenario.end) {
            QVERIFY(MarketTime::parseDate(*scenario.end));
            QVERIFY2(scenario.start < *scenario.end, qPrintable(scenario.id));
        }
        QCOMPARE(Scenario::find(scenario.id), &scenario);
    }
    QVERIFY(!Scenario::find(u"AI-BOOM"));
    QCOMPARE(Scenario::all().back().id, QStringLiteral("rate-hikes"));
}

void PeriodTests::clamp_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<std::optional<QString>>("end");
    QTest::addColumn<int>("years");
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<QString>("expectedStart");
    QTest::addColumn<QString>("expectedEnd");
    QTest::addColumn<bool>("truncated");

    const QDateTime now = utcInstant("2026-06-15T15:00:00Z");
    const auto day = [](const char* text) { return std::optional<QString>(QString::fromLatin1(text)); };
    QTest::newRow("custom range over 40 years") << "1950-01-01" << day("2026-01-01") << 40 << now << "1986-01-01"
                                                << "2026-01-01" << true;
    QTest::newRow("exactly 40 years is kept") << "1986-01-01" << day("2026-01-01") << 40 << now << "1986-01-01"
                                              << "2026-01-01" << false;
    QTest::newRow("leap end, leap start") << "1984-02-28" << day("2024-02-29") << 40 << now << "1984-02-29"
                                          << "2024-02-29" << true;
    QTest::newRow("leap end into common year") << "2023-02-27" << day("2024-02-29") << 1 << now << "2023-02-28"
                                               << "2024-02-29" << true;
    QTest::newRow("start on the leap-day limit") << "2023-02-28" << day("2024-02-29") << 1 << now << "2023-02-28"
                                                 << "2024-02-29" << false;
    QTest::newRow("only ten characters are read")
        << "2020-01-05T00:00:00Z" << day("2021-01-05 trailing") << 40 << now << "2020-01-05"
        << "2021-01-05" << false;
    QTest::newRow("unreadable start passes through") << "soon" << day("2021-01-05") << 40 << now << "soon"
                                                     << "2021-01-05" << false;
    QTest::newRow("unreadable end means today") << "2020-01-01" << day("2021-13-01") << 40 << now << "2020-01-01"
                                                << "2026-06-15" << false;
    // 03:30 UTC is still the previous evening in New York (and already noon in Tokyo).
    QTest::newRow("open end just after midnight UTC")
        << "2023-01-01" << std::optional<QString>() << 40 << utcInstant("2026-11-22T03:30:00Z") << "2023-01-01"
        << "2026-11-21" << false;
    // The night the clocks spring forward: 06:59 UTC is 01:59 EST, 07:00 UTC is 03:00 EDT.
    QTest::newRow("open end across the spring DST change")
        << "2023-01-01" << std::optional<QString>() << 40 << utcInstant("2026-03-08T04:59:00Z") << "2023-01-01"
        << "2026-03-07" << false;
    QTest::newRow("open end after the autumn DST change")
        << "2023-01-01" << std::optional<QString>() << 40 << utcInstant("2026-11-01T05:30:00Z") << "2023-01-01"
        << "2026-11-01" << false;
    QTest::newRow("open end clamps against today")
        << "1960-05-05" << std::optional<QString>() << 40 << utcInstant("2026-11-22T03:30:00Z") << "1986-11-21"
        << "2026-11-21" << true;
}

void PeriodTests::clamp()
{
    QFETCH(QString, start);
    QFETCH(std::optional<QString>, end);
    QFETCH(int, years);
    QFETCH(QDateTime, now);
    QFETCH(QString, expectedStart);
    QFETCH(QString, expectedEnd);
    QFETCH(bool, truncated);
    QCOMPARE(clampRange(start, end, years, now), (ClampedRange { expectedStart, expectedEnd, truncated }));
}

void PeriodTests::label_data()
{
    QTest::addColumn<ListPeriod>("period");
    QTest::addColumn<QString>("label");
    const auto scenario
        = [](const char* id) { return ListPeriod::forScenario(*Scenario::find(QString::fromLatin1(id))); };
    QTest::newRow("dates stripped") << scenario("ai-boom") << "AI Boom";
    QTest::newRow("month stripped") << scenario("covid-crash") << "COVID Crash";
    QTest::newRow("nothing to strip") << scenario("q4-2018") << "Q4 2018 Selloff";
    QTest::newRow("slash kept") << scenario("911-reaction") << "9/11 Market Reaction";
    QTest::newRow("scenario left the table") << ListPeriod { Timeframe::oneYear, QStringLiteral("old-episode"),
        QStringLiteral("2001-01-01"), {} } << "Scenario";
    QTest::newRow("custom range") << ListPeriod::forRange(QStringLiteral("2001-01-01"), {}) << "Custom range";
    QTest::newRow("scenario id without range is the preset")
        << ListPeriod { Timeframe::ytd, QStringLiteral("ai-boom"), {}, {} } << "YTD";
    QTest::newRow("preset") << ListPeriod::forPreset(Timeframe::fifteenDay) << "15D";
}

void PeriodTests::label()
{
    QFETCH(ListPeriod, period);
    QFETCH(QString, label);
    QCOMPARE(period.label(), label);
}

void PeriodTests::effectiveRange_data()
{
    QTest::addColumn<ListPeriod>("period");
    QTest::addColumn<std::optional<ClampedRange>>("expected");
    const auto range = [](const char* start, const char* end, bool truncated) {
        return std::optional(ClampedRange { QString::fromLatin1(start), QString::fromLatin1(end), truncated });
    };
    QTest::newRow("preset asks the service")
        << ListPeriod::forPreset(Timeframe::fiveYear) << std::optional<ClampedRange>();
    QTest::newRow("open scenario ends today")
        << ListPeriod::forScenario(*Scenario::find(u"ai-boom")) << range("2023-01-01", "2026-11-21", false);
    // The scenario's own dates win over whatever range the list carries.
    QTest::newRow("scenario ignores stored range") << ListPeriod { Timeframe::oneYear, QStringLiteral("brexit"),
        QStringLiteral("1999-01-01"), QStringLiteral("1999-02-01") }
                                                   << range("2016-06-20", "2016-07-08", false);
    QTest::newRow("unknown scenario uses its own range") << ListPeriod { Timeframe::oneYear, QStringLiteral("gone"),
        QStringLiteral("2010-03-01"), QStringLiteral("2011-03-01") }
                                                         << range("2010-03-01", "2011-03-01", false);
    QTest::newRow("custom range is clamped") << ListPeriod::forRange(QStringLiteral("1950-01-01"),
        QStringLiteral("2026-01-01")) << range("1986-01-01", "2026-01-01", true);
}

void PeriodTests::effectiveRange()
{
    QFETCH(ListPeriod, period);
    QFETCH(std::optional<ClampedRange>, expected);
    QCOMPARE(period.effectiveRange(utcInstant("2026-11-22T00:30:00Z")), expected);
}

void PeriodTests::multiPeriodsDecode_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("canonical");
    const QString defaults = QStringLiteral("1D,1W,1M,6M,1Y,3Y,5Y,10Y");
    QTest::newRow("empty pieces, unknown and duplicates") << "5Y,,XX,1D,5Y"
                                                          << "1D,5Y";
    QTest::newRow("empty text") << "" << defaults;
    QTest::newRow("nothing readable") << "XX" << defaults;
    QTest::newRow("not upper-cased") << "1d,ytd" << defaults;
    QTest::newRow("order does not matter") << "40Y,YTD,15D"
                                           << "15D,YTD,40Y";
    QTest::newRow("spaces are not trimmed") << " 1D,2D"
                                            << "2D";
}

void PeriodTests::multiPeriodsDecode()
{
    QFETCH(QString, stored);
    QFETCH(QString, canonical);
    const auto decoded = MultiPeriods::decode(stored);
    QCOMPARE(MultiPeriods::encode(decoded), canonical);
    QCOMPARE(MultiPeriods::decode(canonical), decoded);
}

QTEST_GUILESS_MAIN(PeriodTests)
#include "tst_Periods.moc"
