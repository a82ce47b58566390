#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "base/clock.h"

namespace norvad::station {

inline constexpr uint64_t nsPerMs = 1'000'000;
inline constexpr uint64_t nsPerSecond = 1'000'000'000;

// A due time that never comes.
inline constexpr uint64_t never = std::numeric_limits<uint64_t>::max();

// Nanoseconds of the monotonic clock.
inline uint64_t NowNs(const Clock& clock) {
    const timespec now = clock.Monotonic();
    return static_cast<uint64_t>(now.tv_sec) * nsPerSecond + static_cast<uint64_t>(now.tv_nsec);
}

}  // namespace norvad::station
