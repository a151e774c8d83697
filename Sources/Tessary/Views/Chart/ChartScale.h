#pragma once

namespace tessary::ChartScale {

// Room kept at the plot's trailing edge for the labels at the ends of the lines.
inline constexpr double labelGutter = 96;
// Height of one end label; labels stack at this pitch.
inline constexpr double labelHeight = 14;
// Height of one readout row, and the room the readout's header and footer take.
inline constexpr double readoutRowHeight = 17;
inline constexpr double readoutChrome = 56;
// The readout always has room for at least this many rows, however short the plot.
inline constexpr int readoutMinimumRows = 4;
// Point size of the x-axis labels; label widths are measured in it for collision thinning.
inline constexpr double tickFontSize = 11.5;
// Aimed-at distance between two x-axis ticks.
inline constexpr double tickSpacing = 90;

} // namespace tessary::ChartScale
