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
};

struct ImportUniverseCommand {
    QString dataDirectory;
    QString file;
};

struct FetchPricesCommand {
    QString dataDirectory;
    ProviderSettings provider;
    QStringList symbols;
    bool all = false; // every stored imported symbol
};

struct FetchUniverseCommand {
    QString dataDirectory;
    ProviderSettings provider;
};

using Command = std::variant<HelpCommand, ServeCommand, ImportPricesCommand, ImportUniverseCommand, AccountCommand,
    FetchPricesCommand, FetchUniverseCommand>;

struct UsageError {
    QString message;
    QString description() const { return message; }
};

// Reads the arguments after the program name. `--help` anywhere asks for the usage text;
// options take their value as the next argument or after "=". An absent --data-dir is the
// default data directory.
std::expected<Command, UsageError> parseCommandLine(const QStringList& arguments);

QString usageText();

} // namespace tessary::server
