#pragma once

#include "Tessary/Shell/Environment.h"

#include <QSize>
#include <QString>

#include <expected>
#include <optional>

namespace tessary {

class MainWindow;
class WidgetManager;

// A picture of one window without a person at the keyboard (documentation, the store's
// screenshots, checks in a virtual X server). Read from the environment:
// TESSARY_SNAPSHOT=<png> turns the mode on; TESSARY_SNAPSHOT_SIZE=WIDTHxHEIGHT sizes the
// pictured window; TESSARY_SNAPSHOT_WINDOW picks main (the default), settings or widget;
// TESSARY_SNAPSHOT_SCROLL=<rows> scrolls the rankings down by that many rows first;
// TESSARY_HOVER_SWEEP=N writes N pictures of the main window instead, "out.png" becoming
// "out-01.png" … , the chart's hover moving from the first bar to the last.
struct SnapshotRequest {
    enum class Window { main, settings, widget };

    QString path;
    std::optional<QSize> size;
    Window window = Window::main;
    int scrollRows = 0;
    int hoverSweep = 0;

    // None when TESSARY_SNAPSHOT is not set; an error line when a value cannot be used.
    static std::expected<std::optional<SnapshotRequest>, QString> from(const Environment& environment);
};

// Once the main window's chart area settles (a chart, or an error), the chosen window is
// written to the file, one line says what it showed, and the app quits: 0 for a picture of a
// chart, 2 otherwise. The pictured window is moved to the screen's origin.
void armSnapshot(MainWindow& window, WidgetManager& widgets, const SnapshotRequest& request);

// TESSARY_HOVER and, without a snapshot, TESSARY_HOVER_SWEEP: the chart shows its hover
// where it is told, or walks it across the chart over and over, with no pointer involved.
void armHover(MainWindow& window, const Environment& environment);

} // namespace tessary
