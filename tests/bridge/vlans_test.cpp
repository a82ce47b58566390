#include <gtest/gtest.h>

#include <deque>
#include <string>

#include "lab/network/bridge_node.h"
#include "lab/network/network.h"
#include "lab/network/station_node.h"

namespace norvad::test {

using network::BridgeNode;
using network::Network;
using network::StationNode;

namespace {

constexpr MacAddress memberMac = {0x02, 0, 0, 0, 0, 0x01};
constexpr MacAddress otherMac = {0x02, 0, 0, 0, 0, 0x02};

station::StationSettings MemberOf(std::vector<uint16_t> vlans) {
    station::StationSettings settings;
    settings.vlans = std::move(vlans);
    return settings;
}

// A station that is a member of VLANs, two bridges, a station that is of none: port 0 of each bridge looks towards
// the member.
class Vlans : public testing::Test {
protected:
    Vlans() {
        for (uint8_t n = 0; n < 2; ++n) {
            BridgeNode::Config config;
            config.mac = {0x02, 0, 0, 0, 0x10, n};
            bridges.emplace_back(network, config);
        }
        network.Connect(member, 0, bridges[0], 0);
        network.Connect(bridges[0], 1, bridges[1], 0);
        network.Connect(bridges[1], 1, other, 0);
    }

    bool RunUntilTold(const std::string& text) {
        return network.RunUntil([&] { return other.Told(text) > 0; }, 10'000);
    }
    // What the switch of that bridge was told.
    bool IsMember(size_t bridge, uint8_t port, uint16_t vid) {
        for (const auto& [programmed, mask] : bridges[bridge].Hardware().Vlans().Entries()) {
            if (programmed == vid) return (mask >> port & 1) != 0;
        }
        return false;
    }

    Network network;
    StationNode member{network, memberMac, MemberOf({10, 4094})};
    StationNode other{network, otherMac, MemberOf({})};
    std::deque<BridgeNode> bridges;
};

}  // namespace

TEST_F(Vlans, AreDeclaredAllTheWayAndProgrammedWhereTheyAreRegistered) {
    ASSERT_TRUE(RunUntilTold("vlan 10 registered"));
    ASSERT_TRUE(RunUntilTold("vlan 4094 registered"));

    for (size_t bridge = 0; bridge < 2; ++bridge) {
        EXPECT_TRUE(IsMember(bridge, 0, 10));
        EXPECT_FALSE(IsMember(bridge, 1, 10));
        EXPECT_TRUE(IsMember(bridge, 0, 4094));
    }
}

TEST_F(Vlans, LeaveAllTheWayWithTheirMember) {
    ASSERT_TRUE(RunUntilTold("vlan 10 registered"));

    member.Program().WithdrawAll();

    EXPECT_TRUE(RunUntilTold("vlan 10 withdrawn"));
    EXPECT_FALSE(IsMember(0, 0, 10));
    EXPECT_FALSE(IsMember(1, 0, 10));
}

TEST_F(Vlans, LeaveWithACableAndComeBackWithIt) {
    ASSERT_TRUE(RunUntilTold("vlan 10 registered"));

    network.Disconnect(member, 0);
    EXPECT_FALSE(IsMember(0, 0, 10));
    ASSERT_TRUE(RunUntilTold("vlan 10 withdrawn"));

    network.Connect(member, 0, bridges[0], 0);
    EXPECT_TRUE(network.RunUntil([&] { return other.Told("vlan 10 registered") == 2; }, 10'000));
}

TEST_F(Vlans, StayRegisteredForTenMinutes) {
    ASSERT_TRUE(RunUntilTold("vlan 10 registered"));

    network.RunMs(600'000);

    EXPECT_EQ(other.Told("vlan 10 registered"), 1u);
    EXPECT_EQ(other.Told("withdrawn"), 0u);
    EXPECT_TRUE(IsMember(1, 0, 10));
}

}  // namespace norvad::test
