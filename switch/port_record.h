#pragma once

#include <cstdint>
#include <vector>

namespace norvad {

// What the switch model knows of one of its ports.
struct PortRecord {
    uint8_t linkState = 0;           // 9 and more: up; the low two bits are the speed code
    uint8_t stpState = 0;            // non-zero: up
    uint8_t avbState = 0;            // non-zero: up; follows asCapable
    uint32_t reservedBandwidth = 0;  // bytes per second reserved for streams
    uint8_t asCapable = 0;           // gPTP's decision about the neighbour
    uint8_t peerIsSameMake = 0;      // 1: the neighbour is a bridge of the same make

    bool IsUp() const { return linkState >= 9; }
    bool IsGigabit() const { return (linkState & 3) == 2; }
};

using PortRecords = std::vector<PortRecord>;  // by port number

}  // namespace norvad
