#pragma once

#include <cstdint>

#include "ptp/ptp_instance.h"
#include "ptp/ptp_messages.h"
#include "ptp/slave_clock.h"
#include "ptp/token_bucket.h"
#include "ptp/watchdogs.h"

namespace norvad {

class TimerService;

// As grandmaster: sends the time of the own clock, a Sync and what it left at in a Follow_Up, every 125 ms.
class SyncMaster {
public:
    explicit SyncMaster(PTPInstance& ptp) : ptp(ptp) {}

    void PTPSyncAction();

private:
    void SendTime(uint8_t port);

    PTPInstance& ptp;
    uint16_t sequenceId = 0;
};

// Hands a master's Sync and Follow_Up on to the other ports as this clock's own, with the time that they took to
// get through in the correction.
class SyncRelay {
public:
    explicit SyncRelay(PTPInstance& ptp) : ptp(ptp) {}

    void RelaySync(uint8_t fromPort, const Framed<SyncMessage>& received);

    // An originTime of 0 is refused, with a message for each port.
    void RelayFollowUp(uint8_t fromPort, const Framed<FollowUpMessage>& received, uint64_t originTime,
                       int32_t cumulativeScaledRateOffset);

private:
    int64_t CorrectedBy(int64_t correctionField, uint8_t fromPort, uint8_t toPort) const;

    PTPInstance& ptp;
};

// Takes the master's time in and hands it on: to the own clock and to the neighbours behind the other ports. A Sync
// keeps the daemon waiting for time stamps for some milliseconds, so those beyond 64 a second, after a burst of 64, are
// dropped.
class SyncReceiver {
public:
    // The timers tell the time.
    SyncReceiver(PTPInstance& ptp, SlaveClock& slave, Watchdogs& watchdogs, const TimerService& timers)
        : ptp(ptp), slave(slave), watchdogs(watchdogs), timers(timers), relay(ptp) {}

    void HandleSync(uint8_t port, const Framed<SyncMessage>& frame);
    void HandleFollowUp(uint8_t port, const Framed<FollowUpMessage>& frame);

    // The rate of the grandmaster's clock over ours, minus 1.
    double CumulativeRateRatioOffset() const { return cumulativeRateRatioOffset; }

private:
    void FollowMaster(uint8_t port, const Framed<FollowUpMessage>& frame);

    static constexpr uint32_t syncsPerSecond = 64;
    static constexpr uint32_t syncBurst = 64;

    PTPInstance& ptp;
    SlaveClock& slave;
    Watchdogs& watchdogs;
    const TimerService& timers;
    TokenBucket allowed{syncsPerSecond, syncBurst};
    SyncRelay relay;
    double cumulativeRateRatioOffset = 0;
};

}  // namespace norvad
