#pragma once

#include <cstdint>

#include "base/timer_service.h"
#include "tests/support/stepped_clock.h"

namespace norvad::test {

// A clock that only the test moves, and the timers on it.
struct SteppedTime {
    // Lets time pass in steps of a millisecond.
    void RunMs(uint64_t ms) {
        for (uint64_t i = 0; i < ms; ++i) {
            clock.AdvanceMs(1);
            timers.runDue();
        }
    }

    SteppedClock clock;
    TimerService timers{clock};
};

}  // namespace norvad::test
