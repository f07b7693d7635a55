// Sizes and rectangles, and their text forms.
//
// The text forms are those of the desktop toolkits the mail code came from:
// a size is "{w, h}", a point "{x, y}", a rectangle "{{x, y}, {w, h}}".
// Numbers are printed in their shortest form that reads back exactly ("8",
// "120.5", "0.1", "1e+20"). Reading is lenient, as those toolkits' readers
// are: the numbers are taken in order wherever they stand, braces and commas
// are not checked, and missing numbers are 0 ("{3,4}", "3 4" and "{3, 4"
// are all 3 by 4; "garbage" is 0 by 0).
//
// As Values (to_json/from_json), a size is {"width", "height"}, a point
// {"x", "y"} and a rectangle {"x", "y", "width", "height"}; missing or
// non-numeric members read as 0.
#pragma once

#include <zv/Export.h>

#include <zv/foundation/Value.h>

#include <string>
#include <string_view>

namespace zv {

struct ZV_EXPORT Point {
    double x = 0;
    double y = 0;
    friend bool operator==(const Point&, const Point&) = default;
};

struct ZV_EXPORT Size {
    double width = 0;
    double height = 0;
    friend bool operator==(const Size&, const Size&) = default;
};

struct ZV_EXPORT Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    Point origin() const { return {x, y}; }
    Size size() const { return {width, height}; }
    friend bool operator==(const Rect&, const Rect&) = default;
};

ZV_EXPORT std::string stringFromPoint(Point point);
ZV_EXPORT std::string stringFromSize(Size size);
ZV_EXPORT std::string stringFromRect(const Rect& rect);
ZV_EXPORT Point pointFromString(std::string_view text);
ZV_EXPORT Size sizeFromString(std::string_view text);
ZV_EXPORT Rect rectFromString(std::string_view text);

ZV_EXPORT void to_json(Value& value, const Point& point);
ZV_EXPORT void to_json(Value& value, const Size& size);
ZV_EXPORT void to_json(Value& value, const Rect& rect);
ZV_EXPORT void from_json(const Value& value, Point& point);
ZV_EXPORT void from_json(const Value& value, Size& size);
ZV_EXPORT void from_json(const Value& value, Rect& rect);

}  // namespace zv
