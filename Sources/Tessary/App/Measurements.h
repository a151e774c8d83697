#pragma once

#include "Tessary/Shell/Environment.h"

#include <QString>

#include <expected>
#include <optional>

namespace tessary {

class MainWindow;
class Store;

// What Benchmarks/startup-memory asks of a real window, read from the environment:
// TESSARY_STARTUP_TIMES prints how long after the process started the main window and then
// the first chart were painted, and quits once the chart is; its value is the moment the
// process was started in seconds since 1970 (bash's $EPOCHREALTIME, taken just before exec),
// or anything else to count from the start the kernel recorded (to its clock tick, 10 ms).
// TESSARY_LIST_TOUR=N, once the first chart is painted, selects the next N lists one after the
// other, as a click in the sidebar would, and prints the process's resident memory a second
// after each one's chart is painted, then quits.
struct MeasurementRequest {
    bool startupTimes = false;
    std::optional<double> launchedAt; // seconds since 1970; none: the kernel's record
    int tourLists = 0;

    // None when neither variable is set; an error line when a value cannot be used.
    static std::expected<std::optional<MeasurementRequest>, QString> from(const Environment& environment);
};

void armMeasurements(MainWindow& window, Store& store, const MeasurementRequest& request);

} // namespace tessary
