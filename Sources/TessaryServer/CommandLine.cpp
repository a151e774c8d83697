#include "CommandLine.h"

#include <algorithm>

namespace tessary::server {

namespace {

std::unexpected<UsageError> usage(QString message)
{
    return std::unexpected(UsageError { std::move(message) });
}

// Walks the arguments of one command, splitting "--name=value" and fetching values that come
// as the next argument.
class ArgumentReader {
public:
    explicit ArgumentReader(QStringList arguments)
        : m_arguments(std::move(arguments))
    {
    }

    bool atEnd() const { return m_index >= m_arguments.size(); }

    // The next argument; for an option written "--name=value" only "--name", with the value
    // kept for `value()`.
    QString next()
    {
        QString argument = m_arguments[m_index++];
        m_inlineValue.reset();
        if (argument.startsWith(u"--")) {
            if (const auto equals = argument.indexOf(u'='); equals > 0) {
                m_inlineValue = argument.mid(equals + 1);
                argument.truncate(equals);
            }
        }
        return argument;
    }

    std::expected<QString, UsageError> value(const QString& option)
    {
        if (m_inlineValue)
            return *std::exchange(m_inlineValue, std::nullopt);
        if (atEnd())
            return usage(option + QStringLiteral(" needs a value"));
        return m_arguments[m_index++];
    }

    // A flag must not be given a value.
    std::expected<void, UsageError> noValue(const QString& option) const
    {
        if (m_inlineValue)
            return usage(option + QStringLiteral(" takes no value"));
        return {};
    }

private:
    QStringList m_arguments;
    qsizetype m_index = 0;
    std::optional<QString> m_inlineValue;
};

std::expected<quint16, UsageError> parsePort(const QString& text)
{
    bool ok = false;
    const uint port = text.toUInt(&ok);
    if (!ok || port > 65535)
        return usage(QStringLiteral("--port must be a number from 0 to 65535, not \"%1\"").arg(text));
    return static_cast<quint16>(port);
}

// A whole number within [lowest, highest], for options that count or time something.
std::expected<int, UsageError> parseBounded(const QString& option, const QString& text, int lowest, int highest)
{
    bool ok = false;
    const int value = text.toInt(&ok);
    if (!ok || value < lowest || value > highest)
        return usage(QStringLiteral("%1 must be a number from %2 to %3, not \"%4\"")
                         .arg(option)
                         .arg(lowest)
                         .arg(highest)
                         .arg(text));
    return value;
}

std::expected<double, UsageError> parsePositive(const QString& option, const QString& text)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok || !(value > 0) || value > 1e6)
        return usage(QStringLiteral("%1 must be a positive number, not \"%2\"").arg(option, text));
    return value;
}

// The options that choose and pace a provider, shared by `fetch` and `serve --refresh`.
// Answers whether `option` was one of them.
std::expected<bool, UsageError> parseProviderOption(
    const QString& option, ArgumentReader& reader, ProviderSettings& settings)
{
    static const QStringList texts { QStringLiteral("--provider"), QStringLiteral("--base-url"),
        QStringLiteral("--url-template"), QStringLiteral("--layout"), QStringLiteral("--key-file") };
    static const QStringList numbers { QStringLiteral("--rate"), QStringLiteral("--retries"),
        QStringLiteral("--backoff-ms"), QStringLiteral("--timeout-ms") };
    if (!texts.contains(option) && !numbers.contains(option))
        return false;
    const auto value = reader.value(option);
    if (!value)
        return std::unexpected(value.error());
    QString* const targets[]
        = { &settings.name, &settings.baseUrl, &settings.urlTemplate, &settings.layout, &settings.keyFile };
    if (const auto text = texts.indexOf(option); text >= 0) {
        *targets[text] = *value;
        return true;
    }
    if (option == u"--retries") {
        bool ok = false;
        const int retries = value->toInt(&ok);
        if (!ok || retries < 0 || retries > 20)
            return usage(QStringLiteral("--retries must be a number from 0 to 20, not \"%1\"").arg(*value));
        settings.policy.retries = retries;
        return true;
    }
    const auto number = parsePositive(option, *value);
    if (!number)
        return std::unexpected(number.error());
    if (option == u"--rate")
        settings.policy.requestsPerSecond = *number;
    else
        (option == u"--backoff-ms" ? settings.policy.backoff : settings.policy.timeout)
            = std::chrono::milliseconds(static_cast<qint64>(*number));
    return true;
}

// "daily" or "daily@HH:MM", at or after the 16:00 close in New York.
std::expected<QTime, UsageError> parseRefresh(const QString& text)
{
    if (text == u"daily")
        return DailyRefresh::defaultTime();
    const QTime at = QTime::fromString(text.mid(6), u"HH:mm");
    if (!text.startsWith(u"daily@") || !at.isValid())
        return usage(QStringLiteral("--refresh must be daily or daily@HH:MM, not \"%1\"").arg(text));
    if (at < QTime(16, 0))
        return usage(QStringLiteral("--refresh: %1 is before the 16:00 close (New York time)").arg(text.mid(6)));
    return at;
}

// Reads `--database URL` into the data directory or the PostgreSQL options.
std::expected<void, UsageError> readDatabase(const QString& url, QString& dataDirectory, PostgresOptions& postgres)
{
    if (url.startsWith(u"sqlite:") && url.size() > 7) {
        dataDirectory = url.mid(7);
        postgres.url.clear();
        return {};
    }
    if (url.startsWith(u"postgresql://") || url.startsWith(u"postgres://")) {
        postgres.url = url;
        return {};
    }
    return usage(
        QStringLiteral("--database must be sqlite:DIR or postgresql://USER@HOST:PORT/DB, not \"%1\"").arg(url));
}

// `--database` and `--db-connections`, which every command that opens the store takes.
// False when `option` is neither.
std::expected<bool, UsageError> readStorageOption(
    ArgumentReader& reader, const QString& option, QString& dataDirectory, PostgresOptions& postgres)
{
    if (option != u"--database" && option != u"--db-connections")
        return false;
    const auto value = reader.value(option);
    if (!value)
        return std::unexpected(value.error());
    if (option == u"--database") {
        if (auto read = readDatabase(*value, dataDirectory, postgres); !read)
            return std::unexpected(read.error());
        return true;
    }
    const auto connections = parseBounded(option, *value, 1, 1000);
    if (!connections)
        return std::unexpected(connections.error());
    postgres.connections = *connections;
    return true;
}

std::expected<Command, UsageError> parseServe(ArgumentReader& reader)
{
    ServeCommand command;
    ProviderSettings provider;
    bool providerGiven = false;
    while (!reader.atEnd()) {
        const QString option = reader.next();
        const auto storage = readStorageOption(reader, option, command.options.dataDirectory, command.options.postgres);
        if (!storage)
            return std::unexpected(storage.error());
        if (*storage)
            continue;
        if (const auto taken = parseProviderOption(option, reader, provider); !taken) {
            return std::unexpected(taken.error());
        } else if (*taken) {
            providerGiven = true;
        } else if (option == u"--refresh") {
            const auto text = reader.value(option);
            if (!text)
                return std::unexpected(text.error());
            const auto at = parseRefresh(*text);
            if (!at)
                return std::unexpected(at.error());
            command.options.refresh.emplace().at = *at;
        } else if (option == u"--host") {
            const auto host = reader.value(option);
            if (!host)
                return std::unexpected(host.error());
            command.options.host = *host;
        } else if (option == u"--port") {
            const auto text = reader.value(option);
            if (!text)
                return std::unexpected(text.error());
            const auto port = parsePort(*text);
            if (!port)
                return std::unexpected(port.error());
            command.options.port = *port;
        } else if (option == u"--data-dir") {
            const auto directory = reader.value(option);
            if (!directory)
                return std::unexpected(directory.error());
            command.options.dataDirectory = *directory;
        } else if (option == u"--max-connections" || option == u"--idle-timeout") {
            const auto text = reader.value(option);
            if (!text)
                return std::unexpected(text.error());
            const bool connections = option == u"--max-connections";
            const auto value
                = connections ? parseBounded(option, *text, 1, 100'000) : parseBounded(option, *text, 1, 3600);
            if (!value)
                return std::unexpected(value.error());
            if (connections)
                command.options.limits.connections = *value;
            else
                command.options.limits.timeout = std::chrono::seconds(*value);
        } else if (option == u"--no-demo") {
            if (const auto flag = reader.noValue(option); !flag)
                return std::unexpected(flag.error());
            command.options.demo = false;
        } else if (option == u"--signup") {
            if (const auto flag = reader.noValue(option); !flag)
                return std::unexpected(flag.error());
            command.options.signup = true;
        } else {
            return usage(QStringLiteral("serve: unknown argument \"%1\"").arg(option));
        }
    }
    if (command.options.dataDirectory.isEmpty())
        command.options.dataDirectory = defaultDataDirectory();
    if (command.options.refresh) {
        if (provider.name.isEmpty())
            return usage(QStringLiteral("serve --refresh needs --provider"));
        command.options.refresh->provider = provider;
    } else if (providerGiven) {
        return usage(QStringLiteral("serve: provider options need --refresh"));
    }
    return command;
}

std::expected<Command, UsageError> parseFetch(ArgumentReader& reader)
{
    if (reader.atEnd())
        return usage(QStringLiteral("fetch needs \"prices\" or \"universe\""));
    const QString what = reader.next();
    if (what != u"prices" && what != u"universe")
        return usage(QStringLiteral("fetch: unknown kind \"%1\" (prices or universe)").arg(what));
    FetchPricesCommand command;
    while (!reader.atEnd()) {
        const QString argument = reader.next();
        const auto storage = readStorageOption(reader, argument, command.dataDirectory, command.postgres);
        if (!storage)
            return std::unexpected(storage.error());
        if (*storage)
            continue;
        if (const auto taken = parseProviderOption(argument, reader, command.provider); !taken)
            return std::unexpected(taken.error());
        else if (*taken)
            continue;
        if (argument == u"--data-dir") {
            const auto value = reader.value(argument);
            if (!value)
                return std::unexpected(value.error());
            command.dataDirectory = *value;
        } else if (argument == u"--all" && what == u"prices") {
            if (const auto flag = reader.noValue(argument); !flag)
                return std::unexpected(flag.error());
            command.all = true;
        } else if (argument.startsWith(u"--") || what == u"universe") {
            return usage(QStringLiteral("fetch %1: unknown argument \"%2\"").arg(what, argument));
        } else {
            command.symbols.append(argument);
        }
    }
    if (command.provider.name.isEmpty())
        return usage(QStringLiteral("fetch %1 needs --provider").arg(what));
    if (command.dataDirectory.isEmpty())
        command.dataDirectory = defaultDataDirectory();
    if (what == u"universe")
        return FetchUniverseCommand { command.dataDirectory, command.provider, command.postgres };
    if (command.all == !command.symbols.isEmpty())
        return usage(QStringLiteral("fetch prices needs symbols or --all (not both)"));
    return command;
}

struct ImportArguments {
    QString directory;
    QStringList paths;
    PostgresOptions postgres;
};

// The shared shape of both imports: --data-dir or --database anywhere, everything else a path.
std::expected<ImportArguments, UsageError> parseImportArguments(ArgumentReader& reader, const QString& what)
{
    QString directory;
    QStringList paths;
    PostgresOptions postgres;
    while (!reader.atEnd()) {
        const QString argument = reader.next();
        const auto storage = readStorageOption(reader, argument, directory, postgres);
        if (!storage)
            return std::unexpected(storage.error());
        if (*storage)
            continue;
        if (argument == u"--data-dir") {
            const auto value = reader.value(argument);
            if (!value)
                return std::unexpected(value.error());
            directory = *value;
        } else if (argument.startsWith(u"--")) {
            return usage(QStringLiteral("import %1: unknown option \"%2\"").arg(what, argument));
        } else {
            paths.append(argument);
        }
    }
    return ImportArguments { directory.isEmpty() ? defaultDataDirectory() : directory, paths, postgres };
}

std::expected<Command, UsageError> parseImport(ArgumentReader& reader)
{
    if (reader.atEnd())
        return usage(QStringLiteral("import needs \"prices\" or \"universe\""));
    const QString what = reader.next();
    if (what != u"prices" && what != u"universe")
        return usage(QStringLiteral("import: unknown kind \"%1\" (prices or universe)").arg(what));
    const auto parsed = parseImportArguments(reader, what);
    if (!parsed)
        return std::unexpected(parsed.error());
    const auto& [directory, paths, postgres] = *parsed;
    if (what == u"prices") {
        if (paths.isEmpty())
            return usage(QStringLiteral("import prices needs at least one file or directory"));
        return ImportPricesCommand { directory, paths, postgres };
    }
    if (paths.size() != 1)
        return usage(QStringLiteral("import universe needs exactly one file"));
    return ImportUniverseCommand { directory, paths.front(), postgres };
}

std::expected<Command, UsageError> parseAccount(ArgumentReader& reader)
{
    using Action = AccountCommand::Action;
    static const QList<std::pair<QString, Action>> actions { { QStringLiteral("add"), Action::add },
        { QStringLiteral("list"), Action::list }, { QStringLiteral("remove"), Action::remove },
        { QStringLiteral("reset-password"), Action::resetPassword }, { QStringLiteral("history"), Action::history },
        { QStringLiteral("restore"), Action::restore } };
    const auto actionNames = QStringLiteral("add, list, remove, reset-password, history or restore");
    if (reader.atEnd())
        return usage(QStringLiteral("account needs ") + actionNames);
    const QString name = reader.next();
    const auto action = std::ranges::find(actions, name, &std::pair<QString, Action>::first);
    if (action == actions.end())
        return usage(QStringLiteral("account: unknown action \"%1\" (%2)").arg(name, actionNames));

    AccountCommand command;
    command.action = action->second;
    const bool takesPassword = command.action == Action::add || command.action == Action::resetPassword;
    QStringList operands;
    while (!reader.atEnd()) {
        const QString argument = reader.next();
        const auto storage = readStorageOption(reader, argument, command.dataDirectory, command.postgres);
        if (!storage)
            return std::unexpected(storage.error());
        if (*storage)
            continue;
        if (argument == u"--data-dir" || (argument == u"--password-file" && takesPassword)) {
            const auto value = reader.value(argument);
            if (!value)
                return std::unexpected(value.error());
            (argument == u"--data-dir" ? command.dataDirectory : command.passwordFile.emplace()) = *value;
        } else if (argument.startsWith(u"--")) {
            return usage(QStringLiteral("account %1: unknown option \"%2\"").arg(name, argument));
        } else {
            operands.append(argument);
        }
    }
    if (command.action == Action::list && !operands.isEmpty())
        return usage(QStringLiteral("account list takes no e-mail address"));
    if (command.action == Action::restore) {
        if (operands.size() != 2)
            return usage(QStringLiteral("account restore needs an e-mail address and a version"));
        bool isNumber = false;
        command.version = operands.takeLast().toLongLong(&isNumber);
        if (!isNumber || command.version < 1)
            return usage(QStringLiteral("account restore: the version must be a number from \"account history\""));
    }
    if (command.action != Action::list && operands.size() != 1)
        return usage(QStringLiteral("account %1 needs exactly one e-mail address").arg(name));
    if (!operands.isEmpty())
        command.email = operands.front();
    if (command.dataDirectory.isEmpty())
        command.dataDirectory = defaultDataDirectory();
    return command;
}

std::expected<Command, UsageError> parseMigrate(ArgumentReader& reader)
{
    MigrateCommand command;
    QString from;
    while (!reader.atEnd()) {
        const QString option = reader.next();
        if (option != u"--from" && option != u"--to")
            return usage(QStringLiteral("migrate: unknown argument \"%1\"").arg(option));
        const auto value = reader.value(option);
        if (!value)
            return std::unexpected(value.error());
        if (option == u"--from") {
            from = *value;
            if (!from.startsWith(u"sqlite:") || from.size() <= 7)
                return usage(QStringLiteral("migrate --from must be sqlite:DIR, not \"%1\"").arg(from));
            command.dataDirectory = from.mid(7);
        } else {
            QString unused;
            if (auto read = readDatabase(*value, unused, command.target); !read || !command.target.enabled())
                return usage(
                    QStringLiteral("migrate --to must be postgresql://USER@HOST:PORT/DB, not \"%1\"").arg(*value));
        }
    }
    if (from.isEmpty() || !command.target.enabled())
        return usage(QStringLiteral("migrate needs --from sqlite:DIR and --to postgresql://…"));
    return command;
}

} // namespace

std::expected<Command, UsageError> parseCommandLine(const QStringList& arguments)
{
    if (arguments.contains(u"--help") || arguments.contains(u"-h"))
        return HelpCommand {};
    if (arguments.isEmpty())
        return usage(QStringLiteral("no command given (serve, import, fetch, account or migrate)"));
    ArgumentReader reader(arguments.mid(1));
    if (arguments.front() == u"serve")
        return parseServe(reader);
    if (arguments.front() == u"import")
        return parseImport(reader);
    if (arguments.front() == u"account")
        return parseAccount(reader);
    if (arguments.front() == u"fetch")
        return parseFetch(reader);
    if (arguments.front() == u"migrate")
        return parseMigrate(reader);
    return usage(
        QStringLiteral("unknown command \"%1\" (serve, import, fetch, account or migrate)").arg(arguments.front()));
}

QString usageText()
{
    return QStringLiteral(R"(Usage:
  tessary-server serve [--host 127.0.0.1] [--port N] [--data-dir DIR] [--no-demo] [--signup]
                       [--max-connections N] [--idle-timeout SECONDS]
                       [--refresh daily[@HH:MM] --provider NAME [PROVIDER OPTIONS]]
  tessary-server import prices [--data-dir DIR] PATH...
  tessary-server import universe [--data-dir DIR] FILE
  tessary-server fetch prices --provider NAME [--data-dir DIR] [PROVIDER OPTIONS] SYMBOL...|--all
  tessary-server fetch universe --provider us-listings [--data-dir DIR] [PROVIDER OPTIONS]
  tessary-server account add EMAIL [--data-dir DIR] [--password-file FILE]
  tessary-server account list [--data-dir DIR]
  tessary-server account remove EMAIL [--data-dir DIR]
  tessary-server account reset-password EMAIL [--data-dir DIR] [--password-file FILE]
  tessary-server account history EMAIL [--data-dir DIR]
  tessary-server account restore EMAIL VERSION [--data-dir DIR]
  tessary-server migrate --from sqlite:DIR --to postgresql://USER@HOST:PORT/DB
  tessary-server --help

Every command that opens the database also takes --database URL instead of --data-dir:
sqlite:DIR (the default, the folder of the database) or postgresql://USER@HOST:PORT/DB
(PGPASSWORD, ~/.pgpass and ?sslmode=… are honoured), and --db-connections N (default 4),
the number of connections each process keeps open to PostgreSQL.

serve             Serves the market data over HTTP: GET /tickers, /prices,
                  /tickergraph/related and /data/collections.json; the browser
                  sign-in page /connect/mac; the account API: POST and DELETE
                  /device/token, GET /account/info, GET and PUT /account (the
                  synced lists); and a read-only page of an account's lists at /.
                  Prints
                  "listening on http://HOST:PORT" as its first line once it accepts
                  connections, and stops cleanly on SIGINT or SIGTERM.
  --host ADDRESS  Address to bind (default 127.0.0.1; "localhost" and IPv6 work too).
  --port N        Port to bind; 0 or none picks a free one.
  --data-dir DIR  Folder of the database (default %1).
  --no-demo       Do not seed the simulated demo market into an empty database.
  --signup        Let the sign-in page create accounts (otherwise only
                  "account add" does).
  --max-connections N
                  Connections held at once (default 256); past it, the one quiet
                  longest is closed to make room.
  --idle-timeout SECONDS
                  Time a request head has to arrive whole, and an idle connection
                  stays open (default 15).
  --refresh daily[@HH:MM]
                  Fetch every stored imported symbol once a day at HH:MM New York
                  time (default 18:00, not before the 16:00 close) on trading days,
                  at once when a refresh was missed. GET /healthz reports the last
                  refresh and the symbols that failed.

import prices     Imports daily prices from per-symbol CSV files, or folders of them.
                  The symbol is the file name (BRK.B.csv is BRK.B) unless a symbol column
                  exists. Accepted headers: date,close,adjusted_close[,dividend,split];
                  Date,Open,High,Low,Close,Adj Close,Volume; timestamp,open,high,low,close,
                  adjusted_close,volume,dividend_amount,split_coefficient. Bad rows are
                  reported with file:line and skipped; everything else is one transaction.
import universe   Imports symbol metadata from a CSV file with a header row (Symbol or
                  Ticker, Name, Sector, Industry, Exchange, Type, Market Cap, ...).

fetch prices      Fetches daily prices from a provider and stores them as "import prices"
                  does, one transaction per symbol. A stored symbol gets only the days
                  after its last bar, or its whole history again when the provider's
                  adjusted close for that day changed. Prints "SYMBOL: fetched N bars",
                  "SYMBOL: unchanged" or "SYMBOL: failed: REASON" for each symbol and
                  exits with status 1 when any failed. --all fetches every stored
                  imported symbol. Providers:
                    stooq         keyless daily CSV
                    tiingo        keyed JSON; the key comes from TESSARY_TIINGO_TOKEN or
                                  the first line of --key-file FILE
                    url-template  --url-template URL with {symbol}, {start} and {end}
                                  (YYYY-MM-DD), answering CSV in --layout date-close
                                  (date,close,adjusted_close), ohlcv (Date,Open,High,Low,
                                  Close,Adj Close,Volume) or timestamp (timestamp,open,
                                  high,low,close,adjusted_close,volume,...)
fetch universe    Imports the US exchanges' pipe-separated listing files (symbol, name,
                  exchange, ETF flag) as "import universe" does.
  --base-url URL  The provider's address, instead of its public one.
  --rate N        At most N requests per second to the provider (default 2).
  --retries N     Retries after a 429, a 5xx, a time-out or a dropped connection
                  (default 4), waiting --backoff-ms MS (default 2000), doubled each
                  time, or as long as the provider's Retry-After asks.
  --timeout-ms MS A request that receives nothing for this long fails (default 30000).

account add       Adds an account. The password is the first line of FILE, or is typed
                  twice at the terminal (not shown); it needs at least 8 characters.
account list      Prints every account's e-mail address, one a line.
account remove    Removes an account and signs out all its devices.
account reset-password
                  Sets a new password (read as for "add") and signs out all devices.
account history   Lists the kept versions of an account's synced lists (the last 50),
                  newest first: version, time saved (UTC), size and number of lists.
account restore   Puts a kept version back as a new version; the apps take it on
                  their next sync.

migrate           Copies a SQLite deployment (market data, accounts, signed-in devices,
                  synced lists and their history) into an empty PostgreSQL database, in
                  one transaction. A database that holds anything is refused.

GET /healthz answers 200 while the database is reachable and 503 when it is not, for
load balancers in front of several serve processes on one PostgreSQL database.

Every problem is reported on its own line; a failed command exits with a non-zero status.
)")
        .arg(defaultDataDirectory());
}

} // namespace tessary::server
