#include "ColourDifference.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace tessary::test {

namespace {

using LinearRgb = std::array<double, 3>;
using Matrix = std::array<std::array<double, 3>, 3>;

// Machado, Oliveira and Fernandes, "A Physiologically-based Model for Simulation of Color
// Vision Deficiency", IEEE Transactions on Visualization and Computer Graphics 15(6), 2009:
// the published matrices for severity 1.0 (full dichromacy), applied to linear RGB.
constexpr Matrix protanopia { { { 0.152286, 1.052583, -0.204868 }, { 0.114503, 0.786281, 0.099216 },
    { -0.003882, -0.048116, 1.051998 } } };
constexpr Matrix deuteranopia { { { 0.367322, 0.860646, -0.227968 }, { 0.280085, 0.672501, 0.047413 },
    { -0.011820, 0.042940, 0.968881 } } };
constexpr Matrix tritanopia { { { 1.255528, -0.076749, -0.178779 }, { -0.078411, 0.930809, 0.147602 },
    { 0.004733, 0.691367, 0.303900 } } };

double decode(double encoded)
{
    return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

double luminance(const LinearRgb& rgb)
{
    return 0.2126 * rgb[0] + 0.7152 * rgb[1] + 0.0722 * rgb[2];
}

double labCurve(double ratio)
{
    constexpr double delta = 6.0 / 29;
    return ratio > delta * delta * delta ? std::cbrt(ratio) : ratio / (3 * delta * delta) + 4.0 / 29;
}

double degrees(double radians)
{
    return radians * 180 / std::numbers::pi;
}

double radians(double degrees)
{
    return degrees * std::numbers::pi / 180;
}

// Hue angle in degrees, 0 to 360; a grey has hue 0 by convention.
double hue(double a, double b)
{
    if (a == 0 && b == 0)
        return 0;
    const double angle = degrees(std::atan2(b, a));
    return angle < 0 ? angle + 360 : angle;
}

LinearRgb linearRgb(const QColor& color)
{
    return { decode(color.redF()), decode(color.greenF()), decode(color.blueF()) };
}

// CIELAB under D65, the white point of sRGB.
Lab labOf(const LinearRgb& rgb)
{
    const double x = 0.4124564 * rgb[0] + 0.3575761 * rgb[1] + 0.1804375 * rgb[2];
    const double y = 0.2126729 * rgb[0] + 0.7151522 * rgb[1] + 0.0721750 * rgb[2];
    const double z = 0.0193339 * rgb[0] + 0.1191920 * rgb[1] + 0.9503041 * rgb[2];
    const double fx = labCurve(x / 0.95047);
    const double fy = labCurve(y);
    const double fz = labCurve(z / 1.08883);
    return { 116 * fy - 16, 500 * (fx - fy), 200 * (fy - fz) };
}

LinearRgb simulate(const LinearRgb& rgb, Vision vision)
{
    const Matrix* matrix = nullptr;
    switch (vision) {
    case Vision::normal:
        return rgb;
    case Vision::protanopia:
        matrix = &protanopia;
        break;
    case Vision::deuteranopia:
        matrix = &deuteranopia;
        break;
    case Vision::tritanopia:
        matrix = &tritanopia;
        break;
    }
    LinearRgb seen {};
    for (std::size_t row = 0; row < 3; ++row) {
        double sum = 0;
        for (std::size_t column = 0; column < 3; ++column)
            sum += (*matrix)[row][column] * rgb[column];
        // The simulated colour must still be one a screen can show.
        seen[row] = std::clamp(sum, 0.0, 1.0);
    }
    return seen;
}

} // namespace

Lab lab(const QColor& color, Vision vision)
{
    return labOf(simulate(linearRgb(color), vision));
}

double colourDifference(const Lab& first, const Lab& second)
{
    const double pow25To7 = std::pow(25.0, 7);
    const double chromaMean = (std::hypot(first.a, first.b) + std::hypot(second.a, second.b)) / 2;
    const double g = 0.5 * (1 - std::sqrt(std::pow(chromaMean, 7) / (std::pow(chromaMean, 7) + pow25To7)));
    const double a1 = (1 + g) * first.a;
    const double a2 = (1 + g) * second.a;
    const double c1 = std::hypot(a1, first.b);
    const double c2 = std::hypot(a2, second.b);
    const double h1 = hue(a1, first.b);
    const double h2 = hue(a2, second.b);

    const double deltaL = second.lightness - first.lightness;
    const double deltaC = c2 - c1;
    double deltaHue = 0;
    if (c1 * c2 != 0) {
        deltaHue = h2 - h1;
        if (deltaHue > 180)
            deltaHue -= 360;
        else if (deltaHue < -180)
            deltaHue += 360;
    }
    const double deltaH = 2 * std::sqrt(c1 * c2) * std::sin(radians(deltaHue / 2));

    const double lightnessMean = (first.lightness + second.lightness) / 2;
    const double chromaPrimeMean = (c1 + c2) / 2;
    // The mean hue goes the short way round the circle; with a grey the other hue stands.
    double hueMean = h1 + h2;
    if (c1 * c2 != 0) {
        if (std::abs(h1 - h2) <= 180)
            hueMean = (h1 + h2) / 2;
        else
            hueMean = h1 + h2 < 360 ? (h1 + h2 + 360) / 2 : (h1 + h2 - 360) / 2;
    }
    const double t = 1 - 0.17 * std::cos(radians(hueMean - 30)) + 0.24 * std::cos(radians(2 * hueMean))
        + 0.32 * std::cos(radians(3 * hueMean + 6)) - 0.20 * std::cos(radians(4 * hueMean - 63));
    const double rotation = 30 * std::exp(-std::pow((hueMean - 275) / 25, 2));
    const double rc = 2 * std::sqrt(std::pow(chromaPrimeMean, 7) / (std::pow(chromaPrimeMean, 7) + pow25To7));
    const double sl = 1 + 0.015 * std::pow(lightnessMean - 50, 2) / std::sqrt(20 + std::pow(lightnessMean - 50, 2));
    const double sc = 1 + 0.045 * chromaPrimeMean;
    const double sh = 1 + 0.015 * chromaPrimeMean * t;
    const double rt = -std::sin(radians(2 * rotation)) * rc;
    return std::sqrt(std::pow(deltaL / sl, 2) + std::pow(deltaC / sc, 2) + std::pow(deltaH / sh, 2)
        + rt * (deltaC / sc) * (deltaH / sh));
}

double contrastRatio(const QColor& first, const QColor& second)
{
    const double one = luminance(linearRgb(first));
    const double other = luminance(linearRgb(second));
    return (std::max(one, other) + 0.05) / (std::min(one, other) + 0.05);
}

} // namespace tessary::test
