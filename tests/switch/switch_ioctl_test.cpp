#include "switch/switch_ioctl.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "switch/i4_ptp.h"
#include "tests/support/bytes.h"
#include "tests/support/captured_log.h"
#include "tests/support/fake_driver_socket.h"
#include "tests/support/stepped_clock.h"
#include "tests/switch/command_block.h"

namespace norvad {
namespace {

using test::Block;
using test::FakeDriverSocket;
using test::Logged;
using test::ToHex;

// A driver that knows no time stamps and keeps every record as it came.
class StampRecorder final : public DriverSocket {
public:
    std::vector<std::string> records;
    MacAddress HardwareAddress() const override { return {}; }
    bool Request(std::span<uint8_t> record) override {
        records.push_back(ToHex(record));
        return false;
    }
};

class SwitchIoctlTest : public testing::Test {
protected:
    std::string LastRecord() const { return ToHex(driver.records.back()); }

    test::SteppedClock clock;
    std::unique_ptr<FakeDriverSocket> door = std::make_unique<FakeDriverSocket>(clock);
    FakeDriverSocket& driver = *door;
    SwitchIoctl ioctl{std::move(door), clock};
    const MacAddress stream{0x91, 0xE0, 0xF0, 0x00, 0xFE, 0x01};
};

TEST_F(SwitchIoctlTest, PortMcastRecordHoldsFlagMaskVlanAndAddress) {
    ioctl.SetPortMcast(0x02, 0x0102, stream, true);
    EXPECT_EQ(LastRecord(),
              Block("13 00 00 00 00 00 00 00 "  // command 19
                    "01 00 00 00 "              // add
                    "02 00 00 00 "              // port 1
                    "02 01 00 00 "              // VLAN
                    "91 e0 f0 00 fe 01"));

    ioctl.SetPortMcast(0x40, 2, stream, false);
    EXPECT_EQ(LastRecord(), Block("13 00 00 00 00 00 00 00 00 00 00 00 40 00 00 00 02 00 00 00 91 e0 f0 00 fe 01"));
}

TEST_F(SwitchIoctlTest, PortVlanRecordHoldsStateMaskAndVlan) {
    ioctl.SetPortVlan(0x40, 0xFFE, 1);
    EXPECT_EQ(LastRecord(), Block("14 00 00 00 00 00 00 00 01 00 00 00 40 00 00 00 fe 0f 00 00"));

    ioctl.SetPortVlan(0x01, 2, 0);
    EXPECT_EQ(LastRecord(), Block("14 00 00 00 00 00 00 00 00 00 00 00 01 00 00 00 02 00 00 00"));
}

TEST_F(SwitchIoctlTest, EgressLimitRecordHoldsPortParameterAndLimit) {
    ioctl.SetEgressLimit(1, 3, 9'375'000);
    EXPECT_EQ(LastRecord(), Block("0c 00 00 00 00 00 00 00 01 00 00 00 03 00 00 00 18 0d 8f 00"));

    ioctl.SetEgressLimit(0, 2, -1);
    EXPECT_EQ(LastRecord(), Block("0c 00 00 00 00 00 00 00 00 00 00 00 02 00 00 00 ff ff ff ff"));
}

TEST_F(SwitchIoctlTest, AleStatusRecordIsTheBareHeader) {
    ioctl.QueryAleStatus();

    EXPECT_EQ(LastRecord(), Block("15 00 00 00 00 00 00 00"));
}

TEST_F(SwitchIoctlTest, ClockRecordsHoldTheirValue) {
    ioctl.SetClock(0x0102030405060708);
    EXPECT_EQ(LastRecord(), Block("10 00 00 00 00 00 00 00 08 07 06 05 04 03 02 01"));

    ioctl.SetClockSteering(-2);
    EXPECT_EQ(LastRecord(), Block("12 00 00 00 00 00 00 00 fe ff ff ff"));
}

// A driver that copies one structure for all commands in and out wrote past the end of the shorter records.
TEST_F(SwitchIoctlTest, DriverMayFillTheWholeBlockWhateverTheCommand) {
    ioctl.SetPortMcast(1, 2, stream, true);
    ioctl.SetPortVlan(1, 2, 1);
    ioctl.SetEgressLimit(1, 3, 4);
    ioctl.QueryAleStatus();
    ioctl.SetClock(5);
    ioctl.SetClockSteering(6);

    ASSERT_EQ(driver.records.size(), 6U);
    for (const auto& record : driver.records) EXPECT_EQ(record.size(), 32U) << ToHex(record);
}

TEST(SwitchIoctl, TransmitQueryCarriesTheSequenceIdInHostOrderAndTheReceiveQuerySwapped) {
    test::SteppedClock clock;
    auto door = std::make_unique<StampRecorder>();
    StampRecorder& driver = *door;
    SwitchIoctl ioctl(std::move(door), clock);
    uint64_t first, second;

    (void)Logged(0, [&] { (void)ioctl.GetTxTimestamp(1, 2, 0x0102, first, second); });
    EXPECT_EQ(driver.records.back(),
              Block("0e 00 00 00 00 00 00 00 "
                    "00 00 00 00 00 00 00 00 "  // first time: an answer
                    "00 00 00 00 00 00 00 00 "  // second time: an answer
                    "02 01 02 01"));            // sequence id, message type, port

    (void)Logged(0, [&] { (void)ioctl.GetRxTimestamp(1, 2, 0x0102, first, second); });
    EXPECT_EQ(driver.records.back(),
              Block("0f 00 00 00 00 00 00 00 "
                    "00 00 00 00 00 00 00 00 "
                    "00 00 00 00 00 00 00 00 "
                    "01 02 02 01"));  // 0x0201 as a little-endian number
}

TEST_F(SwitchIoctlTest, TimestampsThatTheDriverHasAreBothHandedOut) {
    driver.transmitted[{1, 0, 7}] = {1'000, 2'000};
    driver.arrived[{0, 3, 0x0102}] = {3'000, 4'000};
    uint64_t first = 0, second = 0;

    EXPECT_EQ(ioctl.GetTxTimestamp(1, 0, 7, first, second), 0);
    EXPECT_EQ(first, 1'000U);
    EXPECT_EQ(second, 2'000U);
    EXPECT_EQ(clock.SleptMs(), 1U);
    EXPECT_EQ(ioctl.GetRxTimestamp(0, 3, 0x0102, first, second), 0);
    EXPECT_EQ(first, 3'000U);
    EXPECT_EQ(second, 4'000U);
    EXPECT_EQ(clock.SleptMs(), 1U) << "the first receive try comes at once";
}

TEST_F(SwitchIoctlTest, TransmitQueryThatFailsFourTimesSleepsBeforeEachTry) {
    uint64_t first = 0, second = 0;

    const std::string lines = Logged(0, [&] { EXPECT_EQ(ioctl.GetTxTimestamp(1, 2, 0x0102, first, second), -1); });

    EXPECT_EQ(driver.stampTries, 4U);
    EXPECT_EQ(clock.SleptMs(), 4U);
    EXPECT_EQ(first, noTimestamp);
    EXPECT_EQ(second, noTimestamp);
    EXPECT_EQ(lines, "SWITCH_PTP_TX_TIMESTAMP: failed to get hardware time stamp for seq 258 msg 2 port 1\n");
}

TEST_F(SwitchIoctlTest, ReceiveQueryThatFailsFourTimesSleepsBeforeEachRetryOnly) {
    uint64_t first = 0, second = 0;

    const std::string lines = Logged(0, [&] { EXPECT_EQ(ioctl.GetRxTimestamp(1, 2, 0x0102, first, second), -1); });

    EXPECT_EQ(driver.stampTries, 4U);
    EXPECT_EQ(clock.SleptMs(), 6U);
    EXPECT_EQ(first, noTimestamp);
    EXPECT_EQ(second, noTimestamp);
    // The sequence id is shown as the record holds it: swapped.
    EXPECT_EQ(lines, "SWITCH_PTP_RX_TIMESTAMP: failed to get hardware time stamp for seq 513 msg 2 port 1\n");
}

TEST_F(SwitchIoctlTest, FourthTryMayStillSucceed) {
    driver.failNext = 3;
    driver.transmitted[{1, 0, 7}] = {1, 2};
    uint64_t first = 0, second = 0;

    EXPECT_EQ(Logged(0, [&] { EXPECT_EQ(ioctl.GetTxTimestamp(1, 0, 7, first, second), 0); }), "");

    EXPECT_EQ(second, 2U);
    EXPECT_EQ(clock.SleptMs(), 4U);
}

TEST_F(SwitchIoctlTest, OtherCommandsAreTriedOnceAndTheirFailureIsLogged) {
    const std::vector<std::pair<std::function<void()>, std::string>> cases{
        {[&] { ioctl.SetPortMcast(1, 2, stream, true); }, "SWITCH_PORT_MCAST: failed to set switch MCAST filter\n"},
        {[&] { ioctl.SetPortVlan(1, 2, 1); }, "SWITCH_PORT_VLAN: failed to set switch VLAN membership\n"},
        {[&] { ioctl.SetEgressLimit(1, 2, 3); }, "SWITCH_EGRESS_LIMIT: failed to set hardware egress value\n"},
        {[&] { ioctl.QueryAleStatus(); }, "SWITCH_ALE_STATUS: failed to query switch status\n"},
        {[&] { ioctl.SetClock(1); }, "SWITCH_PTP_CLOCK_SET: failed to set hardware clock\n"},
        {[&] { ioctl.SetClockSteering(1); }, "SWITCH_PTP_CLOCKSTEER: failed to set hardware clock steering\n"},
    };
    for (const auto& [command, line] : cases) {
        driver.failNext = 1;
        EXPECT_EQ(Logged(0, command), line);
        EXPECT_EQ(driver.failNext, 0) << line;
        EXPECT_EQ(Logged(0, command), "") << line;
    }
    EXPECT_EQ(driver.records.size(), 2 * cases.size());
    EXPECT_EQ(clock.SleptMs(), 0U);
}

TEST_F(SwitchIoctlTest, VlanAndEgressRequestsAreLoggedAtLevelTwo) {
    const auto requests = [this] {
        ioctl.SetPortVlan(2, 100, 1);
        ioctl.SetEgressLimit(1, 2, 50);
    };

    EXPECT_EQ(Logged(1, requests), "");
    EXPECT_EQ(Logged(2, requests),
              " SwitchIoctl::SetPortVlan mask 02 vlan 100 state 1 \n"
              "SWITCH_EGRESS_LIMIT: port 1 -> 50 bps\n");
}

TEST(SwitchIoctl, DerivesAnAddressFromThatOfTheInterface) {
    test::SteppedClock clock;
    auto door = std::make_unique<FakeDriverSocket>(clock);
    door->hardwareAddress = {2, 0, 0, 0, 0x10, 0x01};
    const SwitchIoctl ioctl(std::move(door), clock);

    EXPECT_EQ(ioctl.InterfaceMac(), (MacAddress{2, 0, 0, 0, 0x10, 0x01}));
    EXPECT_EQ(ioctl.DerivedMac(), (MacAddress{2, 0, 0, 0, 0x10, 0x02}));
}

TEST(SwitchIoctl, CarryOfTheDerivedAddressStopsAtTheFifthByte) {
    EXPECT_EQ(NextMac({2, 0, 0, 0, 0x10, 0xFE}), (MacAddress{2, 0, 0, 0, 0x10, 0xFF}));
    EXPECT_EQ(NextMac({2, 0, 0, 0, 0x10, 0xFF}), (MacAddress{2, 0, 0, 0, 0x11, 0x00}));
    EXPECT_EQ(NextMac({2, 0, 0, 7, 0xFF, 0xFF}), (MacAddress{2, 0, 0, 7, 0x00, 0x00}));
}

}  // namespace
}  // namespace norvad
