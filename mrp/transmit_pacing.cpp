#include "mrp/transmit_pacing.h"

namespace norvad {

namespace {

constexpr uint32_t windowMs = 300;
constexpr uint32_t shortestDelayMs = 1;

int64_t MillisecondsBetween(const timespec& from, const timespec& to) {
    const int64_t seconds = int64_t{to.tv_sec} - int64_t{from.tv_sec};
    return (seconds * 1'000'000'000 + to.tv_nsec - from.tv_nsec) / 1'000'000;
}

}  // namespace

uint32_t TransmitPacing::Request(const timespec& now) {
    requests = {requests[1], requests[2], now};
    const int64_t elapsedMs = MillisecondsBetween(requests.front(), now);
    if (elapsedMs < 0) return windowMs;  // the clock was stepped back
    if (elapsedMs >= windowMs) return shortestDelayMs;
    return windowMs - static_cast<uint32_t>(elapsedMs);
}

}  // namespace norvad
