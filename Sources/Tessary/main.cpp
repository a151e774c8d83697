// tessary: the desktop app, and `tessary compare`, `tessary list` and `tessary account` for the
// terminal.

#include "Tessary/App/AccountCommand.h"
#include "Tessary/App/CommandRunner.h"
#include "Tessary/App/CompareCommand.h"
#include "Tessary/App/ListCommand.h"
#include "Tessary/App/Measurements.h"
#include "Tessary/App/ProgramHelp.h"
#include "Tessary/App/ServiceLauncher.h"
#include "Tessary/App/SnapshotMode.h"
#include "Tessary/Model/Palette.h"
#include "Tessary/Shell/Environment.h"
#include "Tessary/Shell/FeatureFlags.h"
#include "Tessary/Store/Store.h"
#include "Tessary/Views/Chart/ChartExportCard.h"
#include "Tessary/Views/Chart/ChartView.h"
#include "Tessary/Views/Main/ChartArea.h"
#include "Tessary/Views/Main/ChartExportControl.h"
#include "Tessary/Views/Main/HelpMenu.h"
#include "Tessary/Views/Main/MainWindow.h"
#include "Tessary/Widgets/InstanceChannel.h"
#include "Tessary/Widgets/WidgetManager.h"
#include "Tessary/Widgets/WidgetPanel.h"
#include "TessaryWire/BuildInfo.h"

#include <QApplication>
#include <QCloseEvent>
#include <QRegularExpression>
#include <QTimer>

#include <cstdio>
#include <memory>

using namespace tessary;

namespace {

void describeApplication()
{
    QCoreApplication::setOrganizationName(QStringLiteral("Tessary"));
    QCoreApplication::setApplicationName(QStringLiteral("Tessary"));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(BuildInfo::version));
}

// TESSARY_EXPORT=<png>: once the first chart is on screen, its export card is saved to that
// file as "Save Image…" would save it, and one line says so; the app keeps running, so the
// export can be checked without a pointer or a dialog, the clipboard included.
void armExport(MainWindow& window, Store& store, const QString& path)
{
    auto* waiting = new QObject(&window);
    QObject::connect(&store, &Store::comparisonChanged, waiting, [&store, &window, path, waiting] {
        if (!window.chartExport()->card())
            return;
        QObject::disconnect(&store, nullptr, waiting, nullptr);
        waiting->deleteLater();
        const auto saved = window.chartExport()->saveTo(path);
        std::printf("export: %s\n", qPrintable(saved ? path : saved.error().description()));
        std::fflush(stdout);
    });
}

// TESSARY_APPEARANCE=dark|light forces an appearance (for screenshots and for checking both);
// otherwise the app follows the desktop's palette.
void applyAppearance(const Environment& environment)
{
    if (!environment.appearance)
        return;
    QApplication::setStyle(QStringLiteral("Fusion"));
    if (environment.appearance->compare(QStringLiteral("dark"), Qt::CaseInsensitive) != 0)
        return;
    QPalette dark;
    dark.setColor(QPalette::Window, QColor(0x24, 0x26, 0x2b));
    dark.setColor(QPalette::WindowText, QColor(0xe6, 0xe8, 0xeb));
    dark.setColor(QPalette::Base, Palette::background(true));
    dark.setColor(QPalette::AlternateBase, QColor(0x2a, 0x2d, 0x33));
    dark.setColor(QPalette::Text, QColor(0xe6, 0xe8, 0xeb));
    dark.setColor(QPalette::PlaceholderText, QColor(0x9a, 0xa1, 0xac));
    dark.setColor(QPalette::Button, QColor(0x30, 0x33, 0x39));
    dark.setColor(QPalette::ButtonText, QColor(0xe6, 0xe8, 0xeb));
    dark.setColor(QPalette::Highlight, QColor(0x2f, 0x6f, 0xed));
    dark.setColor(QPalette::HighlightedText, Qt::white);
    dark.setColor(QPalette::ToolTipBase, QColor(0x30, 0x33, 0x39));
    dark.setColor(QPalette::ToolTipText, QColor(0xe6, 0xe8, 0xeb));
    QApplication::setPalette(dark);
}

// The app ends when its window closes with no floating widget open, or when the last widget
// closes with the window already gone: widgets keep prices on screen without the window.
class EndWhenNothingIsOpen : public QObject {
public:
    EndWhenNothingIsOpen(MainWindow& window, WidgetManager& widgets)
        : QObject(&window)
        , m_window(window)
        , m_widgets(widgets)
    {
        window.installEventFilter(this);
        connect(&widgets, &WidgetManager::panelsChanged, this, &EndWhenNothingIsOpen::check);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched == &m_window && event->type() == QEvent::Close)
            QTimer::singleShot(0, this, &EndWhenNothingIsOpen::check);
        return false;
    }

private:
    void check()
    {
        if (!m_window.isVisible() && m_widgets.panels().empty())
            QCoreApplication::quit();
    }

    MainWindow& m_window;
    WidgetManager& m_widgets;
};

void connectWidgets(MainWindow& window, WidgetManager& widgets, InstanceChannel& channel)
{
    QObject::connect(window.newWidgetAction(), &QAction::triggered, &widgets, qOverload<>(&WidgetManager::newWidget));
    QObject::connect(window.showWidgetsAction(), &QAction::triggered, &widgets, &WidgetManager::bringToFront);
    QObject::connect(&channel, &InstanceChannel::showWidgetsRequested, &widgets, &WidgetManager::bringToFront);
    const auto bringBack = [&window] {
        window.show();
        window.raise();
        window.activateWindow();
    };
    QObject::connect(&widgets, &WidgetManager::openInAppRequested, &window, bringBack);
    QObject::connect(&channel, &InstanceChannel::raiseWindowRequested, &window, bringBack);
    QObject::connect(&widgets, &WidgetManager::hotKeyNoticeChanged, &window, &MainWindow::setHotKeyNotice);
    new EndWhenNothingIsOpen(window, widgets);
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
    const auto snapshot = SnapshotRequest::from(*environment);
    if (!snapshot) {
        std::fprintf(stderr, "tessary: %s\n", qPrintable(snapshot.error()));
        return 1;
    }
    const auto measurement = MeasurementRequest::from(*environment);
    if (!measurement) {
        std::fprintf(stderr, "tessary: %s\n", qPrintable(measurement.error()));
        return 1;
    }
    const QString dataDirectory = environment->dataDir.value_or(Store::defaultDataDirectory());
    // One app per set of lists: a second start raises the first one's window instead of
    // opening the same files and a second service on the same database. A snapshot is a
    // short unattended run that keeps nothing, so it may picture the app while one is open.
    InstanceChannel channel(dataDirectory);
    if (!*snapshot) {
        switch (channel.listen()) {
        case InstanceChannel::Listening::started:
            break;
        case InstanceChannel::Listening::anotherIsRunning: {
            const auto sent = InstanceChannel::send(dataDirectory, InstanceChannel::Request::raiseWindow);
            if (!sent)
                std::fprintf(stderr, "tessary: %s\n", qPrintable(sent.error().description()));
            return sent ? 0 : 1;
        }
        case InstanceChannel::Listening::failed:
            std::fprintf(
                stderr, "tessary: a second start will not find this one: %s\n", qPrintable(channel.errorString()));
            break;
        }
    }
    applyAppearance(*environment);
    QStringList added;
    if (environment->added)
        added = environment->added->split(QRegularExpression(QStringLiteral("[,\\s]+")), Qt::SkipEmptyParts);
    Store::Options options = Store::Options::at(dataDirectory);
    options.justAdded = added;
    Store store(std::move(options));
    FeatureFlags::install(std::make_unique<FeatureFlags>(
        FeatureFlags::Options { QStringLiteral(TESSARY_APP_ID), environment->beta, environment->internal, nullptr }));
    MainWindow window(store, *environment);
    QApplication::setQuitOnLastWindowClosed(false);
    // Snapshot mode shows windows for a picture: nothing it does to the widgets is kept.
    WidgetManager::Options widgetOptions;
    widgetOptions.saves = !*snapshot;
    WidgetManager widgets(store, FeatureFlags::shared(), widgetOptions);
    connectWidgets(window, widgets, channel);
    ServiceLauncher launcher(store, *environment);
    QObject::connect(&launcher, &ServiceLauncher::progress, window.chartArea(), &ChartArea::setServiceProgress);
    QObject::connect(&launcher, &ServiceLauncher::failed, window.chartArea(), &ChartArea::setServiceFailure);
    if (*snapshot)
        armSnapshot(window, widgets, **snapshot);
    else
        // After the first chart, with the rest that can wait.
        QObject::connect(&store, &Store::serviceConnected, window.helpMenu(), &HelpMenu::checkIfAllowed);
    armHover(window, *environment);
    if (environment->exportPath)
        armExport(window, store, *environment->exportPath);
    if (*measurement)
        armMeasurements(window, store, **measurement);
    window.show();
    if (!*snapshot)
        window.showTourOnFirstRun();
    widgets.followFeatureFlag();
    window.setHotKeyNotice(widgets.hotKeyNotice());
    if (environment->widget)
        QTimer::singleShot(0, &widgets, [&widgets] { widgets.newWidget(); });
    launcher.start();
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && (qstrcmp(argv[1], "--help") == 0 || qstrcmp(argv[1], "-h") == 0)) {
        printLine(stdout, programUsage());
        return 0;
    }
    if (argc > 1 && qstrcmp(argv[1], "compare") == 0) {
        QStringList arguments;
        for (int i = 2; i < argc; ++i)
            arguments.append(QString::fromLocal8Bit(argv[i]));
        std::unique_ptr<QCoreApplication> app;
        if (compareDrawsChart(arguments)) {
            // Drawing the chart needs fonts and a paint engine but never a window or a display.
            qputenv("QT_QPA_PLATFORM", "offscreen");
            // Setting up a platform, Qt remarks on a missing XDG_RUNTIME_DIR, as it is in most
            // scripts; a script expects our errors as one line, so that remark is dropped.
            static QtMessageHandler previous = nullptr;
            previous
                = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& text) {
                      if (type != QtWarningMsg || !text.startsWith(QStringLiteral("QStandardPaths:")))
                          previous(type, context, text);
                  });
            app = std::make_unique<QGuiApplication>(argc, argv);
            qInstallMessageHandler(previous);
        } else {
            app = std::make_unique<QCoreApplication>(argc, argv);
        }
        describeApplication();
        return runCompareCommand(arguments);
    }
    if (argc > 1 && qstrcmp(argv[1], "list") == 0) {
        QCoreApplication app(argc, argv);
        describeApplication();
        return runListCommand(QCoreApplication::arguments().mid(2));
    }
    if (argc > 1 && qstrcmp(argv[1], "account") == 0) {
        QCoreApplication app(argc, argv);
        describeApplication();
        return runAccountCommand(QCoreApplication::arguments().mid(2));
    }
    if (argc > 1 && qstrcmp(argv[1], "--show-widgets") == 0) {
        QCoreApplication app(argc, argv);
        describeApplication();
        const auto environment = Environment::read();
        if (!environment) {
            std::fprintf(stderr, "tessary: %s\n", qPrintable(environment.error().description()));
            return 1;
        }
        const auto sent = InstanceChannel::send(
            environment->dataDir.value_or(Store::defaultDataDirectory()), InstanceChannel::Request::showWidgets);
        if (!sent)
            std::fprintf(stderr, "tessary: %s\n", qPrintable(sent.error().description()));
        return sent ? 0 : 1;
    }
    return runWindow(argc, argv);
}
