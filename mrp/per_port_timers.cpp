#include "mrp/per_port_timers.h"

namespace norvad {

namespace {

constexpr uint32_t leaveAllMs = 10'000;
constexpr uint32_t leaveAllJitterMs = 5'000;
constexpr uint32_t periodicMs = 1'000;
constexpr uint32_t periodicJitterMs = 50;

}  // namespace

PerPortTimers::PerPortTimers(TimerService& timers, uint8_t portCount, const TimerCallback& leaveAllExpired,
                             const TimerCallback& periodicExpired)
    : timers(timers) {
    for (uint8_t port = 0; port < portCount; ++port) {
        leaveAll.push_back(timers.addPeriodicTimer(leaveAllMs, leaveAllMs, leaveAllJitterMs, leaveAllExpired, port));
        periodic.push_back(timers.addPeriodicTimer(periodicMs, periodicMs, periodicJitterMs, periodicExpired, port));
    }
}

PerPortTimers::~PerPortTimers() {
    for (Timer* timer : leaveAll) timers.cancel(timer);
    for (Timer* timer : periodic) timers.cancel(timer);
}

void PerPortTimers::RestartLeaveAll(uint8_t port) {
    timers.restart(leaveAll.at(port));
}

}  // namespace norvad
