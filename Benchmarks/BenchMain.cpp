#include <QApplication>

#include <benchmark/benchmark.h>

// Measured paths use Qt objects that want an application instance (time zones, the network
// stack, fonts for the chart), so every benchmark runs inside one, on the offscreen platform
// so no display is needed.
int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
