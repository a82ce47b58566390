#pragma once

#include <array>
#include <cstdint>
#include <ctime>
#include <optional>
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

// Spaces out the transmit opportunities of one port: never more than three in any 300 ms, a lone one after 1 ms.
class TransmitPacing {
public:
    // Notes a request made now and returns how long its transmission waits, in ms, 1..300.
    uint32_t Request(const timespec& now);

private:
    std::array<timespec, 3> requests = {};  // the last ones, oldest first
};

// Lets a line that could be repeated at any rate through once a second at most.
class LogPause {
public:
    // Whether a line may be written now; then it counts as written.
    bool IsOver(const timespec& now);

private:
    std::optional<timespec> last;
};

}  // namespace norvad
