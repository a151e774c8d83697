// tessary: the desktop app, and `tessary compare` for the terminal.

#include "Tessary/App/CompareCommand.h"
#include "Tessary/App/ServiceLauncher.h"
#include "Tessary/Shell/Environment.h"
#include "Tessary/Store/Store.h"
#include "Tessary/Views/Main/ChartArea.h"
#include "Tessary/Views/Main/MainWindow.h"

#include <QApplication>

#include <cstdio>

using namespace tessary;

namespace {

void describeApplication()
{
    QCoreApplication::setOrganizationName(QStringLiteral("Tessary"));
    QCoreApplication::setApplicationName(QStringLiteral("Tessary"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TESSARY_VERSION));
}

int runWindow(int argc, char** argv)
{
    QApplication app(argc, argv);
    describeApplication();
    QGuiApplication::setDesktopFileName(QStringLiteral(TESSARY_APP_ID));

    const auto environment = Environment::read();
    if (!environment) {
        std::fprintf(stderr, "tessary: %s\n", qPrintable(environment.error().description()));
        return 1;
    }
    QStringList added;
    if (environment->added)
        added = environment->added->split(QRegularExpression(QStringLiteral("[,\\s]+")), Qt::SkipEmptyParts);
    Store store(Store::Options{environment->dataDir.value_or(QString()), nullptr, added, nullptr});
    MainWindow window(store);
    ServiceLauncher launcher(store, *environment);
    QObject::connect(&launcher, &ServiceLauncher::progress, window.chartArea(), &ChartArea::setServiceProgress);
    QObject::connect(&launcher, &ServiceLauncher::failed, window.chartArea(), &ChartArea::setServiceFailure);
    window.show();
    launcher.start();
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && qstrcmp(argv[1], "compare") == 0) {
        QCoreApplication app(argc, argv);
        describeApplication();
        return runCompareCommand(QCoreApplication::arguments().mid(2));
    }
    return runWindow(argc, argv);
}
