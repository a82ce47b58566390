#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <limits>

#include "lab/board/driver.h"
#include "tests/lab/board/support.h"

namespace norvad::board::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DriverTest : public BoardTest {
protected:
    // A stamp of port 1, type 2, sequence id 0x0102, taken when the clock showed 1000.
    void KeepStamp(Direction direction) { board.Stamps().Keep({direction, 1, 2, 0x0102}, 1'000, 0); }

    static constexpr MacAddress group{0x91, 0xE0, 0xF0, 0, 0x01, 0};
};

TEST_F(DriverTest, MulticastIsAddedAndRemovedPortByPort) {
    EXPECT_EQ(AddMulticast(0x02, 2, group), 0);
    EXPECT_EQ(AddMulticast(0x01, 2, group), 0);
    EXPECT_EQ(board.Multicasts().Find(2, group)->portMask, 0x03);

    EXPECT_EQ(Request(PortMcastRecord{Command(SwitchCommand::SWITCH_PORT_MCAST), 0, 0x02, 2, group}), 0);
    EXPECT_EQ(board.Multicasts().Find(2, group)->portMask, 0x01);
    EXPECT_THAT(events.lines, ElementsAre("multicast add port mask 0x02 vid 2 91:e0:f0:00:01:00",
                                          "multicast add port mask 0x01 vid 2 91:e0:f0:00:01:00",
                                          "multicast remove port mask 0x02 vid 2 91:e0:f0:00:01:00"));
}

TEST_F(DriverTest, MulticastWithAnArgumentOutOfRangeIsRefused) {
    const auto header = Command(SwitchCommand::SWITCH_PORT_MCAST);

    EXPECT_EQ(Request(PortMcastRecord{header, 2, 0x01, 2, group}), EINVAL);
    EXPECT_EQ(Request(PortMcastRecord{header, 1, 0x80, 2, group}), EINVAL);
    EXPECT_EQ(Request(PortMcastRecord{header, 1, 0x101, 2, group}), EINVAL);
    EXPECT_EQ(Request(PortMcastRecord{header, 1, 0x01, 4096, group}), EINVAL);
    EXPECT_EQ(Request(PortMcastRecord{header, 1, 0x01, 2, {0x02, 0, 0, 0, 0, 1}}), EINVAL);
    EXPECT_EQ(board.Multicasts().Size(), 0u);
    EXPECT_THAT(events.lines, IsEmpty());

    EXPECT_EQ(Request(PortMcastRecord{header, 1, 0x7F, 4095, group}), 0);
}

TEST_F(DriverTest, AFlushTakesWhatTheDaemonProgrammedAndTheStamps) {
    AddMulticast(0x02, 2, group);
    SetVlan(1, 0x03, 10);
    const auto header = Command(SwitchCommand::SWITCH_EGRESS_LIMIT);
    Request(EgressLimitRecord{header, 0, 2, 400'000});
    Request(EgressLimitRecord{header, 1, 2, 75});
    KeepStamp(Direction::RECEIVE);

    board.FlushTables();

    EXPECT_EQ(board.Multicasts().Size(), 0u);
    EXPECT_THAT(board.Vlans().Entries(), IsEmpty());
    EXPECT_EQ(board.Stamps().Size(), 0u);
    EXPECT_FALSE(board.Limits().Find(0, 2)) << "the total of a port's reservations";
    EXPECT_EQ(board.Limits().Find(1, 2), 75) << "an operator's percentage";
}

TEST_F(DriverTest, VlanMembersAreAddedAndRemoved) {
    EXPECT_EQ(SetVlan(1, 0x03, 10), 0);
    EXPECT_EQ(SetVlan(0, 0x01, 10), 0);

    EXPECT_EQ(board.Vlans().Members(10), 0x02);
    EXPECT_THAT(events.lines, ElementsAre("vlan add port mask 0x03 vid 10", "vlan remove port mask 0x01 vid 10"));
}

TEST_F(DriverTest, VlanWithAnArgumentOutOfRangeIsRefused) {
    const auto header = Command(SwitchCommand::SWITCH_PORT_VLAN);

    EXPECT_EQ(Request(PortVlanRecord{header, 2, 1, 2}), EINVAL);
    EXPECT_EQ(Request(PortVlanRecord{header, -1, 1, 2}), EINVAL);
    EXPECT_EQ(Request(PortVlanRecord{header, 1, -1, 2}), EINVAL);
    EXPECT_EQ(Request(PortVlanRecord{header, 1, 1, -1}), EINVAL);
    EXPECT_EQ(Request(PortVlanRecord{header, 1, 1, 4096}), EINVAL);
    EXPECT_THAT(board.Vlans().Entries(), IsEmpty());
}

TEST_F(DriverTest, EgressLimitIsKeptAsProgrammed) {
    const auto header = Command(SwitchCommand::SWITCH_EGRESS_LIMIT);

    EXPECT_EQ(Request(EgressLimitRecord{header, 1, 2, 1'200'000}), 0);
    EXPECT_EQ(Request(EgressLimitRecord{header, 6, 0xFFFF'FFFF, -5}), 0);
    EXPECT_EQ(Request(EgressLimitRecord{header, 7, 2, 1}), EINVAL);
    EXPECT_EQ(Request(EgressLimitRecord{header, 257, 2, 1}), EINVAL);

    EXPECT_EQ(board.Limits().Find(1, 2), 1'200'000);
    EXPECT_EQ(board.Limits().Entries().size(), 2u);
    EXPECT_THAT(events.lines, ElementsAre("egress limit port 1 parameter 2 limit 1200000",
                                          "egress limit port 6 parameter 4294967295 limit -5"));
}

TEST_F(DriverTest, ClockIsSteppedBySignedNanoseconds) {
    const auto header = Command(SwitchCommand::SWITCH_PTP_CLOCK_SET);

    EXPECT_EQ(Request(ClockSetRecord{header, 5'000}, 100), 0);
    EXPECT_EQ(board.Clock().At(100), 5'100u);
    EXPECT_EQ(Request(ClockSetRecord{header, static_cast<uint64_t>(int64_t{-5'000})}, 200), 0);
    EXPECT_EQ(board.Clock().At(200), 200u);
    EXPECT_THAT(events.lines, ElementsAre("clock step 5000 ns", "clock step -5000 ns"));
}

TEST_F(DriverTest, ClockIsSteered) {
    EXPECT_EQ(Request(ClockSteerRecord{Command(SwitchCommand::SWITCH_PTP_CLOCKSTEER), -1'024}), 0);

    EXPECT_EQ(board.Clock().Steering(), -1'024);
    EXPECT_EQ(board.Clock().At(int64_t{1} << 28), (uint64_t{1} << 28) - 1);
    EXPECT_THAT(events.lines, ElementsAre("clock steer -1024"));
}

TEST_F(DriverTest, TransmitQueryNamesTheSequenceAsANumber) {
    KeepStamp(Direction::TRANSMIT);
    Bytes record = FromHex(
        "0e 00 00 00  00 00 00 00"
        " 00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        " 02 01 02 01");  // sequence 0x0102 little-endian, type 2, port 1

    ASSERT_EQ(board.Request(record, 0), 0);
    EXPECT_EQ(record, FromHex("0e 00 00 00  00 00 00 00"
                              " e8 03 00 00 00 00 00 00  e8 03 00 00 00 00 00 00"
                              " 02 01 02 01"));
}

TEST_F(DriverTest, ReceiveQueryNamesTheSequenceAsItStandsInTheHeader) {
    KeepStamp(Direction::RECEIVE);
    Bytes record = FromHex(
        "0f 00 00 00  00 00 00 00"
        " 00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        " 01 02 02 01");

    ASSERT_EQ(board.Request(record, 0), 0);
    EXPECT_EQ(record[8], 0xE8);
    EXPECT_EQ(record[16], 0xE8);
}

TEST_F(DriverTest, QueryWithoutAStampFailsAndLeavesTheRecord) {
    const TimestampRecord query{Command(SwitchCommand::SWITCH_PTP_TX_TIMESTAMP), 7, 8, 0x0102, 2, 1};
    Bytes record = Copy(BytesOf(query));

    EXPECT_EQ(board.Request(record, 0), EAGAIN);
    EXPECT_EQ(record, Copy(BytesOf(query)));
    EXPECT_THAT(events.lines, ElementsAre("no transmit stamp port 1 type 2 sequence 258"));
}

TEST_F(DriverTest, QueryForAPortWithoutStampsIsRefused) {
    for (const uint8_t port : std::initializer_list<uint8_t>{2, 6, 7, 255}) {
        EXPECT_EQ(Request(TimestampRecord{Command(SwitchCommand::SWITCH_PTP_RX_TIMESTAMP), 0, 0, 1, 0, port}), EINVAL);
    }
}

TEST_F(DriverTest, StampOrderedLateComesAtTheFourthTry) {
    board.Stamps().DelayNext(Direction::TRANSMIT, 1, 1, 3);
    KeepStamp(Direction::TRANSMIT);
    const TimestampRecord query{Command(SwitchCommand::SWITCH_PTP_TX_TIMESTAMP), 0, 0, 0x0102, 2, 1};

    for (int attempt = 0; attempt < 3; ++attempt) EXPECT_EQ(Request(query), EAGAIN);
    EXPECT_EQ(Request(query), 0);
}

TEST_F(DriverTest, StatusOfTheTablesIsReported) {
    AddMulticast(0x02, 2, group);
    SetVlan(1, 0x03, 10);

    EXPECT_EQ(Request(Command(SwitchCommand::SWITCH_ALE_STATUS)), 0);
    EXPECT_EQ(events.lines.back(), "status asked: 1 VLANs, 1 multicast addresses");
}

TEST_F(DriverTest, UnknownCommandsAreNotSupported) {
    for (const uint32_t command : {0u, 11u, 13u, 17u, 22u, std::numeric_limits<uint32_t>::max()}) {
        Bytes record = Copy(BytesOf(CommandHeader{command, 0}));
        record.resize(64);
        EXPECT_EQ(board.Request(record, 0), EOPNOTSUPP) << command;
        EXPECT_FALSE(RecordSize(command)) << command;
    }
}

TEST_F(DriverTest, RecordShorterThanItsCommandIsRefusedAtEveryLength) {
    for (uint32_t command = 0; command < 32; ++command) {
        const auto size = RecordSize(command);
        if (!size) continue;
        Bytes record = Copy(BytesOf(CommandHeader{command, 0}));
        record.resize(*size);
        for (size_t length = 0; length < *size; ++length) {
            Bytes cut = Part(record, 0, length);
            EXPECT_EQ(board.Request(cut, 0), EINVAL) << command << " of " << length;
        }
    }
    EXPECT_THAT(events.lines, IsEmpty());
}

TEST_F(DriverTest, RecordSizesAreThoseOfTheDriver) {
    EXPECT_EQ(RecordSize(12), 20u);
    EXPECT_EQ(RecordSize(14), 28u);
    EXPECT_EQ(RecordSize(15), 28u);
    EXPECT_EQ(RecordSize(16), 16u);
    EXPECT_EQ(RecordSize(18), 12u);
    EXPECT_EQ(RecordSize(19), 26u);
    EXPECT_EQ(RecordSize(20), 20u);
    EXPECT_EQ(RecordSize(21), 8u);
}

}  // namespace
}  // namespace norvad::board::test
