#include "ptp/status_line.h"

#include <cmath>
#include <cstdio>
#include <ostream>

namespace norvad {

namespace {

const char* StateText(PortState state) {
    switch (state) {
        case PortState::INITIALIZING:
            return "INITIALIZING:";
        case PortState::LISTENING:
            return "LISTENING:";
        case PortState::ANNOUNCE:
            return "ANNOUNCE:";
        case PortState::SLAVE:
            return "SLAVE:";
        case PortState::MASTER:
            break;
    }
    return "MASTER:";
}

void PrintIdentity(const ClockIdentity& identity, std::ostream& answer) {
    for (const uint8_t byte : identity) {
        char digits[3];
        (void)snprintf(digits, sizeof(digits), "%02x", byte);
        answer << digits;
    }
}

}  // namespace

void PrintStatusLine(const PTPStatus& status, std::ostream& answer) {
    const uint16_t stepsRemoved = status.best.dataset.stepsRemoved;
    answer << "ST:" << StateText(status.state) << "MC:0x";
    PrintIdentity(status.best.dataset.grandmasterIdentity, answer);
    answer << ":LC:0x";
    PrintIdentity(status.best.sender, answer);
    // 255, not 256: readers of the line undo it, and below 256 steps it makes no difference.
    answer << ":SR:" << (stepsRemoved >> 8) * 255 + (stepsRemoved & 0xFF) << ":";
    answer << "PD0:" << status.linkDelay[0] << "ns:PD1:" << status.linkDelay[1] << "ns:";
    answer << "AD:" << status.filteredOffset << "ns:";
    answer << "RMS:" << std::sqrt(static_cast<double>(status.filteredSquare)) << ":";
    answer << "RR0:" << status.neighborRateRatio[0] - 1 << ":RR1:" << status.neighborRateRatio[1] - 1 << ":";
    answer << "CRR:" << status.cumulativeRateRatioOffset << ":";
    answer << "w:" << status.windowMode << std::endl;
}

}  // namespace norvad
