#pragma once

#include "ptp/clock_identity.h"
#include "ptp/ptp_messages.h"
#include "ptp/ptp_settings.h"

namespace norvad {

// The clock of this device as it is announced when it is grandmaster.
struct LocalClock {
    ClockDataset dataset;
    ClockIdentity identity;
};

inline LocalClock MakeLocalClock(const ClockIdentity& identity, const PtpSettings& settings) {
    const ClockDataset dataset{static_cast<uint8_t>(settings.ptpPriority1), 248, 0xFE, 0x4100, 248, identity, 0};
    return {dataset, identity};
}

// The best clock known: its dataset, and the neighbour whose Announce brought it. Time is taken from that neighbour
// only.
struct BestMaster {
    ClockDataset dataset;
    ClockIdentity sender;
};

}  // namespace norvad
