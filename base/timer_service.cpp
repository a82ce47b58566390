#include "base/timer_service.h"

#include <algorithm>
#include <utility>

#include "base/log.h"

namespace norvad {

namespace {

constexpr int64_t longestWaitMs = 10'000;  // the event loop wakes regularly even with no timers
constexpr int64_t tolerableLatenessMs = 50;

constexpr int64_t usPerMs = 1'000;
constexpr int64_t usPerSecond = 1'000'000;

int64_t NowUs(const Clock& clock) {
    const timespec now = clock.Monotonic();
    return int64_t{now.tv_sec} * usPerSecond + now.tv_nsec / 1000;
}

int64_t ExpiryUs(const Timer& timer) {
    return int64_t{timer.expirySeconds} * usPerSecond + timer.expiryMicroseconds;
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

// In each round of the event loop all timers pass by here, so a pending one costs no more than a comparison.
uint32_t TimerService::runDue() {
    const int64_t now = NowUs(clock);
    int64_t next = now + longestWaitMs * usPerMs;
    bool warn = true;
    for (auto timer = timers.begin(); timer != timers.end();) {
        if (ExpiryUs(*timer) <= now) {
            const int64_t lateMs = (now - ExpiryUs(*timer)) / usPerMs;
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
        next = std::min(next, ExpiryUs(*timer));
        ++timer;
    }
    // Whole milliseconds; the fraction of one falls away.
    return static_cast<uint32_t>(std::max((next - now) / usPerMs, int64_t{1}));
}

Timer& TimerService::Append() {
    if (spares.empty()) return timers.emplace_back();
    timers.splice(timers.end(), spares, spares.begin());
    return timers.back();
}

void TimerService::ExpireIn(Timer& timer, uint64_t delayMs) {
    if (timer.jitterMs != 0) delayMs += random.Below(timer.jitterMs);
    const int64_t expiry = NowUs(clock) + static_cast<int64_t>(delayMs) * usPerMs;
    timer.expirySeconds = static_cast<uint32_t>(expiry / usPerSecond);
    timer.expiryMicroseconds = static_cast<uint32_t>(expiry % usPerSecond);
}

bool TimerService::Fire(Timer& timer) {
    const int64_t due = ExpiryUs(timer);
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
    if (ExpiryUs(timer) == due) restart(&timer);
    return false;
}

// The callback goes last: what it holds may come back here when it is destroyed.
void TimerService::Remove(Timers::iterator timer) {
    const TimerCallback callback = std::move(timer->callback);
    spares.splice(spares.end(), timers, timer);
}

}  // namespace norvad
