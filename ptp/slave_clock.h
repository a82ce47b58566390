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

// One comparison with the master.
struct MasterTime {
    int64_t offset;            // ns from the own clock to the master's
    uint64_t originTime;       // of the Sync by the master's clock, corrected up to our neighbour
    uint64_t syncReceiveTime;  // of the Sync, the hardware's stamp
};

// The own clock while it follows a master: steered when it is near, stepped when it is far off twice in a row.
class SlaveClock {
public:
    explicit SlaveClock(ClockServo& servo) : servo(servo) {}

    void Follow(const MasterTime& master);

    // A switch of the port state: the first large offset now steps the clock.
    void StateSwitched() { bigOffsetCount = 2; }

private:
    void TakeBigOffset(const MasterTime& master);
    void CountInSync(int64_t offset);

    ClockServo& servo;
    int32_t bigOffsetCount = 0;  // in a row
    int32_t inSyncCount = 0;     // in a row; stops behind the one that acquires
};

}  // namespace norvad
