// A colour: red, green, blue and alpha, each from 0 to 1, in a calibrated
// (device-independent) RGB space.
#pragma once

namespace zv {

struct Color {
    double r = 0;
    double g = 0;
    double b = 0;
    double a = 1;

    friend bool operator==(const Color&, const Color&) = default;
};

}  // namespace zv
