#include "AccountCommand.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <cstdlib>
#include <termios.h>
#include <unistd.h>

#include "Accounts.h"
#include "TessaryServer/Storage/ServerStorage.h"

namespace tessary::server {

namespace {

const auto passwordPrompt = QStringLiteral("Password: ");
const auto repeatPrompt = QStringLiteral("Repeat the password: ");
const auto addedText = QStringLiteral("added %1");
const auto removedText = QStringLiteral("removed %1");
const auto passwordChangedText = QStringLiteral("changed the password of %1 and signed out its devices");
const auto historyHeader = QStringLiteral("version  saved (UTC)             bytes  lists");
const auto restoredText = QStringLiteral("restored version %1 of %2 as version %3");

std::unexpected<AccountError> inputFailure(const QString& text)
{
    return std::unexpected(AccountError { AccountError::Kind::passwordInput, text });
}

// Turns echo off for as long as it lives, when the input is a terminal.
class HiddenInput {
public:
    HiddenInput()
    {
        if (::tcgetattr(STDIN_FILENO, &m_saved) != 0)
            return;
        termios quiet = m_saved;
        quiet.c_lflag &= ~tcflag_t(ECHO);
        m_active = ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet) == 0;
    }
    ~HiddenInput()
    {
        if (m_active)
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_saved);
    }
    HiddenInput(const HiddenInput&) = delete;
    HiddenInput& operator=(const HiddenInput&) = delete;

private:
    termios m_saved {};
    bool m_active = false;
};

QString withoutLineBreak(QByteArray line)
{
    if (line.endsWith('\n'))
        line.chop(1);
    if (line.endsWith('\r'))
        line.chop(1);
    return QString::fromUtf8(line);
}

// Straight from the C stream, so nothing is read ahead past the line.
std::optional<QString> promptedLine(const QString& prompt, bool terminal)
{
    if (terminal) {
        std::fputs(prompt.toLocal8Bit().constData(), stderr);
        std::fflush(stderr);
    }
    char* buffer = nullptr;
    std::size_t capacity = 0;
    const ssize_t length = ::getline(&buffer, &capacity, stdin);
    const QByteArray line = length > 0 ? QByteArray(buffer, length) : QByteArray();
    std::free(buffer);
    if (terminal)
        std::fputc('\n', stderr); // the typed line break was not echoed
    if (length <= 0)
        return std::nullopt;
    return withoutLineBreak(line);
}

// One line of `account history`, aligned under `historyHeader`.
QString historyLine(const SettingsVersion& settings)
{
    const auto sets = QJsonDocument::fromJson(settings.document).object().value(u"comparisonSets").toArray().size();
    return QStringLiteral("%1  %2  %3  %4")
        .arg(settings.version, 7)
        .arg(settings.savedAt.toString(Qt::ISODate), -20)
        .arg(settings.document.size(), 7)
        .arg(sets, 5);
}

std::expected<QStringList, AccountError> history(Accounts& accounts, const QString& email)
{
    const auto versions = accounts.settingsHistory(email);
    if (!versions)
        return std::unexpected(versions.error());
    QStringList lines { historyHeader };
    for (const SettingsVersion& settings : *versions)
        lines.append(historyLine(settings));
    return lines;
}

} // namespace

std::expected<QStringList, AccountError> runAccountCommand(
    const AccountCommand& command, const PasswordSource& password)
{
    const auto storage = ServerStorage::open(command.dataDirectory, command.postgres);
    auto store = storage ? storage->openAccounts() : std::unexpected(storage.error());
    if (!store)
        return std::unexpected(AccountError { AccountError::Kind::failure, store.error().description() });
    Accounts accounts(std::move(*store));
    using Action = AccountCommand::Action;
    if (command.action == Action::list)
        return accounts.emails();
    const auto email = Accounts::normalisedEmail(command.email);
    if (!email)
        return std::unexpected(email.error());
    if (command.action == Action::remove) {
        if (auto removed = accounts.remove(*email); !removed)
            return std::unexpected(removed.error());
        return QStringList { removedText.arg(*email) };
    }
    if (command.action == Action::history)
        return history(accounts, *email);
    if (command.action == Action::restore) {
        const auto restored = accounts.restoreSettings(*email, command.version);
        if (!restored)
            return std::unexpected(restored.error());
        return QStringList { restoredText.arg(command.version).arg(*email).arg(restored->version) };
    }

    // Refuse before asking for a password that could not be used.
    const auto exists = accounts.exists(*email);
    if (!exists)
        return std::unexpected(exists.error());
    if (command.action == Action::add && *exists)
        return std::unexpected(AccountError { AccountError::Kind::emailTaken, *email });
    if (command.action == Action::resetPassword && !*exists)
        return std::unexpected(AccountError { AccountError::Kind::unknownAccount, *email });
    const auto chosen = password();
    if (!chosen)
        return std::unexpected(chosen.error());
    const bool adding = command.action == Action::add;
    if (auto done = adding ? accounts.add(*email, *chosen) : accounts.resetPassword(*email, *chosen); !done)
        return std::unexpected(done.error());
    return QStringList { (adding ? addedText : passwordChangedText).arg(*email) };
}

std::expected<QString, AccountError> readPasswordFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return inputFailure(QStringLiteral("cannot read the password file %1: %2").arg(path, file.errorString()));
    return withoutLineBreak(file.readLine());
}

std::expected<QString, AccountError> readPasswordTwice()
{
    const bool terminal = ::isatty(STDIN_FILENO) == 1;
    const HiddenInput hidden;
    const auto first = promptedLine(passwordPrompt, terminal);
    const auto second = first ? promptedLine(repeatPrompt, terminal) : std::nullopt;
    if (!second)
        return inputFailure(QStringLiteral("no password was typed"));
    if (*first != *second)
        return std::unexpected(AccountError { AccountError::Kind::passwordMismatch, {} });
    return *first;
}

} // namespace tessary::server
