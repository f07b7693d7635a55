// Numbers that arrive as JSON (script results, message bodies) read as whole
// numbers.
#pragma once

#include <zv/foundation/Value.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace zv {

// A number as a whole number, truncated toward zero and held within the range
// of int64_t: numbers from a page may be any double, and casting one past the
// range is undefined. NaN and values that are not numbers give 0.
inline std::int64_t wholeNumber(const Value& number) {
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
    if (number.is_number_unsigned()) return number.get<std::uint64_t>() > std::uint64_t(kMax) ? kMax : number.get<std::int64_t>();
    if (number.is_number_integer()) return number.get<std::int64_t>();
    if (!number.is_number_float()) return 0;
    const double value = number.get<double>();
    if (std::isnan(value)) return 0;
    // 2^63 is exact as a double; everything below it in magnitude fits.
    if (value >= 9223372036854775808.0) return kMax;
    if (value < -9223372036854775808.0) return kMin;
    return static_cast<std::int64_t>(value);
}

}  // namespace zv
