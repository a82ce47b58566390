#pragma once

#include <cstdint>

#include "ptp/ptp_instance.h"
#include "ptp/ptp_messages.h"

namespace norvad {

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

}  // namespace norvad
