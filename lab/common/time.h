#pragma once

#include <cstdint>
#include <ctime>
#include <limits>

#include "base/clock.h"

namespace norvad::lab {

inline constexpr uint64_t nsPerMs = 1'000'000;
inline constexpr uint64_t nsPerSecond = 1'000'000'000;

// A due time that never comes.
inline constexpr uint64_t never = std::numeric_limits<uint64_t>::max();

constexpr int64_t Nanoseconds(const timespec& time) {
    return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// Nanoseconds of the monotonic clock.
inline uint64_t NowNs(const Clock& clock) {
    return static_cast<uint64_t>(Nanoseconds(clock.Monotonic()));
}

// The reference of the lab is the monotonic clock, which never steps; the kernel's software stamps are of the system
// clock. The distance between the two is measured once and anew only when somebody has stepped the system clock,
// so a mapped stamp is as exact as the stamp itself.
class ReferenceTime {
public:
    ReferenceTime();

    static int64_t NowNs();                // of the reference
    static int64_t SystemNs();             // of the system clock
    int64_t FromSystem(int64_t systemNs);  // a stamp of the system clock
    int64_t ToSystem(int64_t referenceNs) const { return referenceNs + distanceNs; }

private:
    int64_t distanceNs;  // system clock less reference
};

}  // namespace norvad::lab
