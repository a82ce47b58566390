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
        PortTimers& added = ports.emplace_back();
        added.leaveAll = {timers,
                          timers.addPeriodicTimer(leaveAllMs, leaveAllMs, leaveAllJitterMs, leaveAllExpired, port)};
        added.periodic = {timers,
                          timers.addPeriodicTimer(periodicMs, periodicMs, periodicJitterMs, periodicExpired, port)};
    }
}

void PerPortTimers::RestartLeaveAll(uint8_t port) {
    timers.restart(ports.at(port).leaveAll.Get());
}

}  // namespace norvad
