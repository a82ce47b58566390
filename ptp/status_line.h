#pragma once

#include <cstdint>
#include <iosfwd>

#include "ptp/local_clock.h"
#include "ptp/port_state.h"

namespace norvad {

// What the status line shows, all in ns or plain numbers.
struct PTPStatus {
    PortState state;
    BestMaster best;
    int32_t linkDelay[2];
    int32_t filteredOffset;
    int32_t filteredSquare;
    double neighborRateRatio[2];
    double cumulativeRateRatioOffset;
    int32_t windowMode;
};

// One line, flushed.
void PrintStatusLine(const PTPStatus& status, std::ostream& answer);

}  // namespace norvad
