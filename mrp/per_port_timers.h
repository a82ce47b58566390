#pragma once

#include <cstdint>
#include <vector>

#include "base/timer_service.h"

namespace norvad {

// The leave-all and the periodic timer of every port of one participant, running as long as this object.
class PerPortTimers {
public:
    // The callbacks get the port.
    PerPortTimers(TimerService& timers, uint8_t portCount, const TimerCallback& leaveAllExpired,
                  const TimerCallback& periodicExpired);

    // A whole interval, with a new jitter, from now on. A port beyond the list throws std::out_of_range.
    void RestartLeaveAll(uint8_t port);

private:
    struct PortTimers {
        ScopedTimer leaveAll;
        ScopedTimer periodic;
    };

    TimerService& timers;
    std::vector<PortTimers> ports;
};

}  // namespace norvad
