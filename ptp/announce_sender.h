#pragma once

#include <cstdint>

#include "ptp/ptp_instance.h"

namespace norvad {

// Announces the local clock while it is grandmaster or bids to be.
class AnnounceSender {
public:
    explicit AnnounceSender(PTPInstance& ptp) : ptp(ptp) {}

    void PTPAnnounceAction();

private:
    PTPInstance& ptp;
    uint16_t sequenceId = 0;
};

}  // namespace norvad
