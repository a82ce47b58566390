#pragma once

#include <cstdint>

#include "ptp/ptp_instance.h"

namespace norvad {

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

}  // namespace norvad
