#include "TessaryServer/CommandLine.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace tessary::server;

namespace {

const QString executable = QStringLiteral(TESSARY_SERVER_EXECUTABLE);

QString on(const PostgresOptions& postgres)
{
    return postgres.enabled() ? QStringLiteral(" on %1 (%2)").arg(postgres.url).arg(postgres.connections) : QString();
}

// One line that says what a parsed command holds, so a table can compare it.
QString summary(const Command& command)
{
    if (std::holds_alternative<HelpCommand>(command))
        return QStringLiteral("help");
    if (const auto* serve = std::get_if<ServeCommand>(&command)) {
        const ServerOptions& options = serve->options;
        return QStringLiteral("serve %1 %2 %3%4%5%6")
                   .arg(options.host)
                   .arg(options.port)
                   .arg(options.dataDirectory == defaultDataDirectory() ? QStringLiteral("default")
                                                                        : options.dataDirectory)
                   .arg(options.demo ? QString() : QStringLiteral(" no-demo"))
                   .arg(on(options.postgres))
                   .arg(options.limits.connections == ConnectionLimits {}.connections
                               && options.limits.timeout == ConnectionLimits {}.timeout
                           ? QString()
                           : QStringLiteral(" limits %1 %2s")
                                 .arg(options.limits.connections)
                                 .arg(options.limits.timeout.count() / 1000))
            + (options.refresh ? QStringLiteral(" refresh %1 %2 %3/s")
                                     .arg(options.refresh->at.toString(u"HH:mm"), options.refresh->provider.name)
                                     .arg(options.refresh->provider.policy.requestsPerSecond)
                               : QString());
    }
    if (const auto* fetch = std::get_if<FetchPricesCommand>(&command)) {
        const FetchPolicy& policy = fetch->provider.policy;
        return QStringLiteral("fetch %1 %2 %3 %4 %5 [%6]")
            .arg(fetch->provider.name, fetch->all ? QStringLiteral("all") : fetch->symbols.join(u'|'))
            .arg(policy.retries)
            .arg(policy.backoff.count())
            .arg(policy.timeout.count())
            .arg(fetch->provider.urlTemplate + fetch->provider.layout);
    }
    if (const auto* listings = std::get_if<FetchUniverseCommand>(&command))
        return QStringLiteral("listings %1 %2").arg(listings->provider.name, listings->provider.baseUrl);
    if (const auto* prices = std::get_if<ImportPricesCommand>(&command))
        return QStringLiteral("prices %1 %2%3")
            .arg(prices->dataDirectory, prices->paths.join(u'|'), on(prices->postgres));
    if (const auto* migrate = std::get_if<MigrateCommand>(&command))
        return QStringLiteral("migrate %1%2").arg(migrate->dataDirectory, on(migrate->target));
    if (const auto* account = std::get_if<AccountCommand>(&command))
        return QStringLiteral("account %1%2").arg(account->email, on(account->postgres));
    const auto& universe = std::get<ImportUniverseCommand>(command);
    return QStringLiteral("universe %1 %2").arg(universe.dataDirectory, universe.file);
}

struct Finished {
    int exitCode = -1;
    QStringList out;
    QStringList err;
};

Finished run(const QStringList& arguments)
{
    QProcess process;
    process.start(executable, arguments);
    if (!process.waitForFinished(60'000))
        qWarning("tessary-server %s did not finish", qPrintable(arguments.join(u' ')));
    const auto lines
        = [](const QByteArray& bytes) { return QString::fromUtf8(bytes).split(u'\n', Qt::SkipEmptyParts); };
    return Finished { process.exitCode(), lines(process.readAllStandardOutput()),
        lines(process.readAllStandardError()) };
}

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

} // namespace

class ServerCommandLineTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parse_data();
    void parse();
    void failuresExitNonZeroWithOneLine_data();
    void failuresExitNonZeroWithOneLine();
    void helpDocumentsEveryCommand();
    void importThenServeUntilSignalled_data();
    void importThenServeUntilSignalled();
};

void ServerCommandLineTests::parse_data()
{
    QTest::addColumn<QString>("arguments"); // split at spaces
    QTest::addColumn<QString>("expected"); // summary, or "error: " and the message

    QTest::newRow("serve defaults") << "serve"
                                    << "serve 127.0.0.1 0 default";
    QTest::newRow("serve with everything") << "serve --host 0.0.0.0 --port 8080 --data-dir /tmp/d --no-demo"
                                           << "serve 0.0.0.0 8080 /tmp/d no-demo";
    QTest::newRow("option=value") << "serve --port=9 --data-dir=/x"
                                  << "serve 127.0.0.1 9 /x";
    QTest::newRow("help anywhere") << "import prices --help"
                                   << "help";
    QTest::newRow("import prices") << "import prices a.csv --data-dir /d dir"
                                   << "prices /d a.csv|dir";
    QTest::newRow("import universe") << "import universe --data-dir /d u.csv"
                                     << "universe /d u.csv";
    QTest::newRow("nothing") << ""
                             << "error: no command given (serve, import, fetch, account or migrate)";
    QTest::newRow("unknown command") << "run"
                                     << "error: unknown command \"run\" (serve, import, fetch, account or migrate)";
    QTest::newRow("serve on PostgreSQL") << "serve --database postgresql://ann@db:5433/market --db-connections=8"
                                         << "serve 127.0.0.1 0 default on postgresql://ann@db:5433/market (8)";
    QTest::newRow("database as a SQLite folder") << "serve --database sqlite:/srv/t"
                                                 << "serve 127.0.0.1 0 /srv/t";
    QTest::newRow("import into PostgreSQL") << "import prices --database postgres:///m a.csv"
                                            << "prices " + defaultDataDirectory() + " a.csv on postgres:///m (4)";
    QTest::newRow("account on PostgreSQL") << "account remove a@b.c --database postgresql:///m"
                                           << "account a@b.c on postgresql:///m (4)";
    QTest::newRow("other database") << "serve --database mysql://db/m"
                                    << "error: --database must be sqlite:DIR or postgresql://USER@HOST:PORT/DB, "
                                       "not \"mysql://db/m\"";
    QTest::newRow("no connections") << "serve --db-connections 0"
                                    << "error: --db-connections must be a number from 1 to 1000, not \"0\"";
    QTest::newRow("connection limits") << "serve --max-connections 1000 --idle-timeout=60"
                                       << "serve 127.0.0.1 0 default limits 1000 60s";
    QTest::newRow("idle timeout of none") << "serve --idle-timeout 0"
                                          << "error: --idle-timeout must be a number from 1 to 3600, not \"0\"";
    QTest::newRow("connections not a number") << "serve --max-connections many"
                                              << "error: --max-connections must be a number from 1 to 100000, not "
                                                 "\"many\"";
    QTest::newRow("migrate") << "migrate --from sqlite:/srv/t --to postgresql:///m"
                             << "migrate /srv/t on postgresql:///m (4)";
    QTest::newRow("migrate from PostgreSQL") << "migrate --from postgresql:///a --to postgresql:///m"
                                             << "error: migrate --from must be sqlite:DIR, not \"postgresql:///a\"";
    QTest::newRow("migrate to SQLite") << "migrate --from sqlite:/srv/t --to sqlite:/srv/u"
                                       << "error: migrate --to must be postgresql://USER@HOST:PORT/DB, not "
                                          "\"sqlite:/srv/u\"";
    QTest::newRow("migrate without a target") << "migrate --from sqlite:/srv/t"
                                              << "error: migrate needs --from sqlite:DIR and --to postgresql://…";
    QTest::newRow("port out of range") << "serve --port 70000"
                                       << "error: --port must be a number from 0 to 65535, not \"70000\"";
    QTest::newRow("port missing") << "serve --port"
                                  << "error: --port needs a value";
    QTest::newRow("flag with a value") << "serve --no-demo=yes"
                                       << "error: --no-demo takes no value";
    QTest::newRow("unknown serve option") << "serve --verbose"
                                          << "error: serve: unknown argument \"--verbose\"";
    QTest::newRow("import without kind") << "import"
                                         << "error: import needs \"prices\" or \"universe\"";
    QTest::newRow("import of something else") << "import bonds x"
                                              << "error: import: unknown kind \"bonds\" (prices or universe)";
    QTest::newRow("prices without paths") << "import prices --data-dir /d"
                                          << "error: import prices needs at least one file or directory";
    QTest::newRow("serve with a refresh") << "serve --refresh daily --provider stooq --rate 0.5"
                                          << "serve 127.0.0.1 0 default refresh 18:00 stooq 0.5/s";
    QTest::newRow("refresh at a time") << "serve --refresh=daily@21:15 --provider tiingo"
                                       << "serve 127.0.0.1 0 default refresh 21:15 tiingo 2/s";
    QTest::newRow("refresh before the close") << "serve --refresh daily@15:30 --provider stooq"
                                              << "error: --refresh: 15:30 is before the 16:00 close (New York time)";
    QTest::newRow("refresh hourly") << "serve --refresh hourly --provider stooq"
                                    << "error: --refresh must be daily or daily@HH:MM, not \"hourly\"";
    QTest::newRow("refresh without provider") << "serve --refresh daily"
                                              << "error: serve --refresh needs --provider";
    QTest::newRow("provider without refresh") << "serve --provider stooq"
                                              << "error: serve: provider options need --refresh";
    QTest::newRow("fetch prices") << "fetch prices --provider url-template --url-template u --layout ohlcv A bRk.b"
                                     " --retries 1 --backoff-ms 10 --timeout-ms=500"
                                  << "fetch url-template A|bRk.b 1 10 500 [uohlcv]";
    QTest::newRow("fetch all") << "fetch prices --all --provider stooq"
                               << "fetch stooq all 4 2000 30000 []";
    QTest::newRow("fetch listings") << "fetch universe --provider us-listings --base-url http://127.0.0.1:9"
                                    << "listings us-listings http://127.0.0.1:9";
    QTest::newRow("fetch symbols and all") << "fetch prices --provider stooq --all A"
                                           << "error: fetch prices needs symbols or --all (not both)";
    QTest::newRow("fetch nothing") << "fetch prices --provider stooq"
                                   << "error: fetch prices needs symbols or --all (not both)";
    QTest::newRow("fetch without provider") << "fetch prices A"
                                            << "error: fetch prices needs --provider";
    QTest::newRow("fetch symbols of listings") << "fetch universe --provider us-listings A"
                                               << "error: fetch universe: unknown argument \"A\"";
    QTest::newRow("negative rate") << "fetch prices --provider stooq --rate -1 A"
                                   << "error: --rate must be a positive number, not \"-1\"";
    QTest::newRow("too many retries") << "fetch prices --provider stooq --retries 99 A"
                                      << "error: --retries must be a number from 0 to 20, not \"99\"";
    QTest::newRow("universe with two files") << "import universe a.csv b.csv"
                                             << "error: import universe needs exactly one file";
}

void ServerCommandLineTests::parse()
{
    QFETCH(QString, arguments);
    QFETCH(QString, expected);
    const auto command = parseCommandLine(arguments.split(u' ', Qt::SkipEmptyParts));
    QCOMPARE(command ? summary(*command) : QStringLiteral("error: ") + command.error().description(), expected);
}

void ServerCommandLineTests::failuresExitNonZeroWithOneLine_data()
{
    QTest::addColumn<QString>("line"); // arguments, split at spaces
    QTest::addColumn<QString>("message"); // a part of the one line on stderr

    QTest::newRow("usage error") << "serve --port x"
                                 << "--port must be a number";
    QTest::newRow("missing price file") << "import prices DATA/missing.csv"
                                        << "missing.csv";
    QTest::newRow("missing universe file") << "import universe DATA/none.csv"
                                           << "none.csv";
    QTest::newRow("host that is not an address") << "serve --no-demo --host nowhere.invalid"
                                                 << "not an IP address: nowhere.invalid";
    QTest::newRow("unreachable database") << "serve --no-demo --database postgresql:///none?host=/nonexistent"
                                          << "cannot connect to PostgreSQL";
}

void ServerCommandLineTests::failuresExitNonZeroWithOneLine()
{
    QFETCH(QString, line);
    QFETCH(QString, message);
    QStringList arguments = line.split(u' ', Qt::SkipEmptyParts);
    QTemporaryDir data;
    for (QString& argument : arguments)
        argument.replace(QStringLiteral("DATA"), data.path());
    arguments << QStringLiteral("--data-dir") << data.path();
    const Finished finished = run(arguments);
    QVERIFY(finished.exitCode != 0);
    QVERIFY(finished.out.isEmpty());
    QCOMPARE(finished.err.size(), 1);
    QVERIFY2(finished.err.front().contains(message), qPrintable(finished.err.front()));
}

void ServerCommandLineTests::helpDocumentsEveryCommand()
{
    const Finished finished = run({ QStringLiteral("--help") });
    QCOMPARE(finished.exitCode, 0);
    const QString text = finished.out.join(u'\n');
    for (const char* part : { "tessary-server serve [--host 127.0.0.1] [--port N] [--data-dir DIR] [--no-demo]",
             "tessary-server import prices [--data-dir DIR] PATH...",
             "tessary-server import universe [--data-dir DIR] FILE",
             "tessary-server fetch prices --provider NAME [--data-dir DIR] [PROVIDER OPTIONS] SYMBOL...|--all",
             "tessary-server fetch universe --provider us-listings", "--refresh daily[@HH:MM]", "SIGTERM" })
        QVERIFY2(text.contains(QLatin1StringView(part)), part);
}

void ServerCommandLineTests::importThenServeUntilSignalled_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
}

void ServerCommandLineTests::importThenServeUntilSignalled()
{
    QFETCH(int, signal);
    QTemporaryDir data;
    const QString csv = data.filePath(QStringLiteral("BRK.B.csv"));
    writeFile(csv, "date,close,adjusted_close,dividend,split\n2021-01-04,100,90,0,1\n2021-01-05,110,99,0,1\n");
    const Finished imported = run({ QStringLiteral("import"), QStringLiteral("prices"), QStringLiteral("--data-dir"),
        data.filePath(QStringLiteral("store")), csv });
    QCOMPARE(imported.exitCode, 0);

    QProcess server;
    server.start(executable,
        { QStringLiteral("serve"), QStringLiteral("--no-demo"), QStringLiteral("--data-dir"),
            data.filePath(QStringLiteral("store")) });
    QVERIFY(server.waitForStarted(10'000));
    QTRY_VERIFY_WITH_TIMEOUT(server.canReadLine(), 30'000);
    const QString first = QString::fromUtf8(server.readLine()).trimmed();
    const auto match = QRegularExpression(QStringLiteral("^listening on http://127\\.0\\.0\\.1:(\\d+)$")).match(first);
    QVERIFY2(match.hasMatch(), qPrintable(first));

    QNetworkAccessManager network;
    std::unique_ptr<QNetworkReply> reply(network.get(
        QNetworkRequest(QUrl(QStringLiteral("http://127.0.0.1:%1/prices?tickers=brk.b&start=2021-01-01&end=2021-01-31")
                                 .arg(match.captured(1))))));
    QSignalSpy finished(reply.get(), &QNetworkReply::finished);
    QVERIFY(finished.wait(10'000));
    QCOMPARE(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 200);
    const QJsonObject body = QJsonDocument::fromJson(reply->readAll()).object();
    QCOMPARE(body[u"data_source"].toString(), QStringLiteral("imported"));
    QCOMPARE(body[u"rankings"][0][u"ticker"].toString(), QStringLiteral("BRK.B"));
    QCOMPARE(body[u"rankings"][0][u"net_return"].toDouble(), 0.1);

    ::kill(static_cast<pid_t>(server.processId()), signal);
    QVERIFY(server.waitForFinished(10'000));
    QCOMPARE(server.exitStatus(), QProcess::NormalExit);
    QCOMPARE(server.exitCode(), 0);
}

QTEST_GUILESS_MAIN(ServerCommandLineTests)
#include "tst_ServerCommandLine.moc"
