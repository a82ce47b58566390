#pragma once

#include <cstdint>

#include "base/clock.h"

namespace norvad::test {

// A clock that stands still until it is told to move.
class SteppedClock final : public Clock {
public:
    explicit SteppedClock(uint64_t startNs = 1'000'000'000'000) : nowNs(startNs) {}

    timespec Monotonic() const override {
        return {static_cast<time_t>(nowNs / 1'000'000'000), static_cast<long>(nowNs % 1'000'000'000)};
    }
    timeval TimeOfDay() const override {
        return {static_cast<time_t>(nowNs / 1'000'000'000), static_cast<suseconds_t>(nowNs % 1'000'000'000 / 1'000)};
    }
    void Sleep(uint32_t ms) override {
        sleptMs += ms;
        AdvanceMs(ms);
    }

    void AdvanceMs(uint64_t ms) { nowNs += ms * 1'000'000; }
    void AdvanceUs(uint64_t us) { nowNs += us * 1'000; }
    void AdvanceNs(uint64_t ns) { nowNs += ns; }
    uint64_t Ns() const { return nowNs; }
    uint64_t SleptMs() const { return sleptMs; }

private:
    uint64_t nowNs;
    uint64_t sleptMs = 0;
};

}  // namespace norvad::test
