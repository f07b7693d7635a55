#include <zv/foundation/Geometry.h>

#include <array>
#include <charconv>

namespace zv {

namespace {

// Shortest text that reads back to the same double; "-0" prints as "0".
std::string number(double value) {
    if (value == 0) value = 0;
    char buffer[32];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

bool startsNumber(char c) { return (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+'; }

// The first N numbers of `text` in order, wherever they stand; the rest 0.
template <size_t N>
std::array<double, N> scanNumbers(std::string_view text) {
    std::array<double, N> numbers{};
    size_t found = 0;
    const char* p = text.data();
    const char* end = p + text.size();
    while (p < end && found < N) {
        if (!startsNumber(*p)) {
            ++p;
            continue;
        }
        // from_chars takes no "+", and reads "inf" and "nan", which only start
        // at letters and so never reach it.
        const char* start = *p == '+' ? p + 1 : p;
        double value = 0;
        auto result = std::from_chars(start, end, value);
        if (result.ec == std::errc() || result.ec == std::errc::result_out_of_range) {
            numbers[found++] = result.ec == std::errc() ? value : 0;
            p = result.ptr;
        } else {
            ++p;
        }
    }
    return numbers;
}

double member(const Value& value, const char* key) {
    if (!value.is_object()) return 0;
    auto it = value.find(key);
    return it != value.end() && it->is_number() ? it->get<double>() : 0;
}

}  // namespace

std::string stringFromPoint(Point point) { return "{" + number(point.x) + ", " + number(point.y) + "}"; }

std::string stringFromSize(Size size) { return "{" + number(size.width) + ", " + number(size.height) + "}"; }

std::string stringFromRect(const Rect& rect) {
    return "{" + stringFromPoint(rect.origin()) + ", " + stringFromSize(rect.size()) + "}";
}

Point pointFromString(std::string_view text) {
    auto n = scanNumbers<2>(text);
    return {n[0], n[1]};
}

Size sizeFromString(std::string_view text) {
    auto n = scanNumbers<2>(text);
    return {n[0], n[1]};
}

Rect rectFromString(std::string_view text) {
    auto n = scanNumbers<4>(text);
    return {n[0], n[1], n[2], n[3]};
}

void to_json(Value& value, const Point& point) { value = {{"x", point.x}, {"y", point.y}}; }
void to_json(Value& value, const Size& size) { value = {{"width", size.width}, {"height", size.height}}; }
void to_json(Value& value, const Rect& rect) {
    value = {{"x", rect.x}, {"y", rect.y}, {"width", rect.width}, {"height", rect.height}};
}

void from_json(const Value& value, Point& point) { point = {member(value, "x"), member(value, "y")}; }
void from_json(const Value& value, Size& size) { size = {member(value, "width"), member(value, "height")}; }
void from_json(const Value& value, Rect& rect) {
    rect = {member(value, "x"), member(value, "y"), member(value, "width"), member(value, "height")};
}

}  // namespace zv
