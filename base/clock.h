#pragma once

#include <sys/time.h>

#include <cstdint>
#include <ctime>

namespace norvad {

// Where the daemon gets its time. Whatever waits or stamps asks here.
class Clock {
public:
    virtual ~Clock() = default;
    virtual timespec Monotonic() const = 0;  // never steps back; for timers
    virtual timeval TimeOfDay() const = 0;   // may jump; for log lines, deadlines of queues and seeding
    virtual void Sleep(uint32_t ms) = 0;     // a stepped clock moves on at once
};

// The kernel's clocks.
class SystemClock final : public Clock {
public:
    timespec Monotonic() const override;
    timeval TimeOfDay() const override;
    void Sleep(uint32_t ms) override;
};

}  // namespace norvad
