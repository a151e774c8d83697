#include "Palette.h"

#include <array>

#include "Comparison.h"

namespace tessary::Palette {

QColor brand()
{
    return QColor(0x2F, 0x6F, 0xED);
}
QColor positive()
{
    return QColor(0x1F, 0x9D, 0x55);
}
QColor negative()
{
    return QColor(0xD6, 0x45, 0x45);
}
QColor mixed()
{
    return QColor(0xD9, 0x8E, 0x04);
}

QColor sidebarText(bool dark)
{
    return dark ? QColor(0xE6, 0xE8, 0xEB) : QColor(0x1F, 0x23, 0x28);
}

QColor sidebarSecondary(bool dark)
{
    return dark ? QColor(0x9A, 0xA1, 0xAC) : QColor(0x6B, 0x72, 0x80);
}

QColor background(bool dark)
{
    // White is the light appearance's own base colour; the dark one is set at start-up.
    return dark ? QColor(0x1B, 0x1D, 0x21) : QColor(0xFF, 0xFF, 0xFF);
}

std::span<const QColor> series()
{
    // Lines one pixel wide need 3:1 contrast against white and against the dark background
    // alike, which leaves only a band of middle lightness; within it, these were found by
    // searching the sRGB cube for the colours that keep farthest apart (CIEDE2000) for normal
    // vision and under simulated protanopia, deuteranopia and tritanopia. Most lists are
    // short, so each colour is the one farthest from those before it: the first ten are the
    // most distinct, the next ten keep clear of them and of each other as well as the band
    // allows. None is grey: grey is the benchmark's.
    static const std::array<QColor, 20> colors = {
        QColor(0x00, 0x55, 0xFF), // blue
        QColor(0xC8, 0x88, 0x00), // amber
        QColor(0x24, 0x79, 0x00), // green
        QColor(0xBA, 0x35, 0x58), // raspberry
        QColor(0x00, 0x90, 0xEC), // azure
        QColor(0x90, 0x98, 0x60), // olive
        QColor(0xA7, 0x81, 0xB0), // lilac
        QColor(0xB2, 0x2A, 0xAE), // magenta
        QColor(0x00, 0x8F, 0x74), // teal
        QColor(0xDF, 0x02, 0x00), // red
        QColor(0xA1, 0x6C, 0x50), // brown
        QColor(0xF4, 0x3C, 0xA8), // pink
        QColor(0xBA, 0x74, 0x87), // mauve
        QColor(0xF0, 0x68, 0x50), // coral
        QColor(0xDA, 0x54, 0xEC), // orchid
        QColor(0x7E, 0x54, 0xCD), // violet
        QColor(0xEC, 0x27, 0x46), // crimson
        QColor(0x72, 0x7E, 0xC2), // periwinkle
        QColor(0x60, 0x6D, 0x36), // moss
        QColor(0x75, 0x5E, 0x8E), // plum
    };
    return colors;
}

QColor seriesColor(std::size_t index)
{
    const auto colors = series();
    return colors[index % colors.size()];
}

QColor benchmark()
{
    // A cool neutral grey, light enough to stand out from the dark background too.
    return QColor(0x6B, 0x72, 0x80);
}

std::vector<QColor> seriesColors(std::span<const ChartSeries> series)
{
    std::vector<QColor> colors;
    colors.reserve(series.size());
    for (const ChartSeries& line : series)
        colors.push_back(line.isBenchmark ? benchmark() : seriesColor(static_cast<std::size_t>(line.listIndex)));
    return colors;
}

QColor tone(Format::BenchmarkMultiple::Tone tone)
{
    switch (tone) {
    case Format::BenchmarkMultiple::Tone::above:
        return positive();
    case Format::BenchmarkMultiple::Tone::below:
        return negative();
    case Format::BenchmarkMultiple::Tone::equal:
        break;
    }
    return sidebarSecondary(false);
}

QColor rankColor(int rank, int count)
{
    if (count < 2)
        return QColor::fromRgbF(0.6f, 0.6f, 0.6f);
    const double t = static_cast<double>(rank - 1) / static_cast<double>(count - 1);
    double red = 0;
    double green = 0;
    double blue = 0;
    if (t < 0.33) {
        const double u = t / 0.33; // green (16, 150, 55) to amber (180, 140, 0)
        red = 16 + 164 * u;
        green = 150 - 10 * u;
        blue = 55 - 55 * u;
    } else if (t < 0.66) {
        const double u = (t - 0.33) / 0.33 * 40; // amber to orange (220, 100, 0)
        red = 180 + u;
        green = 140 - u;
    } else {
        const double u = (t - 0.66) / 0.34; // orange to red (200, 40, 30)
        red = 220 - 20 * u;
        green = 100 - 60 * u;
        blue = 30 * u;
    }
    return QColor::fromRgbF(
        static_cast<float>(red / 255), static_cast<float>(green / 255), static_cast<float>(blue / 255));
}

} // namespace tessary::Palette
