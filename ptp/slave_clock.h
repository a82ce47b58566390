#pragma once

#include <cstdint>

#include "ptp/clock_servo.h"

namespace norvad {

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
