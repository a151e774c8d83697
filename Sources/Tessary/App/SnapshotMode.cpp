#include "SnapshotMode.h"

#include "Tessary/Views/Chart/ChartView.h"
#include "Tessary/Views/Main/ChartArea.h"
#include "Tessary/Views/Main/MainWindow.h"
#include "Tessary/Views/Main/SettingsWindow.h"
#include "Tessary/Views/Rankings/RankingTable.h"
#include "Tessary/Views/Rankings/RankingsPanel.h"
#include "Tessary/Widgets/WidgetManager.h"
#include "Tessary/Widgets/WidgetModel.h"
#include "Tessary/Widgets/WidgetPanel.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QPointer>
#include <QTimer>

#include <cstdio>
#include <memory>

namespace tessary {

namespace {

constexpr qint64 giveUpMilliseconds = 180'000;
constexpr int pollMilliseconds = 200;
// One more moment after the data arrives, so its first paint is in the picture.
constexpr int settleMilliseconds = 500;

const char* stateName(ChartArea::State state)
{
    static const char* names[] = { "welcome", "loading", "empty", "error", "chart" };
    return names[static_cast<int>(state)];
}

bool settled(ChartArea::State state)
{
    return state != ChartArea::State::loading;
}

// Calls `ready` once `isReady` holds or the wait is over, polling on `context`'s thread.
void whenReady(QObject* context, std::function<bool()> isReady, std::function<void()> ready)
{
    auto* poll = new QTimer(context);
    auto elapsed = std::make_shared<QElapsedTimer>();
    elapsed->start();
    QObject::connect(poll, &QTimer::timeout, context, [context, poll, elapsed, isReady, ready] {
        if (!isReady() && elapsed->elapsed() < giveUpMilliseconds)
            return;
        poll->stop();
        poll->deleteLater();
        QTimer::singleShot(settleMilliseconds, context, ready);
    });
    poll->start(pollMilliseconds);
}

void capture(QWidget& pictured, const SnapshotRequest& request, const char* what, bool good)
{
    const bool saved = pictured.grab().save(request.path);
    std::printf("snapshot: %s %s%s\n", what, qPrintable(request.path), saved ? "" : " (could not be written)");
    std::fflush(stdout);
    QCoreApplication::exit(good && saved ? 0 : 2);
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

void captureSweep(MainWindow& window, const SnapshotRequest& request)
{
    const int steps = request.hoverSweep;
    bool saved = true;
    for (int step = 0; step < steps; ++step) {
        window.chartView()->forceHover(double(step) / double(steps - 1));
        saved = window.grab().save(sweepFrame(request.path, step, steps)) && saved;
    }
    std::printf("snapshot: chart %s …%s\n", qPrintable(sweepFrame(request.path, 0, steps)),
        saved ? "" : " (could not be written)");
    std::fflush(stdout);
    QCoreApplication::exit(saved ? 0 : 2);
}

void place(QWidget& pictured, const SnapshotRequest& request)
{
    if (request.size)
        pictured.resize(*request.size);
    pictured.move(0, 0);
}

void scrollRankings(MainWindow& window, int rows)
{
    RankingTable& table = window.rankings()->table();
    const int last = table.model()->rowCount() - 1;
    if (rows > 0 && last >= 0)
        table.scrollTo(table.model()->index(std::min(rows, last), 0), QAbstractItemView::PositionAtTop);
}

} // namespace

std::expected<std::optional<SnapshotRequest>, QString> SnapshotRequest::from(const Environment& environment)
{
    if (!environment.snapshot)
        return std::nullopt;
    SnapshotRequest request;
    request.path = *environment.snapshot;
    if (environment.snapshotSize) {
        const QStringList parts = environment.snapshotSize->split(u'x');
        const int width = parts.size() == 2 ? parts[0].toInt() : 0;
        const int height = parts.size() == 2 ? parts[1].toInt() : 0;
        if (width <= 0 || height <= 0)
            return std::unexpected(
                QStringLiteral("TESSARY_SNAPSHOT_SIZE is not WIDTHxHEIGHT: “%1”").arg(*environment.snapshotSize));
        request.size = QSize(width, height);
    }
    if (environment.snapshotWindow) {
        const QString& name = *environment.snapshotWindow;
        if (name == u"main")
            request.window = Window::main;
        else if (name == u"settings")
            request.window = Window::settings;
        else if (name == u"widget")
            request.window = Window::widget;
        else
            return std::unexpected(
                QStringLiteral("TESSARY_SNAPSHOT_WINDOW is not main, settings or widget: “%1”").arg(name));
    }
    if (environment.snapshotScroll) {
        bool ok = false;
        request.scrollRows = environment.snapshotScroll->toInt(&ok);
        if (!ok || request.scrollRows < 0)
            return std::unexpected(QStringLiteral("TESSARY_SNAPSHOT_SCROLL is not a number of rows: “%1”")
                                       .arg(*environment.snapshotScroll));
    }
    request.hoverSweep = environment.hoverSweep.value_or(0);
    return request;
}

void armSnapshot(MainWindow& window, WidgetManager& widgets, const SnapshotRequest& request)
{
    if (request.window == SnapshotRequest::Window::main)
        place(window, request);
    const auto chartSettled = [&window] { return settled(window.chartArea()->state()); };
    whenReady(&window, chartSettled, [&window, &widgets, request] {
        const ChartArea::State state = window.chartArea()->state();
        scrollRankings(window, request.scrollRows);
        switch (request.window) {
        case SnapshotRequest::Window::main:
            if (request.hoverSweep > 0 && state == ChartArea::State::chart)
                captureSweep(window, request);
            else
                capture(window, request, stateName(state), state == ChartArea::State::chart);
            return;
        case SnapshotRequest::Window::settings: {
            SettingsWindow* settings = window.showSettings();
            place(*settings, request);
            QTimer::singleShot(
                settleMilliseconds, settings, [settings, request] { capture(*settings, request, "settings", true); });
            return;
        }
        case SnapshotRequest::Window::widget: {
            const std::vector<WidgetPanel*> open = widgets.panels();
            QPointer<WidgetPanel> panel = open.empty() ? widgets.newWidget() : open.front();
            if (!panel) {
                std::printf("snapshot: no widget (no list is selected, or widgets are off)\n");
                std::fflush(stdout);
                QCoreApplication::exit(2);
                return;
            }
            place(*panel, request);
            const auto loaded = [panel] { return !panel || panel->model().shown() || panel->model().error(); };
            whenReady(panel, loaded, [panel, request] {
                if (panel)
                    capture(
                        *panel, request, panel->model().error() ? "widget-error" : "widget", !panel->model().error());
            });
            return;
        }
        }
    });
}

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

} // namespace tessary
