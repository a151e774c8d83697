#pragma once

#include "Format.h"

#include <QColor>

#include <span>
#include <vector>

namespace tessary {
struct ChartSeries;
}

namespace tessary::Palette {

QColor brand();
QColor positive();
QColor negative();
QColor mixed();
// The sidebar follows the light or dark appearance.
QColor sidebarText(bool dark);
QColor sidebarSecondary(bool dark);

// What the chart is drawn on: the window's base colour, white in the light appearance and
// near-black in the dark one. The series colours are chosen to stand out from both.
QColor background(bool dark);

// A ticker takes the one at its position in the list's tickers, wrapping around.
std::span<const QColor> series();
QColor seriesColor(std::size_t index);
// A benchmark drawn as a reference line is grey, so it never passes for one of the tickers.
QColor benchmark();
// The colour of each series' line, in order: each ticker's series colour, the
// benchmark grey for a benchmark drawn as a reference. The chart, the legend and the grid
// all take theirs from here, so a ticker looks the same everywhere.
std::vector<QColor> seriesColors(std::span<const ChartSeries> series);
// How opaque a line is drawn while other lines are highlighted: faint enough to step back,
// strong enough that two faded lines still differ in colour.
inline constexpr double fadedOpacity = 0.25;

QColor tone(Format::BenchmarkMultiple::Tone tone);

// Colour of rank `rank` (1 = best) among `count` ranked values: green through amber and
// orange to red. With fewer than two values there is nothing to compare, so it is grey.
QColor rankColor(int rank, int count);

} // namespace tessary::Palette
