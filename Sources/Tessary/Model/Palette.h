#pragma once

#include "Format.h"

#include <QColor>

#include <span>

namespace tessary::Palette {

QColor brand();
QColor positive();
QColor negative();
QColor mixed();
// The sidebar follows the light or dark appearance.
QColor sidebarText(bool dark);
QColor sidebarSecondary(bool dark);

// Chart lines take these in order and wrap around.
std::span<const QColor> series();
QColor seriesColor(std::size_t index);

QColor tone(Format::BenchmarkMultiple::Tone tone);

// Colour of rank `rank` (1 = best) among `count` ranked values: green through amber and
// orange to red. With fewer than two values there is nothing to compare, so it is grey.
QColor rankColor(int rank, int count);

} // namespace tessary::Palette
