#pragma once

#include "TessaryServer/Account/AccountCommand.h"
#include "TessaryServer/Http/ServerEngine.h"

#include <QString>
#include <QStringList>

#include <expected>
#include <variant>

namespace tessary::server {

struct HelpCommand { };

struct ServeCommand {
    ServerOptions options;
};

struct ImportPricesCommand {
    QString dataDirectory;
    QStringList paths;
    PostgresOptions postgres;
};

struct ImportUniverseCommand {
    QString dataDirectory;
    QString file;
    PostgresOptions postgres;
};

struct FetchPricesCommand {
    QString dataDirectory;
    ProviderSettings provider;
    QStringList symbols;
    bool all = false; // every stored imported symbol
    PostgresOptions postgres;
};

struct FetchUniverseCommand {
    QString dataDirectory;
    ProviderSettings provider;
    PostgresOptions postgres;
};

// `migrate --from sqlite:DIR --to postgresql://…`.
struct MigrateCommand {
    QString dataDirectory;
    PostgresOptions target;
};

using Command = std::variant<HelpCommand, ServeCommand, ImportPricesCommand, ImportUniverseCommand, AccountCommand,
    FetchPricesCommand, FetchUniverseCommand, MigrateCommand>;

struct UsageError {
    QString message;
    QString description() const { return message; }
};

// Reads the arguments after the program name. `--help` anywhere asks for the usage text;
// options take their value as the next argument or after "=". An absent --data-dir is the
// default data directory; `--database sqlite:DIR` is the same as `--data-dir DIR`, and
// `--database postgresql://…` puts everything in that PostgreSQL database instead.
std::expected<Command, UsageError> parseCommandLine(const QStringList& arguments);

QString usageText();

} // namespace tessary::server
