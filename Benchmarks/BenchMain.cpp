#include <QCoreApplication>

#include <benchmark/benchmark.h>

// Some measured paths use Qt objects that want an application instance (time zones, the
// network stack), so every benchmark runs inside one.
int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
