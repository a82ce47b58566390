#include "base/clock.h"

#include <cerrno>

namespace norvad {

timespec SystemClock::Monotonic() const {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

timeval SystemClock::TimeOfDay() const {
    timeval now{};
    gettimeofday(&now, nullptr);
    return now;
}

void SystemClock::Sleep(uint32_t ms) {
    timespec rest{static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1'000'000};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
    }
}

}  // namespace norvad
