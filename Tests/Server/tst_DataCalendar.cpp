#include "TessaryServer/Data/TradingCalendar.h"

#include <QTest>
#include <QTimeZone>

using namespace tessary::server;

class DataCalendarTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void closures_data();
    void closures();
    void sessionsPerYear_data();
    void sessionsPerYear();
    void earlyCloses_data();
    void earlyCloses();
    void lastCompletedSession_data();
    void lastCompletedSession();
    void stepping();
};

void DataCalendarTests::closures_data()
{
    QTest::addColumn<QDate>("date");
    QTest::addColumn<bool>("trades");
    QTest::addColumn<QString>("reason");
    // Observed-day rules: Saturday holidays move to Friday, Sunday ones to Monday, but a
    // Saturday New Year's Day is not made up.
    QTest::newRow("Christmas on Saturday, observed Friday") << QDate(2021, 12, 24) << false << "Christmas Day";
    QTest::newRow("Christmas on Sunday, observed Monday") << QDate(2022, 12, 26) << false << "Christmas Day";
    QTest::newRow("New Year on Saturday: Friday trades") << QDate(2021, 12, 31) << true << "";
    QTest::newRow("New Year on Saturday: Monday trades") << QDate(2022, 1, 3) << true << "";
    QTest::newRow("New Year on Sunday, observed Monday") << QDate(2017, 1, 2) << false << "New Year's Day";
    QTest::newRow("Independence Day on Saturday") << QDate(2020, 7, 3) << false << "Independence Day";
    QTest::newRow("Independence Day on Sunday") << QDate(2021, 7, 5) << false << "Independence Day";
    QTest::newRow("Juneteenth 2022 on Sunday, observed Monday") << QDate(2022, 6, 20) << false << "Juneteenth";
    QTest::newRow("Juneteenth not yet a holiday in 2021") << QDate(2021, 6, 18) << true << "";
    QTest::newRow("Juneteenth 2027 on Saturday, observed Friday") << QDate(2027, 6, 18) << false << "Juneteenth";
    // Moving holidays.
    QTest::newRow("Good Friday 2024") << QDate(2024, 3, 29) << false << "Good Friday";
    QTest::newRow("Good Friday 2019") << QDate(2019, 4, 19) << false << "Good Friday";
    QTest::newRow("Good Friday 1987") << QDate(1987, 4, 17) << false << "Good Friday";
    QTest::newRow("Easter Monday trades") << QDate(2024, 4, 1) << true << "";
    QTest::newRow("MLK Day 2024") << QDate(2024, 1, 15) << false << "Martin Luther King Jr. Day";
    QTest::newRow("MLK Day not observed before 1998") << QDate(1997, 1, 20) << true << "";
    QTest::newRow("Presidents Day 2025") << QDate(2025, 2, 17) << false << "Washington's Birthday";
    QTest::newRow("Memorial Day 2024 (last Monday)") << QDate(2024, 5, 27) << false << "Memorial Day";
    QTest::newRow("Labor Day 2023") << QDate(2023, 9, 4) << false << "Labor Day";
    QTest::newRow("Thanksgiving 2023") << QDate(2023, 11, 23) << false << "Thanksgiving Day";
    QTest::newRow("Day after Thanksgiving trades") << QDate(2023, 11, 24) << true << "";
    QTest::newRow("Election Day 1980") << QDate(1980, 11, 4) << false << "Election Day";
    QTest::newRow("Election Day 1984 trades") << QDate(1984, 11, 6) << true << "";
    // Unscheduled closures.
    QTest::newRow("September 11") << QDate(2001, 9, 11) << false << "September 11 attacks";
    QTest::newRow("September 14, 2001") << QDate(2001, 9, 14) << false << "September 11 attacks";
    QTest::newRow("reopened September 17, 2001") << QDate(2001, 9, 17) << true << "";
    QTest::newRow("Sandy, day one") << QDate(2012, 10, 29) << false << "Hurricane Sandy";
    QTest::newRow("Sandy, day two") << QDate(2012, 10, 30) << false << "Hurricane Sandy";
    QTest::newRow("Reagan") << QDate(2004, 6, 11) << false << "Day of mourning for President Reagan";
    QTest::newRow("Ford") << QDate(2007, 1, 2) << false << "Day of mourning for President Ford";
    QTest::newRow("Bush") << QDate(2018, 12, 5) << false << "Day of mourning for President George H. W. Bush";
    QTest::newRow("Carter") << QDate(2025, 1, 9) << false << "Day of mourning for President Carter";
    QTest::newRow("Gloria") << QDate(1985, 9, 27) << false << "Hurricane Gloria";
    QTest::newRow("weekend has no reason") << QDate(2024, 3, 30) << false << "";
    QTest::newRow("ordinary Wednesday") << QDate(2024, 3, 27) << true << "";
}

void DataCalendarTests::closures()
{
    QFETCH(QDate, date);
    QFETCH(bool, trades);
    QFETCH(QString, reason);
    QCOMPARE(isTradingDay(date), trades);
    QCOMPARE(closureReason(date).value_or(QString()), reason);
}

void DataCalendarTests::sessionsPerYear_data()
{
    // Session counts published by the exchange for these years.
    QTest::addColumn<int>("year");
    QTest::addColumn<int>("sessions");
    QTest::newRow("2001 (September closures)") << 2001 << 248;
    QTest::newRow("2012 (Sandy)") << 2012 << 250;
    QTest::newRow("2018 (Bush)") << 2018 << 251;
    QTest::newRow("2019") << 2019 << 252;
    QTest::newRow("2022 (first Juneteenth)") << 2022 << 251;
    QTest::newRow("2023") << 2023 << 250;
    QTest::newRow("2024") << 2024 << 252;
    QTest::newRow("2025 (Carter)") << 2025 << 250;
}

void DataCalendarTests::sessionsPerYear()
{
    QFETCH(int, year);
    QFETCH(int, sessions);
    QCOMPARE(int(tradingDays(QDate(year, 1, 1), QDate(year, 12, 31)).size()), sessions);
}

void DataCalendarTests::earlyCloses_data()
{
    QTest::addColumn<QDate>("date");
    QTest::addColumn<QTime>("close");
    QTest::newRow("July 3, 2024 (Wednesday)") << QDate(2024, 7, 3) << QTime(13, 0);
    QTest::newRow("July 3, 2020 is a holiday, not an early close") << QDate(2020, 7, 2) << QTime(16, 0);
    QTest::newRow("Black Friday 2023") << QDate(2023, 11, 24) << QTime(13, 0);
    QTest::newRow("Christmas Eve 2024") << QDate(2024, 12, 24) << QTime(13, 0);
    QTest::newRow("ordinary day") << QDate(2024, 12, 23) << QTime(16, 0);
}

void DataCalendarTests::earlyCloses()
{
    QFETCH(QDate, date);
    QFETCH(QTime, close);
    QCOMPARE(closingTime(date), close);
}

void DataCalendarTests::lastCompletedSession_data()
{
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<QDate>("session");
    const QTimeZone newYork("America/New_York");
    QTest::newRow("before the close: yesterday")
        << QDateTime(QDate(2024, 3, 27), QTime(15, 59), newYork) << QDate(2024, 3, 26);
    QTest::newRow("at the close: today") << QDateTime(QDate(2024, 3, 27), QTime(16, 0), newYork) << QDate(2024, 3, 27);
    QTest::newRow("Saturday: Thursday before Good Friday")
        << QDateTime(QDate(2024, 3, 30), QTime(12, 0), newYork) << QDate(2024, 3, 28);
    QTest::newRow("early close is complete at 13:00")
        << QDateTime(QDate(2024, 12, 24), QTime(13, 30), newYork) << QDate(2024, 12, 24);
    // 02:00 UTC on the 28th is still the 27th in New York, after its close.
    QTest::newRow("UTC instant already the next day")
        << QDateTime(QDate(2024, 3, 28), QTime(2, 0), QTimeZone::utc()) << QDate(2024, 3, 27);
}

void DataCalendarTests::lastCompletedSession()
{
    QFETCH(QDateTime, now);
    QFETCH(QDate, session);
    QCOMPARE(tessary::server::lastCompletedSession(now), session);
}

void DataCalendarTests::stepping()
{
    QCOMPARE(nextTradingDay(QDate(2001, 9, 10)), QDate(2001, 9, 17));
    QCOMPARE(previousTradingDay(QDate(2001, 9, 17)), QDate(2001, 9, 10));
    QCOMPARE(tradingDayOnOrBefore(QDate(2024, 3, 31)), QDate(2024, 3, 28));
    QCOMPARE(tradingDayOnOrBefore(QDate(2024, 3, 28)), QDate(2024, 3, 28));
    QVERIFY(tradingDays(QDate(2024, 3, 29), QDate(2024, 3, 31)).empty());
}

QTEST_GUILESS_MAIN(DataCalendarTests)
#include "tst_DataCalendar.moc"
