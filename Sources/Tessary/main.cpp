// tessary: the desktop app, and `tessary compare`, `tessary list` and `tessary account` for the
// terminal.

#include "Tessary/App/AccountCommand.h"
#include "Tessary/App/CompareCommand.h"
#include "Tessary/App/ListCommand.h"
#include "Tessary/App/ServiceLauncher.h"
#include "Tessary/Model/Palette.h"
#include "Tessary/Shell/Environment.h"
#include "Tessary/Shell/FeatureFlags.h"
#include "Tessary/Store/Store.h"
#include "Tessary/Views/Chart/ChartExportCard.h"
#include "Tessary/Views/Chart/ChartView.h"
#include "Tessary/Views/Main/ChartArea.h"
#include "Tessary/Views/Main/ChartExportControl.h"
#include "Tessary/Views/Main/MainWindow.h"
#include "Tessary/Widgets/InstanceChannel.h"
#include "Tessary/Widgets/WidgetManager.h"
#include "Tessary/Widgets/WidgetPanel.h"
#include "TessaryWire/BuildInfo.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
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

// The file of one step of a hover sweep: "out.png" becomes "out-01.png", "out-02.png", …
QString sweepFrame(const QString& path, int step, int steps)
{
    const QFileInfo file(path);
    const int digits = static_cast<int>(QString::number(steps).size());
    const QString name = QStringLiteral("%1-%2.%3")
                             .arg(file.completeBaseName())
                             .arg(step + 1, digits, 10, QLatin1Char('0'))
                             .arg(file.suffix().isEmpty() ? QStringLiteral("png") : file.suffix());
    return file.dir().filePath(name);
}

// TESSARY_SNAPSHOT=<png>: once the chart area settles (a chart, or an error), the window
// is written to that file, one line says what it showed, and the app quits: 0 for a chart.
// TESSARY_SNAPSHOT_SIZE=WIDTHxHEIGHT sizes the window first. With TESSARY_HOVER_SWEEP=N
// it writes N pictures instead, the hover moving from the first bar to the last.
void armSnapshot(MainWindow& window, const Environment& environment)
{
    const QString path = *environment.snapshot;
    const int steps = environment.hoverSweep.value_or(0);
    if (environment.snapshotSize) {
        const QStringList size = environment.snapshotSize->split(u'x');
        if (size.size() == 2 && size[0].toInt() > 0 && size[1].toInt() > 0)
            window.resize(size[0].toInt(), size[1].toInt());
    }
    window.move(0, 0);
    auto* poll = new QTimer(&window);
    auto* elapsed = new QElapsedTimer;
    elapsed->start();
    QObject::connect(poll, &QTimer::timeout, &window, [&window, path, poll, elapsed, steps] {
        const ChartArea::State state = window.chartArea()->state();
        const bool settled = state == ChartArea::State::chart || state == ChartArea::State::error
            || state == ChartArea::State::empty || state == ChartArea::State::welcome;
        constexpr qint64 giveUpMilliseconds = 180'000;
        if (!settled && elapsed->elapsed() < giveUpMilliseconds)
            return;
        poll->stop();
        delete elapsed;
        // One more moment so the chart's first paint is in the picture.
        QTimer::singleShot(500, &window, [&window, path, state, steps] {
            bool saved = true;
            if (steps > 0 && state == ChartArea::State::chart) {
                for (int step = 0; step < steps; ++step) {
                    window.chartView()->forceHover(double(step) / double(steps - 1));
                    saved = window.grab().save(sweepFrame(path, step, steps)) && saved;
                }
            } else {
                saved = window.grab().save(path);
            }
            static const char* names[] = { "welcome", "loading", "empty", "error", "chart" };
            const QString written = steps > 0 ? sweepFrame(path, 0, steps) + QStringLiteral(" …") : path;
            std::printf("snapshot: %s %s%s\n", names[static_cast<int>(state)], qPrintable(written),
                saved ? "" : " (could not be written)");
            std::fflush(stdout);
            QCoreApplication::exit(state == ChartArea::State::chart && saved ? 0 : 2);
        });
    });
    poll->start(200);
}

// TESSARY_HOVER and, without a snapshot, TESSARY_HOVER_SWEEP: the chart shows its hover
// where it is told, or walks it across the chart over and over, with no pointer involved.
void armHover(MainWindow& window, const Environment& environment)
{
    if (environment.hover)
        window.chartView()->forceHover(*environment.hover);
    if (!environment.hoverSweep || environment.snapshot)
        return;
    auto* sweep = new QTimer(&window);
    constexpr int stepMilliseconds = 40;
    QObject::connect(sweep, &QTimer::timeout, &window, [&window, sweep, steps = *environment.hoverSweep] {
        const int step = sweep->property("step").toInt();
        window.chartView()->forceHover(double(step) / double(steps - 1));
        sweep->setProperty("step", (step + 1) % steps);
    });
    sweep->start(stepMilliseconds);
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
    QObject::connect(&widgets, &WidgetManager::openInAppRequested, &window, [&window] {
        window.show();
        window.raise();
        window.activateWindow();
    });
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
    applyAppearance(*environment);
    QStringList added;
    if (environment->added)
        added = environment->added->split(QRegularExpression(QStringLiteral("[,\\s]+")), Qt::SkipEmptyParts);
    Store::Options options = Store::Options::at(environment->dataDir.value_or(QString()));
    options.justAdded = added;
    Store store(std::move(options));
    FeatureFlags::install(std::make_unique<FeatureFlags>(
        FeatureFlags::Options { QStringLiteral(TESSARY_APP_ID), environment->beta, environment->internal, nullptr }));
    MainWindow window(store, *environment);
    QApplication::setQuitOnLastWindowClosed(false);
    // Snapshot mode shows windows for a picture: nothing it does to the widgets is kept.
    WidgetManager::Options widgetOptions;
    widgetOptions.saves = !environment->snapshot;
    WidgetManager widgets(store, FeatureFlags::shared(), widgetOptions);
    InstanceChannel channel;
    channel.listen();
    connectWidgets(window, widgets, channel);
    ServiceLauncher launcher(store, *environment);
    QObject::connect(&launcher, &ServiceLauncher::progress, window.chartArea(), &ChartArea::setServiceProgress);
    QObject::connect(&launcher, &ServiceLauncher::failed, window.chartArea(), &ChartArea::setServiceFailure);
    if (environment->snapshot)
        armSnapshot(window, *environment);
    armHover(window, *environment);
    if (environment->exportPath)
        armExport(window, store, *environment->exportPath);
    window.show();
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
        const auto sent = InstanceChannel::sendShowWidgets();
        if (!sent)
            std::fprintf(stderr, "tessary: %s\n", qPrintable(sent.error().description()));
        return sent ? 0 : 1;
    }
    return runWindow(argc, argv);
}
