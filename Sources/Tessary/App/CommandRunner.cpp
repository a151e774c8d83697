#include "CommandRunner.h"

#include "ServiceLauncher.h"

#include "Tessary/Shell/Environment.h"
#include "Tessary/Store/Store.h"

#include <QCoreApplication>
#include <QTimer>

#include <optional>

namespace tessary {

void printLine(std::FILE* stream, const QString& text)
{
    // UTF-8 whatever the locale: the texts carry "…", "–" and curly quotes.
    std::fputs(text.toUtf8().constData(), stream);
    std::fputc('\n', stream);
    std::fflush(stream);
}

int runCommandTask(Store& store, const Environment& environment, bool needsMarketData, bool needsAccount,
    const std::function<QCoro::Task<int>()>& task)
{
    int status = 1;
    const auto start = [&] {
        QCoro::connect(task(), qApp, [&](int result) {
            status = result;
            QCoreApplication::exit(result);
        });
    };
    std::optional<ServiceLauncher> launcher;
    if (!needsMarketData && (!needsAccount || environment.sessionApi)) {
        if (environment.sessionApi)
            store.account().setEndpoints(*environment.sessionApi, environment.web.value_or(*environment.sessionApi));
        QTimer::singleShot(0, qApp, start);
    } else {
        launcher.emplace(store, environment);
        QObject::connect(&*launcher, &ServiceLauncher::failed, qApp, [](const QString& message) {
            printLine(stderr, message);
            QCoreApplication::exit(1);
        });
        QObject::connect(&*launcher, &ServiceLauncher::ready, qApp, start);
        // Started from the event loop: a start that fails at once must find a loop to end.
        QTimer::singleShot(0, &*launcher, [&launcher] { launcher->start(false); });
    }
    QCoreApplication::exec();
    return status;
}

} // namespace tessary
