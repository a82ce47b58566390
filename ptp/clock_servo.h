#pragma once

#include <cstdint>

#include "switch/i4_ptp.h"

namespace norvad {

// A proportional-integral servo that steers the hardware clock towards the master.
class ClockServo {
public:
    explicit ClockServo(I4PTP& clock) : clock(clock) {}

    // One offset from the master, in ns; positive when the own clock is behind.
    void Steer(int32_t offsetNs);

    // Steps the clock by the offset in ns and starts steering from scratch; the running means live on.
    void ResetClock(int64_t offsetNs);

    int32_t FilteredOffset() const { return filteredOffset; }  // ns, running mean
    int32_t FilteredSquare() const { return filteredSquare; }  // running mean of the square, wraps like 32 bits do

private:
    void Filter(int32_t offsetNs);
    int32_t IntegralTerm(int32_t offsetNs);

    I4PTP& clock;
    int32_t filteredOffset = 0;
    int32_t filteredSquare = 0;
    int64_t integral = 0;
};

}  // namespace norvad
