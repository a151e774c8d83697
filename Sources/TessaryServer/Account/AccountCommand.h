#pragma once

#include "AccountError.h"
#include "TessaryServer/Storage/PostgresOptions.h"

#include <QString>
#include <QStringList>

#include <expected>
#include <functional>
#include <optional>

namespace tessary::server {

// `tessary-server account add|list|remove|reset-password|history|restore`, parsed.
struct AccountCommand {
    enum class Action { add, list, remove, resetPassword, history, restore };

    Action action = Action::list;
    QString email; // empty for `list`
    QString dataDirectory;
    PostgresOptions postgres; // when set, the accounts are there instead
    std::optional<QString> passwordFile;
    qint64 version = 0; // for `restore`
};

// Supplies the new password of `add` and `reset-password`, only once everything else checked out.
using PasswordSource = std::function<std::expected<QString, AccountError>()>;

// Carries the command out on the accounts in its data directory (or PostgreSQL database) and returns the lines to
// print. Nothing is changed when it fails.
std::expected<QStringList, AccountError> runAccountCommand(
    const AccountCommand& command, const PasswordSource& password);

// The password in a file: its first line, without the line break.
std::expected<QString, AccountError> readPasswordFile(const QString& path);

// The password typed twice at the terminal without echo (or, when the input is not a
// terminal, its first two lines); the two must match.
std::expected<QString, AccountError> readPasswordTwice();

} // namespace tessary::server
