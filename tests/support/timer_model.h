#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "base/random_source.h"
#include "tests/support/stepped_clock.h"

namespace norvad::test {

// The timers written as one would tell them: one list in the order of creation, times in microseconds, every walk over
// all of it. A timer is known by its place in the list, which it keeps when it has gone.
class TimerModel {
public:
    using Callback = std::function<void(uint32_t)>;

    // Adds what it logs to trace.
    TimerModel(const SteppedClock& clock, std::string& trace) : clock(clock), trace(trace) {}

    // With intervalMs 0 it fires once.
    size_t Add(uint32_t firstDelayMs, uint32_t intervalMs, uint32_t jitterMs, Callback callback, uint32_t argument) {
        entries.push_back({0, intervalMs, jitterMs, argument, std::move(callback), false});
        ExpireIn(entries.back(), firstDelayMs);
        return entries.size() - 1;
    }
    void Restart(size_t timer) {
        if (entries[timer].intervalMs != 0) ExpireIn(entries[timer], entries[timer].intervalMs);
    }
    void RestartIn(size_t timer, uint32_t delayMs) {
        if (entries[timer].intervalMs != 0) ExpireIn(entries[timer], delayMs);
    }
    void Cancel(size_t timer) { entries[timer].gone = true; }
    void StartAll() {
        for (size_t timer = 0; timer < entries.size(); ++timer) {
            if (IsRunning(timer)) Restart(timer);
        }
    }

    // Returns the wait in ms.
    uint32_t RunDue() {
        const int64_t now = NowUs();
        int64_t wait = 10'000;
        bool mayWarn = true;
        for (size_t timer = 0; timer < entries.size(); ++timer) {  // callbacks make the list longer
            if (entries[timer].gone) continue;
            if (entries[timer].expiryUs <= now) {
                const int64_t lateMs = (now - entries[timer].expiryUs) / 1'000;
                if (lateMs >= 51 && mayWarn) {
                    mayWarn = false;
                    trace += "[NORVAD TIMER] late by " + std::to_string(lateMs) + " ms\n";
                }
                const int64_t before = entries[timer].expiryUs;
                const Callback callback = entries[timer].callback;
                callback(entries[timer].argument);
                if (entries[timer].intervalMs == 0) entries[timer].gone = true;
                if (entries[timer].gone) continue;
                if (entries[timer].expiryUs == before) Restart(timer);
            }
            wait = std::min(wait, (entries[timer].expiryUs - now) / 1'000);
        }
        return static_cast<uint32_t>(std::max<int64_t>(wait, 1));
    }

    bool IsRunning(size_t timer) const { return !entries[timer].gone; }
    int64_t ExpiryUs(size_t timer) const { return entries[timer].expiryUs; }
    void SetExpiryUs(size_t timer, int64_t expiryUs) { entries[timer].expiryUs = expiryUs; }
    void SetIntervalMs(size_t timer, uint32_t intervalMs) { entries[timer].intervalMs = intervalMs; }

    RandomSource random;  // of all jitter

private:
    struct Entry {
        int64_t expiryUs;
        uint32_t intervalMs;
        uint32_t jitterMs;
        uint32_t argument;
        Callback callback;
        bool gone;
    };

    int64_t NowUs() const { return static_cast<int64_t>(clock.Ns() / 1'000); }
    void ExpireIn(Entry& entry, int64_t delayMs) {
        if (entry.jitterMs != 0) delayMs += random.Below(entry.jitterMs);
        entry.expiryUs = NowUs() + delayMs * 1'000;
    }

    const SteppedClock& clock;
    std::string& trace;
    std::vector<Entry> entries;
};

}  // namespace norvad::test
