#pragma once

#include <cstdint>

#include "base/clock.h"

namespace norvad::ctl {

inline uint64_t MonotonicMs(const norvad::Clock& clock) {
    const timespec now = clock.Monotonic();
    return static_cast<uint64_t>(now.tv_sec) * 1000 + static_cast<uint64_t>(now.tv_nsec) / 1'000'000;
}

inline uint64_t Milliseconds(const timeval& time) {
    return static_cast<uint64_t>(time.tv_sec) * 1000 + static_cast<uint64_t>(time.tv_usec) / 1000;
}

}  // namespace norvad::ctl
