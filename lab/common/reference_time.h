#pragma once

#include <cstdint>
#include <ctime>

namespace norvad::board {

// The board's reference is the monotonic clock, which never steps; the kernel's software stamps are of the system
// clock. The distance between the two is measured once and anew only when somebody has stepped the system clock,
// so a mapped stamp is as exact as the stamp itself.
class ReferenceTime {
public:
    ReferenceTime();

    static int64_t NowNs();                // of the reference
    static int64_t SystemNs();             // of the system clock
    int64_t FromSystem(int64_t systemNs);  // a stamp of the system clock

    // Nanoseconds of a time.
    static constexpr int64_t Ns(const timespec& time) { return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec; }

private:
    int64_t distanceNs;  // system clock less reference
};

}  // namespace norvad::board
