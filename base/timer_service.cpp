#include "base/timer_service.h"

#include <algorithm>
#include <utility>

#include "base/log.h"

namespace norvad {

namespace {

constexpr int64_t longestWaitMs = 10'000;  // the event loop wakes regularly even with no timers
constexpr int64_t tolerableLatenessMs = 50;

struct Instant {
    uint32_t seconds;
    uint32_t microseconds;
    auto operator<=>(const Instant&) const = default;
};

Instant Now(const Clock& clock) {
    const timespec now = clock.Monotonic();
    return {static_cast<uint32_t>(now.tv_sec), static_cast<uint32_t>(now.tv_nsec / 1000)};
}

Instant ExpiryOf(const Timer& timer) {
    return {timer.expirySeconds, timer.expiryMicroseconds};
}

Instant Later(Instant now, uint64_t delayMs) {
    Instant later{now.seconds + static_cast<uint32_t>(delayMs / 1000),
                  now.microseconds + static_cast<uint32_t>(delayMs % 1000) * 1000};
    if (later.microseconds > 999'999) {
        later.seconds += 1;
        later.microseconds -= 1'000'000;
    }
    return later;
}

// Whole milliseconds from one instant to another; the fraction of a millisecond falls away.
int64_t MillisecondsBetween(Instant from, Instant to) {
    int64_t seconds = int64_t{to.seconds} - from.seconds;
    int64_t microseconds = int64_t{to.microseconds} - from.microseconds;
    if (microseconds < 0) {
        microseconds += 1'000'000;
        seconds -= 1;
    }
    return microseconds / 1000 + 1000 * seconds;
}

}  // namespace

TimerService::TimerService(const Clock& clock) : clock(clock) {}

TimerService::~TimerService() {
    // One by one: what a callback holds may cancel timers of its own when it goes.
    while (!timers.empty()) Remove(timers.begin());
}

Timer* TimerService::addTimer(uint32_t delayMs, TimerCallback callback, uint32_t argument) {
    return addPeriodicTimer(delayMs, 0, 0, std::move(callback), argument);
}

Timer* TimerService::addPeriodicTimer(uint32_t firstDelayMs, uint32_t intervalMs, uint32_t jitterMs,
                                      TimerCallback callback, uint32_t argument) {
    Timer& timer = Append();
    timer.intervalMs = intervalMs;
    timer.jitterMs = jitterMs;
    timer.argument = argument;
    timer.callback = std::move(callback);
    ExpireIn(timer, firstDelayMs);
    return &timer;
}

void TimerService::restart(Timer* timer) {
    if (timer) restartIn(timer, timer->intervalMs);
}

void TimerService::restartIn(Timer* timer, uint32_t delayMs) {
    if (timer && timer->intervalMs != 0) ExpireIn(*timer, delayMs);
}

void TimerService::cancel(Timer* timer) {
    if (!timer) return;
    if (timer == running) {
        runningCanceled = true;
        return;
    }
    const auto found = std::find_if(timers.begin(), timers.end(), [=](const Timer& each) { return &each == timer; });
    if (found != timers.end()) Remove(found);
}

void TimerService::startAll() {
    for (Timer& timer : timers) restart(&timer);
}

uint32_t TimerService::runDue() {
    const Instant now = Now(clock);
    int64_t wait = longestWaitMs;
    bool warn = true;
    for (auto timer = timers.begin(); timer != timers.end();) {
        if (ExpiryOf(*timer) <= now) {
            const int64_t lateMs = MillisecondsBetween(ExpiryOf(*timer), now);
            if (warn && lateMs > tolerableLatenessMs) {
                warn = false;
                log(LogCategory::IOCTL, 0, "[NORVAD TIMER] late by %d ms", static_cast<int>(lateMs));
            }
            const bool canceled = Fire(*timer);
            // The next entry is taken only now, when the callback can cancel it no more.
            if (canceled || timer->intervalMs == 0) {
                Remove(timer++);
                continue;
            }
        }
        wait = std::min(wait, MillisecondsBetween(now, ExpiryOf(*timer)));
        ++timer;
    }
    return static_cast<uint32_t>(std::max(wait, int64_t{1}));
}

Timer& TimerService::Append() {
    if (spares.empty()) return timers.emplace_back();
    timers.splice(timers.end(), spares, spares.begin());
    return timers.back();
}

void TimerService::ExpireIn(Timer& timer, uint64_t delayMs) {
    if (timer.jitterMs != 0) delayMs += random.Below(timer.jitterMs);
    const Instant expiry = Later(Now(clock), delayMs);
    timer.expirySeconds = expiry.seconds;
    timer.expiryMicroseconds = expiry.microseconds;
}

bool TimerService::Fire(Timer& timer) {
    const Instant due = ExpiryOf(timer);
    running = &timer;
    try {
        timer.callback(timer.argument);
    } catch (...) {
        running = nullptr;
        if (std::exchange(runningCanceled, false)) cancel(&timer);
        throw;
    }
    running = nullptr;
    if (std::exchange(runningCanceled, false)) return true;
    // A periodic timer counts from the end of its callback, unless the callback has moved the expiry itself.
    if (ExpiryOf(timer) == due) restart(&timer);
    return false;
}

// The callback goes last: what it holds may come back here when it is destroyed.
void TimerService::Remove(Timers::iterator timer) {
    const TimerCallback callback = std::move(timer->callback);
    spares.splice(spares.end(), timers, timer);
}

}  // namespace norvad
