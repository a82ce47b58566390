#pragma once

#include <cstdint>

#include "ptp/ptp_instance.h"
#include "ptp/ptp_messages.h"
#include "ptp/slave_clock.h"
#include "ptp/sync_relay.h"
#include "ptp/watchdogs.h"

namespace norvad {

// Takes the master's time in and hands it on: to the own clock and to the neighbours behind the other ports.
class SyncReceiver {
public:
    SyncReceiver(PTPInstance& ptp, SlaveClock& slave, Watchdogs& watchdogs)
        : ptp(ptp), slave(slave), watchdogs(watchdogs), relay(ptp) {}

    void HandleSync(uint8_t port, const Framed<SyncMessage>& frame);
    void HandleFollowUp(uint8_t port, const Framed<FollowUpMessage>& frame);

    // The rate of the grandmaster's clock over ours, minus 1.
    double CumulativeRateRatioOffset() const { return cumulativeRateRatioOffset; }

private:
    void FollowMaster(uint8_t port, const Framed<FollowUpMessage>& frame);

    PTPInstance& ptp;
    SlaveClock& slave;
    Watchdogs& watchdogs;
    SyncRelay relay;
    double cumulativeRateRatioOffset = 0;
};

}  // namespace norvad
