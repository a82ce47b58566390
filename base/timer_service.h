#pragma once

#include <boost/function.hpp>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <list>
#include <utility>

#include "base/clock.h"
#include "base/random_source.h"

namespace norvad {

// Gets the timer's 32-bit argument, which callers use to tell ports apart.
using TimerCallback = boost::function<void(uint32_t)>;

// One running timer; a pointer to it is the handle that callers keep. A callback may change the expiry
// or the interval of its own timer and is heeded.
struct Timer {
    uint32_t expirySeconds = 0;       // of the monotonic clock
    uint32_t expiryMicroseconds = 0;  // 0..999999
    uint32_t intervalMs = 0;          // 0: one-shot
    uint32_t jitterMs = 0;            // each arming adds a random delay in [0, jitterMs); 0: none
    uint32_t argument = 0;
    TimerCallback callback;
};

// One-shot and periodic timers on a monotonic clock, run by the event loop. Callbacks may create,
// restart and cancel any timer, their own included, while runDue is under way.
class TimerService {
public:
    explicit TimerService(const Clock& clock);
    TimerService(const TimerService&) = delete;
    TimerService& operator=(const TimerService&) = delete;
    ~TimerService();

    // A one-shot timer; its handle dies when it fires. An empty callback raises boost::bad_function_call in runDue.
    Timer* addTimer(uint32_t delayMs, TimerCallback callback, uint32_t argument);
    Timer* addPeriodicTimer(uint32_t firstDelayMs, uint32_t intervalMs, uint32_t jitterMs, TimerCallback callback,
                            uint32_t argument);

    void restart(Timer* timer);                      // due in one interval from now; not for one-shots
    void restartIn(Timer* timer, uint32_t delayMs);  // due in delayMs plus jitter; not for one-shots
    void cancel(Timer* timer);                       // null is fine; the handle is invalid afterwards

    void startAll();    // restarts every timer; called once before the first wait
    uint32_t runDue();  // fires what is due; returns the wait for poll in ms, 1..10000

    size_t Running() const { return timers.size(); }  // how many do

    // The clock that the timers run on, for callers that measure intervals.
    timespec Monotonic() const { return clock.Monotonic(); }

    RandomSource& Random() { return random; }  // of all jitter

private:
    using Timers = std::list<Timer>;  // in insertion order

    Timer& Append();
    void ExpireIn(Timer& timer, uint64_t delayMs);  // plus the timer's jitter
    bool Fire(Timer& timer);                        // true when the callback has canceled its own timer
    void Remove(Timers::iterator timer);

    const Clock& clock;
    RandomSource random;
    Timers timers;
    Timers spares;                 // records for reuse, so that a timer for every frame costs no allocation
    Timer* running = nullptr;      // the timer whose callback is under way
    bool runningCanceled = false;  // it stays in the list until its callback has returned
};

// Owns a running timer: cancels it when it goes or is given another.
class ScopedTimer {
public:
    ScopedTimer() = default;
    ScopedTimer(TimerService& service, Timer* timer) : service(&service), timer(timer) {}
    ScopedTimer(ScopedTimer&& other) noexcept : service(other.service), timer(std::exchange(other.timer, nullptr)) {}
    ScopedTimer& operator=(ScopedTimer&& other) noexcept {
        std::swap(service, other.service);
        std::swap(timer, other.timer);
        other.Cancel();
        return *this;
    }
    ~ScopedTimer() { Cancel(); }

    Timer* Get() const { return timer; }  // null while none runs
    bool IsRunning() const { return timer != nullptr; }

    void Cancel() {
        if (timer) service->cancel(std::exchange(timer, nullptr));
    }

    // A one-shot's callback says so: its handle dies when it fires.
    void Fired() { timer = nullptr; }

private:
    TimerService* service = nullptr;
    Timer* timer = nullptr;
};

// A periodic timer whose first interval begins now.
inline ScopedTimer Every(TimerService& timers, uint32_t intervalMs, uint32_t jitterMs, TimerCallback callback,
                         uint32_t argument = 0) {
    return {timers, timers.addPeriodicTimer(intervalMs, intervalMs, jitterMs, std::move(callback), argument)};
}

}  // namespace norvad
