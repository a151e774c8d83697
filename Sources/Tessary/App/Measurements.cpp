#include "Measurements.h"

#include "Tessary/Store/Store.h"
#include "Tessary/Views/Chart/ChartView.h"
#include "Tessary/Views/Main/ChartArea.h"
#include "Tessary/Views/Main/MainWindow.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QTimer>

#include <cstdio>
#include <ctime>
#include <unistd.h>
#include <vector>

namespace tessary {

namespace {

constexpr int settleMilliseconds = 1000;

double seconds(clockid_t clock)
{
    timespec now {};
    clock_gettime(clock, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// Seconds from boot to this process's start, as the kernel recorded it: field 22 of
// /proc/self/stat, in clock ticks. The command name before it may hold spaces, so the fields
// are counted from its closing parenthesis, after which the third field comes first.
std::optional<double> kernelStartSinceBoot()
{
    QFile stat(QStringLiteral("/proc/self/stat"));
    if (!stat.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray text = stat.readAll();
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    constexpr int startField = 22 - 3;
    bool number = false;
    const double ticks = fields.value(startField).toDouble(&number);
    if (!number)
        return std::nullopt;
    return ticks / double(sysconf(_SC_CLK_TCK));
}

// Megabytes of one "VmRSS:   123456 kB" line of /proc/self/status.
double statusMegabytes(const QByteArray& status, const QByteArray& key)
{
    const qsizetype at = status.indexOf('\n' + key + ':');
    if (at < 0)
        return 0;
    const qsizetype end = status.indexOf('\n', at + 1);
    return status.mid(at + key.size() + 2, end - at - key.size() - 2).trimmed().split(' ').value(0).toDouble() / 1024;
}

// Watches the window's and the chart's paint events. A mark is taken once the paint has been
// done and flushed: painting happens inside the event that asked for it, so a zero timer
// started from the paint event runs right after.
class MeasurementProbe : public QObject {
public:
    MeasurementProbe(MainWindow& window, Store& store, MeasurementRequest request)
        : QObject(&window)
        , m_window(window)
        , m_store(store)
        , m_request(request)
    {
        if (!request.launchedAt)
            m_kernelStart = kernelStartSinceBoot();
        window.installEventFilter(this);
        window.chartView()->installEventFilter(this);
        connect(&store, &Store::loadingChanged, this, [this](bool loading) {
            if (!loading)
                QTimer::singleShot(0, this, &MeasurementProbe::failUnlessCharted);
        });
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::Paint)
            return false;
        if (watched == &m_window && !m_windowPainted) {
            m_windowPainted = true;
            QTimer::singleShot(0, this, &MeasurementProbe::windowPainted);
        } else if (watched == m_window.chartView() && m_waitingForChart && showsChart()) {
            m_waitingForChart = false;
            QTimer::singleShot(0, this, &MeasurementProbe::chartPainted);
        }
        return false;
    }

private:
    bool showsChart() const { return m_window.chartArea()->state() == ChartArea::State::chart && !m_store.isLoading(); }

    double millisecondsSinceStart() const
    {
        if (m_request.launchedAt)
            return (seconds(CLOCK_REALTIME) - *m_request.launchedAt) * 1000;
        return m_kernelStart ? (seconds(CLOCK_BOOTTIME) - *m_kernelStart) * 1000 : 0;
    }

    void windowPainted()
    {
        if (m_request.startupTimes)
            say(QStringLiteral("startup: window %1 ms").arg(millisecondsSinceStart(), 0, 'f', 0));
        failUnlessCharted();
    }

    void chartPainted()
    {
        if (m_request.startupTimes && m_step == 0)
            say(QStringLiteral("startup: chart %1 ms").arg(millisecondsSinceStart(), 0, 'f', 0));
        if (m_request.tourLists == 0) {
            QCoreApplication::exit(0);
            return;
        }
        // What a user would see a moment after the chart: the app may tidy up once it is drawn.
        QTimer::singleShot(settleMilliseconds, this, &MeasurementProbe::reportAndMoveOn);
    }

    void reportAndMoveOn()
    {
        if (m_step == 0)
            planTour();
        reportMemory();
        if (m_step == m_tour.size()) {
            QCoreApplication::exit(0);
            return;
        }
        const QUuid next = m_tour[m_step++];
        m_waitingForChart = true;
        QTimer::singleShot(0, &m_store, [this, next] { m_store.select(SidebarItem::list(next)); });
    }

    // The lists after the one on screen, by recency as the sidebar shows them, round again
    // when there are fewer than asked for.
    void planTour()
    {
        std::vector<QUuid> others;
        for (const ComparisonList& list : m_store.listsByRecency()) {
            if (list.id != m_store.comparisonListId())
                others.push_back(list.id);
        }
        for (int i = 0; i < m_request.tourLists && !others.empty(); ++i)
            m_tour.push_back(others[std::size_t(i) % others.size()]);
    }

    void reportMemory() const
    {
        QFile file(QStringLiteral("/proc/self/status"));
        const QByteArray status = file.open(QIODevice::ReadOnly) ? '\n' + file.readAll() : QByteArray();
        const ComparisonList* list = m_store.selectedList();
        say(QStringLiteral("memory: list %1 of %2 (%3 tickers): resident %4 MB, peak %5 MB")
                .arg(m_step + 1)
                .arg(m_tour.size() + 1)
                .arg(list ? list->tickers.size() : 0)
                .arg(statusMegabytes(status, "VmRSS"), 0, 'f', 1)
                .arg(statusMegabytes(status, "VmHWM"), 0, 'f', 1));
    }

    // A measurement needs a chart: a window that settles on anything else ends the run.
    void failUnlessCharted()
    {
        ChartArea& area = *m_window.chartArea();
        if (!m_waitingForChart || !m_windowPainted || area.state() == ChartArea::State::loading
            || area.state() == ChartArea::State::chart)
            return;
        say(QStringLiteral("measurement: no chart to measure: %1 %2").arg(area.headline(), area.detail()).trimmed());
        QCoreApplication::exit(2);
    }

    static void say(const QString& line)
    {
        std::printf("%s\n", line.toUtf8().constData());
        std::fflush(stdout);
    }

    MainWindow& m_window;
    Store& m_store;
    MeasurementRequest m_request;
    std::optional<double> m_kernelStart;
    bool m_windowPainted = false;
    bool m_waitingForChart = true;
    std::vector<QUuid> m_tour;
    std::size_t m_step = 0;
};

} // namespace

std::expected<std::optional<MeasurementRequest>, QString> MeasurementRequest::from(const Environment& environment)
{
    if (!environment.startupTimes && !environment.listTour)
        return std::nullopt;
    MeasurementRequest request;
    if (environment.startupTimes) {
        request.startupTimes = true;
        bool number = false;
        const double launched = environment.startupTimes->toDouble(&number);
        // A moment before this century is a flag, not a time.
        if (number && launched > 946'684'800)
            request.launchedAt = launched;
    }
    if (environment.listTour) {
        bool number = false;
        request.tourLists = environment.listTour->toInt(&number);
        if (!number || request.tourLists < 1)
            return std::unexpected(
                QStringLiteral("TESSARY_LIST_TOUR is not a number of lists: “%1”").arg(*environment.listTour));
    }
    return request;
}

void armMeasurements(MainWindow& window, Store& store, const MeasurementRequest& request)
{
    new MeasurementProbe(window, store, request);
}

} // namespace tessary
