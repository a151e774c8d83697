#include "Support/TestSupport.h"
#include "Tessary/App/CompareCommand.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

using namespace tessary;

namespace {

struct Finished {
    int exitCode = -1;
    QString out;
    QString err;
};

Finished run(const QString& program, const QStringList& arguments,
    const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForFinished(90'000))
        process.kill();
    return { process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
        QString::fromUtf8(process.readAllStandardError()) };
}

// Adjusted close on the first trading day on or after `from` and on the last one on or
// before `to`, read straight from the CSV, independently of the server's engine.
double csvReturn(const QString& file, const QString& from, const QString& to)
{
    QFile csv(file);
    if (!csv.open(QIODevice::ReadOnly))
        return std::nan("");
    csv.readLine();
    double first = std::nan("");
    double last = std::nan("");
    while (!csv.atEnd()) {
        const QStringList fields = QString::fromUtf8(csv.readLine()).trimmed().split(u',');
        if (fields.size() < 3 || fields[0] < from || fields[0] > to)
            continue;
        if (std::isnan(first))
            first = fields[2].toDouble();
        last = fields[2].toDouble();
    }
    return last / first - 1;
}

} // namespace

class CompareTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void arguments_data();
    void arguments();
    void tableAndJsonAgainstTheServer();
    void savedListByName();
    void errorsAreOneLine_data();
    void errorsAreOneLine();
    void chartFilesAgainstTheServer_data();
    void chartFilesAgainstTheServer();

private:
    QProcessEnvironment appEnvironment(const QString& dataDir) const;

    QTemporaryDir m_dir;
    QProcess m_server;
    QString m_url;
    QString m_shared;
};

void CompareTests::initTestCase()
{
    const auto shared = test::sharedDataDirectory();
    if (!shared)
        QSKIP("../shared/data is not present in this checkout");
    m_shared = *shared;
    const QString store = m_dir.filePath(QStringLiteral("store"));
    QStringList files;
    for (const char* symbol : { "AAPL", "MSFT", "ABBV", "JNJ" })
        files.append(QDir(m_shared).filePath(QStringLiteral("daily/%1.csv").arg(QLatin1StringView(symbol))));
    const auto imported = run(QStringLiteral(TESSARY_SERVER_EXECUTABLE),
        QStringList { QStringLiteral("import"), QStringLiteral("prices"), QStringLiteral("--data-dir"), store }
            + files);
    QVERIFY2(imported.exitCode == 0, qPrintable(imported.err));
    const auto universe = run(QStringLiteral(TESSARY_SERVER_EXECUTABLE),
        { QStringLiteral("import"), QStringLiteral("universe"), QStringLiteral("--data-dir"), store,
            QDir(m_shared).filePath(QStringLiteral("sp500-constituents.csv")) });
    QVERIFY2(universe.exitCode == 0, qPrintable(universe.err));

    m_server.start(QStringLiteral(TESSARY_SERVER_EXECUTABLE),
        { QStringLiteral("serve"), QStringLiteral("--no-demo"), QStringLiteral("--data-dir"), store });
    QVERIFY(m_server.waitForReadyRead(30'000));
    const QString first = QString::fromUtf8(m_server.readLine()).trimmed();
    QVERIFY2(first.startsWith(QStringLiteral("listening on http://127.0.0.1:")), qPrintable(first));
    m_url = first.mid(QStringLiteral("listening on ").size());
}

void CompareTests::cleanupTestCase()
{
    if (m_server.state() != QProcess::NotRunning) {
        m_server.terminate();
        m_server.waitForFinished(10'000);
    }
}

QProcessEnvironment CompareTests::appEnvironment(const QString& dataDir) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TESSARY_API"), m_url);
    environment.insert(QStringLiteral("TESSARY_DATA_DIR"), dataDir);
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_dir.filePath(QStringLiteral("config")));
    return environment;
}

void CompareTests::arguments_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QStringList>("symbols");
    QTest::addColumn<QString>("periodLabel");

    QTest::newRow("symbols, commas and case")
        << QStringList { "aapl,msft", "NVDA", "aapl" } << "" << QStringList { "AAPL", "MSFT", "NVDA" } << "1Y";
    QTest::newRow("preset in any case") << QStringList { "SPY", "--period", "ytd" } << "" << QStringList { "SPY" }
                                        << "YTD";
    QTest::newRow("scenario") << QStringList { "SPY", "--period", "covid-crash" } << "" << QStringList { "SPY" }
                              << "COVID Crash";
    QTest::newRow("open range") << QStringList { "SPY", "--period", "2020-01-02.." } << "" << QStringList { "SPY" }
                                << "Custom range";
    QTest::newRow("range backwards") << QStringList { "SPY", "--period", "2021-01-01..2020-01-01" }
                                     << "ends before it starts" << QStringList {} << "";
    QTest::newRow("range with a bad date")
        << QStringList { "SPY", "--period", "2020-13-01..2021-01-01" } << "yyyy-MM-dd" << QStringList {} << "";
    QTest::newRow("unknown period") << QStringList { "SPY", "--period", "6Y" } << "unknown period" << QStringList {}
                                    << "";
    QTest::newRow("missing value") << QStringList { "SPY", "--benchmark" } << "needs a value" << QStringList {} << "";
    QTest::newRow("unknown option") << QStringList { "SPY", "--colour" } << "unknown option --colour" << QStringList {}
                                    << "";
    QTest::newRow("nothing to compare") << QStringList { "--json" } << "at least one ticker" << QStringList {} << "";
    QTest::newRow("list and symbols") << QStringList { "SPY", "--list", "Mine" } << "not both" << QStringList {} << "";
    QStringList many;
    for (int i = 0; i < 201; ++i)
        many.append(QStringLiteral("T%1").arg(i));
    QTest::newRow("too many") << many << "at most 200" << QStringList {} << "";
}

void CompareTests::arguments()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, error);
    QFETCH(QStringList, symbols);
    QFETCH(QString, periodLabel);
    const auto request = parseCompareArguments(arguments);
    if (!error.isEmpty()) {
        QVERIFY(!request);
        QVERIFY2(request.error().description().contains(error), qPrintable(request.error().description()));
        return;
    }
    QVERIFY2(request, qPrintable(request ? QString() : request.error().description()));
    QCOMPARE(request->symbols, symbols);
    QCOMPARE(request->period.value_or(ListPeriod {}).label(), periodLabel);
}

void CompareTests::tableAndJsonAgainstTheServer()
{
    const QString dataDir = m_dir.filePath(QStringLiteral("app"));
    const QStringList arguments = { QStringLiteral("compare"), QStringLiteral("AAPL"), QStringLiteral("abbv,MSFT"),
        QStringLiteral("ZZZZ"), QStringLiteral("--benchmark"), QStringLiteral("jnj"), QStringLiteral("--period"),
        QStringLiteral("2012-01-03..2016-12-30") };
    const auto json = run(QStringLiteral(TESSARY_APP_EXECUTABLE), arguments + QStringList { QStringLiteral("--json") },
        appEnvironment(dataDir));
    QVERIFY2(json.exitCode == 0, qPrintable(json.err));
    const QJsonArray rows = QJsonDocument::fromJson(json.out.toUtf8()).array();
    QCOMPARE(rows.size(), 4); // three tickers and the benchmark; ZZZZ is skipped

    QStringList order;
    for (const auto& value : rows)
        order.append(value.toObject().value(QStringLiteral("ticker")).toString());
    // ABBV listed in 2013, after the range begins: incomplete, so last.
    QCOMPARE(order.last(), QStringLiteral("ABBV"));
    QVERIFY(rows.last().toObject().value(QStringLiteral("incomplete")).toBool());
    QCOMPARE(rows.last().toObject().value(QStringLiteral("startDate")).toString(), QStringLiteral("2013-01-02"));
    for (qsizetype i = 1; i + 1 < rows.size(); ++i)
        QVERIFY(rows[i - 1].toObject().value(QStringLiteral("netReturn")).toDouble()
            >= rows[i].toObject().value(QStringLiteral("netReturn")).toDouble());

    for (const auto& value : rows) {
        const QJsonObject row = value.toObject();
        const QString ticker = row.value(QStringLiteral("ticker")).toString();
        if (ticker == QStringLiteral("ABBV"))
            continue;
        const double expected = csvReturn(QDir(m_shared).filePath(QStringLiteral("daily/%1.csv").arg(ticker)),
            QStringLiteral("2012-01-03"), QStringLiteral("2016-12-30"));
        QVERIFY2(std::abs(row.value(QStringLiteral("netReturn")).toDouble() - expected) < 1e-6, qPrintable(ticker));
        QVERIFY(!row.contains(QStringLiteral("marketCap")) || row.value(QStringLiteral("marketCap")).isDouble());
    }

    const auto table = run(QStringLiteral(TESSARY_APP_EXECUTABLE), arguments, appEnvironment(dataDir));
    QVERIFY2(table.exitCode == 0, qPrintable(table.err));
    const QStringList lines = table.out.split(u'\n');
    QVERIFY2(lines[0].contains(QStringLiteral("against JNJ")) && lines[0].contains(QStringLiteral("Jan 3, 2012")),
        qPrintable(lines[0]));
    QVERIFY(lines[2].simplified().startsWith(
        QStringLiteral("Ticker Price Mkt Cap Return vs JNJ CAGR Volatility Sharpe Max DD")));
    QVERIFY(lines[6].startsWith(QStringLiteral("ABBV*")));
    QVERIFY(lines[6].contains(QStringLiteral("NA")));
    QVERIFY(table.out.contains(QStringLiteral("Skipped (unknown to the service): ZZZZ")));
    QVERIFY(!table.out.contains(QStringLiteral("simulated")));
}

void CompareTests::savedListByName()
{
    const QString dataDir = m_dir.filePath(QStringLiteral("saved"));
    QDir().mkpath(dataDir);
    QFile lists(QDir(dataDir).filePath(QStringLiteral("lists.json")));
    QVERIFY(lists.open(QIODevice::WriteOnly));
    lists.write(R"([{"id":"6F1C2B8E-3D4A-4E5F-9A0B-1C2D3E4F5A6B","name":"Pharma","tickers":["JNJ","ABBV"],
                    "benchmark":"MSFT","preset":"5Y"}])");
    lists.close();
    const auto result = run(QStringLiteral(TESSARY_APP_EXECUTABLE),
        { QStringLiteral("compare"), QStringLiteral("--list"), QStringLiteral("pharma"), QStringLiteral("--json") },
        appEnvironment(dataDir));
    QVERIFY2(result.exitCode == 0, qPrintable(result.err));
    const QJsonArray rows = QJsonDocument::fromJson(result.out.toUtf8()).array();
    QCOMPARE(rows.size(), 3);
    // The data ends in April 2021: five years back every ticker, ABBV included, has data.
    for (const auto& value : rows)
        QVERIFY(!value.toObject().value(QStringLiteral("incomplete")).toBool());
}

void CompareTests::errorsAreOneLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    QTest::newRow("no such list") << QStringList { "compare", "--list", "Nope" } << "no saved list is named “Nope”";
    QTest::newRow("bad option") << QStringList { "compare", "AAPL", "--sideways" } << "unknown option --sideways";
    QTest::newRow("nothing known") << QStringList { "compare", "QQQQ", "--benchmark", "XXXX" }
                                   << "No price data for QQQQ";
    QTest::newRow("nothing known, as a chart") << QStringList { "compare", "QQQQ", "--benchmark", "XXXX", "--png",
        "/tmp/never.png" } << "No price data for QQQQ";
    QTest::newRow("scale out of range") << QStringList { "compare", "AAPL", "--png", "a.png", "--scale", "4" }
                                        << "--scale is 1, 2 or 3, not “4”";
    QTest::newRow("dark without a file") << QStringList { "compare", "AAPL", "--dark" }
                                         << "--dark and --scale go with --png or --svg";
    QTest::newRow("a folder that is not there")
        << QStringList { "compare", "AAPL", "--png", "/nonexistent/folder/card.png" }
        << "Couldn't save the image to /nonexistent/folder/card.png: No such file or directory";
}

void CompareTests::errorsAreOneLine()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    const auto result = run(
        QStringLiteral(TESSARY_APP_EXECUTABLE), arguments, appEnvironment(m_dir.filePath(QStringLiteral("errors"))));
    QCOMPARE(result.exitCode, 1);
    QVERIFY(result.out.isEmpty());
    QCOMPARE(result.err.trimmed(), QStringLiteral("tessary compare: ") + message);
}

void CompareTests::chartFilesAgainstTheServer_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("dark");
    QTest::newRow("default: light at scale 2") << QStringList {} << QSize(2400, 1500) << false;
    QTest::newRow("dark at scale 1") << QStringList { "--dark", "--scale", "1" } << QSize(1200, 750) << true;
}

void CompareTests::chartFilesAgainstTheServer()
{
    QFETCH(QStringList, options);
    QFETCH(QSize, size);
    QFETCH(bool, dark);
    const QString png = m_dir.filePath(QStringLiteral("card.png"));
    const QString svg = m_dir.filePath(QStringLiteral("card.svg"));
    QFile::remove(png);
    QFile::remove(svg);
    const QStringList arguments = QStringList { "compare", "AAPL", "MSFT", "--benchmark", "JNJ", "--period",
        "2012-01-03..2016-12-30", "--png", png, "--svg", svg }
        + options;
    const auto result
        = run(QStringLiteral(TESSARY_APP_EXECUTABLE), arguments, appEnvironment(m_dir.filePath("charts")));
    QVERIFY2(result.exitCode == 0, qPrintable(result.err));
    QVERIFY2(result.err.isEmpty(), qPrintable(result.err));

    const QImage image(png, "PNG");
    QCOMPARE(image.size(), size);
    QCOMPARE(QColor(image.pixel(1, 1)).lightness() < 60, dark);
    // Two tickers and the benchmark draw three lines in three different colours.
    QSet<QRgb> saturated;
    for (int y = 0; y < image.height(); y += 2)
        for (int x = 0; x < image.width(); x += 2)
            if (QColor(image.pixel(x, y)).hsvSaturation() > 120)
                saturated.insert(image.pixel(x, y) & 0xF0F0F0);
    QVERIFY2(saturated.size() >= 3, "the chart's lines are drawn");

    QFile file(svg);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString document = QString::fromUtf8(file.readAll());
    QVERIFY(document.contains(QStringLiteral(">AAPL, MSFT · Jan 3, 2012 – Dec 30, 2016</text>")));
    QVERIFY(document.contains(QStringLiteral(">2 tickers · Total return over the period</text>")));
    QVERIFY(document.contains(QStringLiteral(">tessary.dev · Latest quote ")));
    QVERIFY(document.count(QStringLiteral("<polyline")) >= 3);
    QVERIFY(!document.contains(QStringLiteral("<image")));
}

QTEST_GUILESS_MAIN(CompareTests)
#include "tst_Compare.moc"
