#include "lab/common/time.h"

#include <cstdlib>

namespace norvad::lab {

namespace {

// More than two readings a preemption apart differ by, less than anyone steps a clock on purpose.
constexpr int64_t stepNs = 100'000'000;

int64_t Read(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return Nanoseconds(now);
}

}  // namespace

ReferenceTime::ReferenceTime() : distanceNs(SystemNs() - NowNs()) {}

int64_t ReferenceTime::NowNs() {
    return Read(CLOCK_MONOTONIC);
}

int64_t ReferenceTime::SystemNs() {
    return Read(CLOCK_REALTIME);
}

int64_t ReferenceTime::FromSystem(int64_t systemNs) {
    const int64_t measuredNs = SystemNs() - NowNs();
    if (std::abs(measuredNs - distanceNs) > stepNs) distanceNs = measuredNs;
    return systemNs - distanceNs;
}

}  // namespace norvad::lab
