#pragma once

#include <vector>

#include "tests/support/system/frame.h"
#include "tests/support/system/msrp_frame.h"

namespace norvad::test {

// MVRP frames as IEEE 802.1Q clause 11 prints them, built and read without the daemon's own code.

inline constexpr uint16_t etherTypeMvrp = 0x88F5;

// Consecutive VLANs from firstVid on, one for each event.
struct VlanVector {
    uint16_t firstVid;
    std::vector<MrpEvent> events;
    bool leaveAll = false;
};

// The message with those vectors and its end mark.
Bytes MvrpMessage(const std::vector<VlanVector>& vectors);

// A frame with those messages and the end mark of the PDU.
Bytes MvrpFrame(const Bytes& source, const Bytes& messages);

// Every vector of a frame; throws when it ends too early, and is empty for other EtherTypes.
std::vector<VlanVector> ReadMvrp(const Bytes& frame);

// Whether the frame declares that VLAN (New, JoinIn or JoinMt), or leaves it.
bool DeclaresVlan(const Bytes& frame, uint16_t vid);
bool LeavesVlan(const Bytes& frame, uint16_t vid);

}  // namespace norvad::test
