#include <endian.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <sstream>
#include <vector>

#include "daemon/control/command_executor.h"
#include "driver/include/norvad3_switch.h"
#include "msrp/reservation.h"
#include "switch/switch.h"
#include "tests/support/bytes.h"
#include "tests/support/fake_doors.h"
#include "tests/support/stepped_clock.h"

extern "C" void norvad3_test_answer(norvad3_request* request);

namespace norvad {
namespace {

using namespace test;

// What the daemon hands over means to a driver that is written with the header what it means to the daemon.

// A driver that keeps each block as the header sees it, and answers a query for stamps in C.
class DriverInC final : public DriverSocket {
public:
    explicit DriverInC(std::vector<norvad3_request>& requests) : requests(requests) {}
    MacAddress HardwareAddress() const override { return {}; }
    bool Request(std::span<uint8_t> block) override {
        norvad3_request request;
        EXPECT_EQ(block.size(), sizeof request);
        std::memcpy(&request, block.data(), sizeof request);
        requests.push_back(request);
        const uint32_t command = le32toh(request.header.command);
        if (command != NORVAD3_PTP_TX_TIMESTAMP && command != NORVAD3_PTP_RX_TIMESTAMP) return true;
        norvad3_test_answer(&request);
        std::memcpy(block.data(), &request, sizeof request);
        return true;
    }

private:
    std::vector<norvad3_request>& requests;
};

class DriverRequests : public testing::Test {
protected:
    // The last request, which has to be that command.
    norvad3_request Last(norvad3_command command) {
        EXPECT_EQ(le32toh(requests.back().header.command), command);
        EXPECT_EQ(requests.back().header.reserved, 0u);
        return requests.back();
    }

    std::vector<norvad3_request> requests;
    SteppedClock clock;
    SwitchIoctl ioctl{std::make_unique<DriverInC>(requests), clock};
};

TEST_F(DriverRequests, EgressLimitHoldsPortParameterAndASignedLimit) {
    ioctl.SetEgressLimit(1, 0x0ABC, -2);

    const auto limit = Last(NORVAD3_EGRESS_LIMIT).egress_limit;
    EXPECT_EQ(le32toh(limit.port), 1u);
    EXPECT_EQ(le32toh(limit.parameter), 0x0ABCu);
    EXPECT_EQ(static_cast<int32_t>(le32toh(limit.limit)), -2);
}

TEST_F(DriverRequests, TransmitStampHoldsItsSequenceIdLittleEndian) {
    uint64_t first = 0, second = 0;
    EXPECT_EQ(ioctl.GetTxTimestamp(1, 3, 0x0102, first, second), 0);

    const auto stamp = Last(NORVAD3_PTP_TX_TIMESTAMP).timestamp;
    EXPECT_EQ(ToHex(stamp.sequence), "02 01");
    EXPECT_EQ(stamp.type, 3);
    EXPECT_EQ(stamp.port, 1);
    EXPECT_EQ(first, 0x1716151413121110u);
    EXPECT_EQ(second, 0x2726252423222120u);
}

TEST_F(DriverRequests, ReceiveStampHoldsItsSequenceIdAsTheHeaderDoes) {
    uint64_t first = 0, second = 0;
    EXPECT_EQ(ioctl.GetRxTimestamp(0, 2, 0x0102, first, second), 0);

    const auto stamp = Last(NORVAD3_PTP_RX_TIMESTAMP).timestamp;
    EXPECT_EQ(ToHex(stamp.sequence), "01 02");
    EXPECT_EQ(stamp.type, 2);
    EXPECT_EQ(stamp.port, 0);
    EXPECT_EQ(first, 0x1716151413121110u);
    EXPECT_EQ(second, 0x2726252423222120u);
}

TEST_F(DriverRequests, ClockIsSetByASignedOffset) {
    ioctl.SetClock(static_cast<uint64_t>(int64_t{-5'136'084}));

    EXPECT_EQ(static_cast<int64_t>(le64toh(Last(NORVAD3_PTP_CLOCK_SET).clock_set.offset)), -5'136'084);
}

TEST_F(DriverRequests, ClockIsSteeredBySignedCounts) {
    ioctl.SetClockSteering(-5'586'880);

    EXPECT_EQ(static_cast<int32_t>(le32toh(Last(NORVAD3_PTP_CLOCKSTEER).clock_steer.counts)), -5'586'880);
}

TEST_F(DriverRequests, MulticastHoldsFlagMaskVlanAndAddress) {
    ioctl.SetPortMcast(0x02, 0x0ABC, {0x91, 0xE0, 0xF0, 0x00, 0xFE, 0x01}, true);

    const auto group = Last(NORVAD3_PORT_MCAST).port_mcast;
    EXPECT_EQ(le32toh(group.add), 1u);
    EXPECT_EQ(le32toh(group.port_mask), 0x02u);
    EXPECT_EQ(le32toh(group.vid), 0x0ABCu);
    EXPECT_EQ(ToHex(group.address), "91 e0 f0 00 fe 01");
}

TEST_F(DriverRequests, VlanHoldsStateMaskAndVlan) {
    ioctl.SetPortVlan(0x02, 0x0ABC, 1);

    const auto vlan = Last(NORVAD3_PORT_VLAN).port_vlan;
    EXPECT_EQ(le32toh(vlan.state), 1u);
    EXPECT_EQ(le32toh(vlan.port_mask), 0x02u);
    EXPECT_EQ(le32toh(vlan.vid), 0x0ABCu);
}

TEST_F(DriverRequests, StatusIsTheHeaderAlone) {
    ioctl.QueryAleStatus();

    const auto request = Last(NORVAD3_ALE_STATUS);
    for (size_t at = sizeof(norvad3_header); at < sizeof request.block; ++at) EXPECT_EQ(request.block[at], 0) << at;
}

TEST(DriverHeader, BuildsTheTagOfAFrameFromTheCpu) {
    for (uint8_t port = 0; port < NORVAD3_PORTS; ++port) {
        const norvad3_cpu_tag tag{htobe16(NORVAD3_ETH_P_TAG),
                                  0,
                                  NORVAD3_TAG_FROM_CPU << NORVAD3_TAG_TYPE_SHIFT,
                                  static_cast<uint8_t>(port << NORVAD3_TAG_PORT_SHIFT),
                                  {NORVAD3_TAG_FIXED_0, NORVAD3_TAG_FIXED_1}};
        const CpuTag expected = FromCpuTag(port);

        EXPECT_EQ(std::memcmp(&tag, &expected, sizeof tag), 0) << int{port};
    }
}

class DriverLinks : public testing::Test {
protected:
    void Report(uint32_t value) {
        const auto bytes = std::bit_cast<std::array<uint8_t, sizeof value>>(value);
        doors.links.Queue(LinkMessage(AF_BRIDGE)
                              .Name("sw0")
                              .Attribute(NORVAD3_IFLA_PORT_LINKS, {bytes.begin(), bytes.end()})
                              .Bytes());
        bridge.UpdateLinks();
    }

    SteppedClock clock;
    FakeDoors doors{clock};
    Switch bridge{"sw0", clock, doors};
};

TEST_F(DriverLinks, EachPortHasItsOwnBits) {
    for (uint8_t port = 0; port < NORVAD3_PORTS; ++port) {
        Report(NORVAD3_LINK(port, NORVAD3_LINK_UP | NORVAD3_LINK_FORWARDING | NORVAD3_LINK_100));
        for (uint8_t other = 0; other < NORVAD3_PORTS; ++other) {
            EXPECT_EQ(bridge.IsPortUp(other), other == port);
            EXPECT_EQ(bridge.IsStpUp(other), other == port);
        }
    }
}

TEST_F(DriverLinks, LinkNeedsASpeedAndIsClosedWithoutForwarding) {
    Report(NORVAD3_LINK(0, NORVAD3_LINK_UP | NORVAD3_LINK_FORWARDING));
    EXPECT_FALSE(bridge.IsPortUp(0));

    Report(NORVAD3_LINK(0, NORVAD3_LINK_UP | NORVAD3_LINK_1000));
    EXPECT_TRUE(bridge.IsPortUp(0));
    EXPECT_FALSE(bridge.IsStpUp(0));
}

TEST_F(DriverLinks, SpeedDecidesWhatStreamsMayTake) {
    Report(NORVAD3_LINK(0, NORVAD3_LINK_UP | NORVAD3_LINK_100) | NORVAD3_LINK(1, NORVAD3_LINK_UP | NORVAD3_LINK_1000));

    EXPECT_FALSE(bridge.HasBandwidth(0, fastBandwidthLimit + 1));
    EXPECT_TRUE(bridge.HasBandwidth(1, fastBandwidthLimit + 1));
    EXPECT_LE(NORVAD3_LINK_100 | NORVAD3_LINK_1000, NORVAD3_LINK_SPEED_MASK);
}

TEST(EgressLimit, SmallestStreamIsTheLeastReservation) {
    TalkerFirstValue smallest{};
    smallest.maxIntervalFrames = 1;

    EXPECT_EQ(StreamBandwidth(smallest), uint32_t{NORVAD3_LEAST_RESERVATION});
}

TEST(EgressLimit, OperatorsPercentageNamesItsOwnClass) {
    SteppedClock clock;
    FakeDoors doors(clock);
    Switch bridge("sw0", clock, doors);
    std::ostringstream answer;

    ExecuteCommand(bridge, "--egress1 50", answer);

    EXPECT_EQ(doors.driver.egress[1].parameter, uint32_t{NORVAD3_OPERATOR_CLASS});
    EXPECT_EQ(doors.driver.egress[1].limit, 50);
}

}  // namespace
}  // namespace norvad
