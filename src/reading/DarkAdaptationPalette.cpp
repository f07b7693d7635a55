#include "DarkAdaptationPalette.h"

#include <algorithm>
#include <cmath>

namespace zv::reading {

namespace {

struct Lab {
    double L, a, b;
};

double toLinear(double c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); }
double toGamma(double c) { return c <= 0.0031308 ? 12.92 * c : 1.055 * std::pow(c, 1 / 2.4) - 0.055; }

Lab oklab(const Color& color) {
    double r = toLinear(color.r), g = toLinear(color.g), b = toLinear(color.b);
    double l = std::cbrt(0.4122214708 * r + 0.5363325363 * g + 0.0514459929 * b);
    double m = std::cbrt(0.2119034982 * r + 0.6806995451 * g + 0.1073969566 * b);
    double s = std::cbrt(0.0883024619 * r + 0.2817188376 * g + 0.6299787005 * b);
    return {0.2104542553 * l + 0.7936177850 * m - 0.0040720468 * s,
            1.9779984951 * l - 2.4285922050 * m + 0.4505937099 * s,
            0.0259040371 * l + 0.7827717662 * m - 0.8086757660 * s};
}

// Linear RGB, possibly outside 0...1.
void linearRGB(const Lab& lab, double rgb[3]) {
    double l = lab.L + 0.3963377774 * lab.a + 0.2158037573 * lab.b;
    double m = lab.L - 0.1055613458 * lab.a - 0.0638541728 * lab.b;
    double s = lab.L - 0.0894841775 * lab.a - 1.2914855480 * lab.b;
    l = l * l * l, m = m * m * m, s = s * s * s;
    rgb[0] = 4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s;
    rgb[1] = -1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s;
    rgb[2] = -0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s;
}

bool inGamut(const Lab& lab) {
    double rgb[3];
    linearRGB(lab, rgb);
    return std::all_of(rgb, rgb + 3, [](double c) { return c >= -1e-6 && c <= 1 + 1e-6; });
}

// The colour at lightness L with the hue of `lab` and as much of its chroma
// (times `chromaKept`) as sRGB can show there.
Color inGamutColor(Lab lab, double L, double chromaKept) {
    lab.L = std::clamp(L, 0.0, 1.0);
    lab.a *= chromaKept, lab.b *= chromaKept;
    if (!inGamut(lab)) {
        double low = 0, high = 1;
        for (int i = 0; i < 24; ++i) {
            double mid = (low + high) / 2;
            (inGamut({lab.L, lab.a * mid, lab.b * mid}) ? low : high) = mid;
        }
        lab.a *= low, lab.b *= low;
    }
    double rgb[3];
    linearRGB(lab, rgb);
    return {toGamma(std::clamp(rgb[0], 0.0, 1.0)), toGamma(std::clamp(rgb[1], 0.0, 1.0)),
            toGamma(std::clamp(rgb[2], 0.0, 1.0)), 1};
}

// The page's grey (#1e1e1e) and the band dark backgrounds are kept in.
constexpr double kDarkestBackground = 0.2350;
constexpr double kBackgroundBand = 0.3;
constexpr double kBackgroundChroma = 0.8;
// Black text becomes a soft white (#e8e8e8), never a glaring one.
constexpr double kLightestText = 0.93;
constexpr double kTextBand = 0.33;

}  // namespace

double relativeLuminance(const Color& color) {
    return 0.2126 * toLinear(color.r) + 0.7152 * toLinear(color.g) + 0.0722 * toLinear(color.b);
}

double contrastRatio(const Color& first, const Color& second) {
    double a = relativeLuminance(first), b = relativeLuminance(second);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

double perceivedLightness(const Color& color) { return oklab(color).L; }

Color composite(const Color& top, const Color& bottom) {
    double a = std::clamp(top.a, 0.0, 1.0);
    return {top.r * a + bottom.r * (1 - a), top.g * a + bottom.g * (1 - a), top.b * a + bottom.b * (1 - a), 1};
}

Color rounded(const Color& color) {
    auto byte = [](double c) { return std::round(std::clamp(c, 0.0, 1.0) * 255) / 255; };
    return {byte(color.r), byte(color.g), byte(color.b), byte(color.a)};
}

Color darkBackground(const Color& original) {
    Lab lab = oklab(original);
    double inverted = kDarkestBackground + kBackgroundBand * (1 - lab.L);
    return rounded(inGamutColor(lab, std::min(lab.L, inverted), kBackgroundChroma));
}

Color darkLine(const Color& original) {
    Lab lab = oklab(original);
    return rounded(inGamutColor(lab, kDarkestBackground + kBackgroundBand * (1 - lab.L), kBackgroundChroma));
}

namespace {

// `lab` moved along its own lightness, from `start`, until its contrast
// against `backdrop` reaches the floor.
Color heldToFloor(const Lab& lab, double start, const Color& backdrop, double minimumContrast) {
    // The search aims a little high, so rounding to 8 bits cannot take the
    // contrast under the floor.
    double target = minimumContrast + 0.05;
    auto passes = [&](double L) { return contrastRatio(rounded(inGamutColor(lab, L, 1)), backdrop) >= target; };
    if (passes(start)) return rounded(inGamutColor(lab, start, 1));
    double backdropL = oklab(backdrop).L;
    // Lighter when the backdrop is dark, darker when it is light; the other
    // way only when that end of the scale cannot reach the floor.
    bool lighter = backdropL < 0.6 ? passes(1) : !passes(0);
    double bound = lighter ? 1 : 0;
    if (!passes(bound)) return relativeLuminance(backdrop) > 0.18 ? Color{0, 0, 0, 1} : Color{1, 1, 1, 1};
    double failing = start, passing = bound;
    for (int i = 0; i < 20; ++i) {
        double mid = (failing + passing) / 2;
        (passes(mid) ? passing : failing) = mid;
    }
    return rounded(inGamutColor(lab, passing, 1));
}

}  // namespace

Color darkText(const Color& original, const Color& originalBackdrop, const Color& adaptedBackdrop,
               double minimumContrast) {
    Lab lab = oklab(original);
    bool darkOnLight = lab.L < oklab(originalBackdrop).L;
    double start = darkOnLight ? kLightestText - kTextBand * lab.L : lab.L;
    return heldToFloor(lab, start, adaptedBackdrop, minimumContrast);
}

Color legibleText(const Color& original, const Color& backdrop, double minimumContrast) {
    Lab lab = oklab(original);
    return heldToFloor(lab, lab.L, backdrop, minimumContrast);
}

}  // namespace zv::reading
