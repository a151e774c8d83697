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

std::span<const QColor> series()
{
    // Neighbours differ in hue and lightness so adjacent legend chips never look alike, and
    // none is grey (grey means "no rank" elsewhere).
    static const std::array<QColor, 20> colors = {
        QColor(0x2F, 0x6F, 0xED),
        QColor(0xE8, 0x59, 0x0C),
        QColor(0x2B, 0x8A, 0x3E),
        QColor(0xC2, 0x25, 0x5C),
        QColor(0x70, 0x48, 0xE8),
        QColor(0x0C, 0x85, 0x99),
        QColor(0xE6, 0x77, 0x00),
        QColor(0x5C, 0x94, 0x0D),
        QColor(0xA6, 0x1E, 0x4D),
        QColor(0x19, 0x71, 0xC2),
        QColor(0xD9, 0x48, 0x0F),
        QColor(0x08, 0x7F, 0x5B),
        QColor(0x86, 0x2E, 0x9C),
        QColor(0xB0, 0x8D, 0x00),
        QColor(0x36, 0x4F, 0xC7),
        QColor(0xC9, 0x2A, 0x2A),
        QColor(0x66, 0xA8, 0x0F),
        QColor(0x0B, 0x72, 0x85),
        QColor(0x9C, 0x36, 0xB5),
        QColor(0xF0, 0x8C, 0x00),
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
    return QColor(0x5B, 0x61, 0x6B);
}

std::vector<QColor> seriesColors(std::span<const ChartSeries> series)
{
    std::vector<QColor> colors;
    colors.reserve(series.size());
    std::size_t next = 0;
    for (const ChartSeries& line : series)
        colors.push_back(line.isBenchmark ? benchmark() : seriesColor(next++));
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
