#pragma once

#include <string>
#include <vector>

#include "mrp/listing.h"
#include "mvrp/mvrp_handler.h"
#include "tests/support/bytes.h"
#include "tests/support/fake_switch.h"
#include "tests/support/stepped_time.h"

namespace norvad::test {

// MVRP on a switch without hardware, on a clock that only the test moves. Ports 0 and 1 are up.
struct MvrpBridge : SteppedTime {
    MvrpBridge() {
        bridge.Raise(0);
        bridge.Raise(1);
    }

    // Hands over a frame from the neighbour of a port: destination, source, tag, EtherType, payload.
    void Receive(uint8_t port, const Bytes& payload, const std::string& destination = "01 80 c2 00 00 21") {
        ReceiveRaw(Join({FromHex(destination), FromHex("02 00 00 00 00 99"), FromHex("da da 00 00 00"),
                         BigEndian(port << 3, 1), FromHex("00 00 88 f5"), payload}));
    }
    void ReceiveRaw(const Bytes& frame) { mvrp.HandleFrame(Copy(frame), 0x88F5); }

    // "100: Applicant VO Registrar IN" for every VLAN on the port, in list order.
    std::vector<std::string> VlansOn(uint8_t port) {
        std::vector<std::string> texts;
        mvrp.ForEach(port, Vlan::attributeType, [&](MRPAttribute& attribute) {
            texts.push_back(std::to_string(static_cast<Vlan&>(attribute).Vid()) + ": " + StateText(attribute));
        });
        return texts;
    }
    std::vector<uint16_t> RegisteredOn(uint8_t port) {
        std::vector<uint16_t> vids;
        mvrp.ForEach(port, Vlan::attributeType, [&](MRPAttribute& attribute) {
            if (attribute.IsRegistered()) vids.push_back(static_cast<Vlan&>(attribute).Vid());
        });
        return vids;
    }
    bool IsMember(uint8_t port, uint16_t vid) const { return bridge.vlans.count({port, vid}) != 0; }

    FakeSwitch bridge;
    MVRPHandler mvrp{bridge, bridge, timers};
};

}  // namespace norvad::test
