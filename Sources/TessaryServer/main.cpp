// tessary-server: serves the market data and the accounts over HTTP, imports real prices into
// its store and manages its accounts.

#include "TessaryServer/Account/AccountCommand.h"
#include "TessaryServer/CommandLine.h"
#include "TessaryServer/Data/Data.h"
#include "TessaryServer/Fetch/PriceFetch.h"
#include "TessaryServer/Fetch/UniverseFetch.h"
#include "TessaryServer/Http/ServerEngine.h"
#include "TessaryServer/Storage/Storage.h"
#include "TessaryWire/BuildInfo.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <unistd.h>

using namespace tessary::server;

namespace {

int signalPipe[2] = { -1, -1 };

void onStopSignal(int)
{
    const char byte = 1;
    // Only async-signal-safe work here: the event loop reads the pipe and quits.
    [[maybe_unused]] const auto written = ::write(signalPipe[1], &byte, 1);
}

void printLine(std::FILE* stream, const QString& line)
{
    std::fputs(line.toLocal8Bit().constData(), stream);
    std::fputc('\n', stream);
    std::fflush(stream);
}

void printProblem(const QString& line)
{
    printLine(stderr, QStringLiteral("tessary-server: ") + line);
}

bool installStopSignals()
{
    if (::pipe(signalPipe) != 0)
        return false;
    struct sigaction action = {};
    action.sa_handler = onStopSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    return sigaction(SIGINT, &action, nullptr) == 0 && sigaction(SIGTERM, &action, nullptr) == 0;
}

int serve(const ServeCommand& command)
{
    if (!installStopSignals()) {
        printProblem(QStringLiteral("cannot install the signal handlers"));
        return 1;
    }
    QSocketNotifier stopNotifier(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&stopNotifier, &QSocketNotifier::activated, qApp, [] { QCoreApplication::quit(); });

    ServerEngine engine;
    int status = 0;
    QObject::connect(&engine, &ServerEngine::started, qApp,
        [](const QUrl& url) { printLine(stdout, QStringLiteral("listening on ") + url.toString()); });
    QObject::connect(&engine, &ServerEngine::failed, qApp, [&status](const QString& message) {
        printProblem(message);
        status = 1;
        QCoreApplication::quit();
    });
    int lastPercent = -1;
    QObject::connect(&engine, &ServerEngine::progress, qApp, [&lastPercent](double fraction, const QString& stage) {
        // Progress goes to stderr so the first line of stdout stays the listening address.
        const int percent = static_cast<int>(fraction * 100);
        if (percent / 10 != lastPercent / 10 && percent < 100)
            printLine(stderr, QStringLiteral("%1… %2%").arg(stage).arg(percent));
        lastPercent = percent;
    });
    engine.start(command.options);
    QCoreApplication::exec();
    engine.stop();
    return status;
}

std::expected<std::unique_ptr<MarketDatabase>, DataError> openMarket(
    const QString& directory, const PostgresOptions& postgres)
{
    const auto storage = ServerStorage::open(directory, postgres);
    return storage ? storage->openMarket() : std::unexpected(storage.error());
}

int runImport(const QString& directory, const PostgresOptions& postgres,
    const std::function<ImportResult(MarketDatabase&)>& import)
{
    auto database = openMarket(directory, postgres);
    if (!database) {
        printProblem(database.error().description());
        return 1;
    }
    const ImportResult imported = import(**database);
    for (const QString& line : imported ? imported->lines() : imported.error().lines())
        printLine(imported ? stdout : stderr, line);
    return imported ? 0 : 1;
}

int runFetchPrices(const FetchPricesCommand& command)
{
    const auto provider = makePriceProvider(command.provider);
    if (!provider) {
        printProblem(provider.error());
        return 2;
    }
    auto database = openMarket(command.dataDirectory, command.postgres);
    if (!database) {
        printProblem(database.error().description());
        return 1;
    }
    const QStringList symbols = command.all ? importedSymbols(**database) : command.symbols;
    if (symbols.isEmpty()) {
        printProblem(QStringLiteral("fetch prices --all: the store holds no imported prices yet; name the symbols"));
        return 1;
    }
    const auto results = fetchPrices(**database, command.provider, *provider, symbols, [](const SymbolFetch& result) {
        printLine(result.outcome == SymbolFetch::Outcome::failed ? stderr : stdout, result.line());
    });
    return std::ranges::any_of(results, [](const SymbolFetch& r) { return r.outcome == SymbolFetch::Outcome::failed; })
        ? 1
        : 0;
}

int runMigrate(const MigrateCommand& command)
{
    const auto copied = copyStoreToPostgres(command.dataDirectory, command.target);
    if (!copied) {
        printProblem(QStringLiteral("migrate failed, nothing was copied: ") + copied.error().description());
        return 1;
    }
    for (const QString& line : *copied)
        printLine(stdout, line);
    return 0;
}

int runAccount(const AccountCommand& command)
{
    const auto result = runAccountCommand(command,
        [&command] { return command.passwordFile ? readPasswordFile(*command.passwordFile) : readPasswordTwice(); });
    if (!result) {
        printProblem(result.error().description());
        return 1;
    }
    for (const QString& line : *result)
        printLine(stdout, line);
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tessary-server"));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(tessary::BuildInfo::version));

    const auto command = parseCommandLine(QCoreApplication::arguments().mid(1));
    if (!command) {
        printProblem(command.error().description() + QStringLiteral(" (see tessary-server --help)"));
        return 2;
    }
    if (std::holds_alternative<HelpCommand>(*command)) {
        std::fputs(usageText().toLocal8Bit().constData(), stdout);
        return 0;
    }
    if (const auto* serveCommand = std::get_if<ServeCommand>(&*command))
        return serve(*serveCommand);
    if (const auto* prices = std::get_if<ImportPricesCommand>(&*command)) {
        return runImport(prices->dataDirectory, prices->postgres,
            [prices](MarketDatabase& database) { return importPrices(database, prices->paths); });
    }
    if (const auto* universe = std::get_if<ImportUniverseCommand>(&*command)) {
        return runImport(universe->dataDirectory, universe->postgres,
            [universe](MarketDatabase& database) { return importUniverse(database, universe->file); });
    }
    if (const auto* migrate = std::get_if<MigrateCommand>(&*command))
        return runMigrate(*migrate);
    if (const auto* fetch = std::get_if<FetchPricesCommand>(&*command))
        return runFetchPrices(*fetch);
    if (const auto* universe = std::get_if<FetchUniverseCommand>(&*command)) {
        return runImport(universe->dataDirectory, universe->postgres,
            [universe](MarketDatabase& database) { return fetchUniverse(database, universe->provider); });
    }
    return runAccount(std::get<AccountCommand>(*command));
}
