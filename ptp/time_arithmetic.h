#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace norvad {

// Times and time stamps are 64-bit nanoseconds that wrap around. The log shows them by their halves.
constexpr uint32_t High(uint64_t value) {
    return static_cast<uint32_t>(value >> 32);
}
constexpr uint32_t Low(uint64_t value) {
    return static_cast<uint32_t>(value);
}

// The integer that value truncates to; the nearest end of the range beyond it, and 0 for what is no number.
template <typename Integer>
Integer TruncateTo(double value) {
    if (std::isnan(value)) return 0;
    // The lowest value is a power of two and so exact as a double; its negative is the first one too large.
    constexpr auto lowest = static_cast<double>(std::numeric_limits<Integer>::min());
    if (value <= lowest) return std::numeric_limits<Integer>::min();
    if (value >= -lowest) return std::numeric_limits<Integer>::max();
    return static_cast<Integer>(value);
}

}  // namespace norvad
