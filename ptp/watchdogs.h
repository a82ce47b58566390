#pragma once

#include <cstdint>

namespace norvad {

// Counts traffic checks, one every 2000 ms: how long a master has not been heard, and how long a clock that bids to be
// grandmaster waits for a better one.
class Watchdogs {
public:
    // A switch of the port state: silence and wait begin now. How long nothing was announced is not forgotten.
    void StateSwitched() { syncWatchdog = announceWait = twoChecks; }

    void TimeArrived() { syncWatchdog = twoChecks; }             // a Follow_Up of the master's
    void BestClockAnnounced() { announceWatchdog = twoChecks; }  // the best clock known

    // A check of a device that follows a master.
    void CheckMaster() {
        --syncWatchdog;
        --announceWatchdog;
    }

    // A check of a device that bids to be grandmaster.
    void CheckWait() { --announceWait; }

    // Each after two checks. A check that asks before it is counted itself finds the master silent as the third.
    bool TimeStopped() const { return syncWatchdog < 0; }
    bool AnnouncingStopped() const { return announceWatchdog < 0; }
    bool WaitIsOver() const { return announceWait < 0; }

private:
    static constexpr int32_t twoChecks = 1;  // the second one counts it down below 0

    int32_t syncWatchdog = 0;
    int32_t announceWatchdog = 0;
    int32_t announceWait = 0;
};

}  // namespace norvad
