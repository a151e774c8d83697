#include "AccountCommand.h"

#include "CommandRunner.h"

#include "Tessary/Shell/Environment.h"
#include "Tessary/Store/Store.h"

#include <QProcess>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace tessary {

namespace {

const QString usage
    = QStringLiteral("Usage: tessary account status | sign-in | sign-out\n"
                     "\n"
                     "  status     prints \"signed in as EMAIL\" or \"signed out\"\n"
                     "  sign-in    opens the account's sign-in page in the browser ($BROWSER, else xdg-open),\n"
                     "             prints its address, and waits until the browser comes back (Ctrl-C gives up)\n"
                     "  sign-out   revokes this computer's session and forgets it\n"
                     "\n"
                     "TESSARY_SESSION_API and TESSARY_WEB name the account service and its web pages; without\n"
                     "them the built-in service is used.");
const QString signedInPrefix = QStringLiteral("signed in as ");
const QString signedInUnknown = QStringLiteral("signed in");
const QString signedOutText = QStringLiteral("signed out");
const QString openPrompt = QStringLiteral("Opening the sign-in page. If no browser opens, visit:");

QString statusLine(const AccountService& account)
{
    if (account.status() != AccountService::Status::signedIn)
        return signedOutText;
    return account.email() ? signedInPrefix + *account.email() : signedInUnknown;
}

// Ctrl-C while waiting for the browser gives up the sign-in instead of killing the process, so
// the listener closes and the answer is the usual one line.
int interruptPipe[2] = { -1, -1 };

void onInterrupt(int)
{
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(interruptPipe[1], &byte, 1);
}

QCoro::Task<int> signIn(Store* store)
{
    AccountService& account = store->account();
    const bool signedIn = co_await account.signIn();
    if (!signedIn) {
        printLine(stderr, account.lastError().value_or(AccountError::cancelled().description()));
        co_return 1;
    }
    printLine(stdout, statusLine(account));
    co_return 0;
}

QCoro::Task<int> signOut(Store* store)
{
    co_await store->account().signOut();
    printLine(stdout, statusLine(store->account()));
    co_return 0;
}

} // namespace

bool openInTerminalBrowser(const QUrl& url)
{
    const QString address = url.toString(QUrl::FullyEncoded);
    for (const QString& command : qEnvironmentVariable("BROWSER").split(u':', Qt::SkipEmptyParts)) {
        QStringList words = QProcess::splitCommand(command);
        if (words.isEmpty())
            continue;
        const QString program = words.takeFirst();
        if (!words.contains(QStringLiteral("%s")))
            words.append(address);
        words.replaceInStrings(QStringLiteral("%s"), address);
        if (QProcess::startDetached(program, words))
            return true;
    }
    return QProcess::startDetached(QStringLiteral("xdg-open"), { address });
}

int runAccountCommand(const QStringList& arguments)
{
    const QString verb = arguments.value(0);
    if (arguments.size() != 1 || verb == QStringLiteral("--help") || verb == QStringLiteral("-h")) {
        printLine(arguments.size() == 1 ? stdout : stderr, usage);
        return arguments.size() == 1 ? 0 : 1;
    }
    if (verb != QStringLiteral("status") && verb != QStringLiteral("sign-in") && verb != QStringLiteral("sign-out")) {
        printLine(
            stderr, QStringLiteral("tessary account: unknown command \"%1\"; see tessary account --help").arg(verb));
        return 1;
    }
    const auto environment = Environment::read();
    if (!environment) {
        printLine(stderr, QStringLiteral("tessary: ") + environment.error().description());
        return 1;
    }
    Store store(Store::Options::at(environment->dataDir.value_or(QString())));
    if (verb == QStringLiteral("status")) {
        printLine(stdout, statusLine(store.account()));
        return 0;
    }
    if (verb == QStringLiteral("sign-out") && store.account().status() != AccountService::Status::signedIn) {
        printLine(stdout, signedOutText);
        return 0;
    }

    store.account().setBrowserOpener([](const QUrl& url) {
        printLine(stdout, openPrompt);
        printLine(stdout, url.toString(QUrl::FullyEncoded));
        return openInTerminalBrowser(url);
    });
    if (::pipe(interruptPipe) == 0) {
        auto* notifier = new QSocketNotifier(interruptPipe[0], QSocketNotifier::Read, &store);
        QObject::connect(notifier, &QSocketNotifier::activated, &store.account(), &AccountService::cancelSignIn);
        std::signal(SIGINT, onInterrupt);
    }

    const int status = runCommandTask(store, *environment, false, true,
        [&] { return verb == QStringLiteral("sign-in") ? signIn(&store) : signOut(&store); });
    std::signal(SIGINT, SIG_DFL);
    return status;
}

} // namespace tessary
