#pragma once

#include <QColor>

// Colour science for tests that judge whether colours can be told apart: sRGB to CIELAB,
// the CIEDE2000 difference, WCAG contrast, and dichromat simulation.
namespace tessary::test {

struct Lab {
    double lightness = 0;
    double a = 0;
    double b = 0;
};

enum class Vision { normal, protanopia, deuteranopia, tritanopia };

// CIELAB under D65, the white point of sRGB, of the colour as seen with the given vision
// (a full dichromacy simulated in linear RGB).
Lab lab(const QColor& color, Vision vision = Vision::normal);
// CIEDE2000 with the parametric factors at 1.
double colourDifference(const Lab& first, const Lab& second);
// WCAG 2 contrast ratio, from 1 (the same luminance) to 21 (black on white).
double contrastRatio(const QColor& first, const QColor& second);

} // namespace tessary::test
