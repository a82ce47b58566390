#include "mrp/per_port_timers.h"

namespace norvad {

namespace {

constexpr uint32_t leaveAllMs = 10'000;
constexpr uint32_t leaveAllJitterMs = 5'000;
constexpr uint32_t periodicMs = 1'000;
constexpr uint32_t periodicJitterMs = 50;
constexpr uint32_t transmitWindowMs = 300;
constexpr uint32_t shortestTransmitDelayMs = 1;
constexpr int64_t logPauseMs = 1'000;

int64_t MillisecondsBetween(const timespec& from, const timespec& to) {
    const int64_t seconds = int64_t{to.tv_sec} - int64_t{from.tv_sec};
    return (seconds * 1'000'000'000 + to.tv_nsec - from.tv_nsec) / 1'000'000;
}

}  // namespace

PerPortTimers::PerPortTimers(TimerService& timers, uint8_t portCount, const TimerCallback& leaveAllExpired,
                             const TimerCallback& periodicExpired)
    : timers(timers) {
    for (uint8_t port = 0; port < portCount; ++port) {
        PortTimers& added = ports.emplace_back();
        added.leaveAll = Every(timers, leaveAllMs, leaveAllJitterMs, leaveAllExpired, port);
        added.periodic = Every(timers, periodicMs, periodicJitterMs, periodicExpired, port);
    }
}

void PerPortTimers::RestartLeaveAll(uint8_t port) {
    timers.restart(ports.at(port).leaveAll.Get());
}

uint32_t TransmitPacing::Request(const timespec& now) {
    requests = {requests[1], requests[2], now};
    const int64_t elapsedMs = MillisecondsBetween(requests.front(), now);
    if (elapsedMs < 0) return transmitWindowMs;  // the clock was stepped back
    if (elapsedMs >= transmitWindowMs) return shortestTransmitDelayMs;
    return transmitWindowMs - static_cast<uint32_t>(elapsedMs);
}

bool LogPause::IsOver(const timespec& now) {
    if (last && MillisecondsBetween(*last, now) < logPauseMs) return false;
    last = now;
    return true;
}

}  // namespace norvad
