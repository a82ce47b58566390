#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <stdexcept>

#include "lab/board/status_report.h"
#include "tests/lab/board/support.h"

namespace norvad::board::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;

constexpr MacAddress streamAddress{0x91, 0xE0, 0xF0, 0, 0x01, 0};

Bytes Frame(const char* addresses, const char* rest) {
    return Join({FromHex(addresses), FromHex(rest), Bytes(46)});
}

const auto broadcast = Frame("ff ff ff ff ff ff  02 00 00 00 00 0a", "08 00");
const auto inVlan10 = Frame("ff ff ff ff ff ff  02 00 00 00 00 0a", "81 00 00 0a 08 00");
const auto ofStream = Frame("91 e0 f0 00 01 00  02 00 00 00 00 0a", "81 00 60 02 22 f0");

// As the CPU sends it; a tag's first byte is 0x40, its second the port in bits 7..3.
Bytes FromCpu(uint8_t port) {
    auto frame = Join({FromHex("01 80 c2 00 00 0e  02 00 00 00 10 01  da da 00 00 40 00 e0 01 22 ea"), Bytes(46)});
    frame[17] = static_cast<uint8_t>(port << 3);
    return frame;
}

// An event message of type 2 with sequence id 0x0102.
Bytes EventMessage() {
    return Join({FromHex("01 80 c2 00 00 0e  02 00 00 00 00 0a  88 f7  12 02 00 36"), Bytes(26), FromHex("01 02 05 7f"),
                 Bytes(20)});
}

class FivePorts : public BoardTest {
protected:
    FivePorts() : BoardTest({.cpuAddress = cpuAddress, .externalPorts = 5, .stampGranularityNs = 8}) {}

    std::vector<uint8_t> PortsReached() const {
        std::vector<uint8_t> ports;
        for (const auto& [port, frame] : wires.sent) ports.push_back(port);
        return ports;
    }
    int QueryStamp(uint8_t port) {
        return Request(TimestampRecord{Command(SwitchCommand::SWITCH_PTP_RX_TIMESTAMP), 0, 0, 0x0201, 2, port}, 100);
    }
};

TEST(BoardConfig, HasTwoPortsAndStampsOfOneNanosecondUnlessToldOtherwise) {
    const BoardConfig config;

    EXPECT_EQ(config.externalPorts, 2);
    EXPECT_EQ(config.stampGranularityNs, 1u);
}

TEST(BoardConfig, TakesTwoToFiveExternalPorts) {
    Wires wires;
    EventLines events;

    for (const uint8_t ports : {uint8_t{0}, uint8_t{1}, uint8_t{6}, uint8_t{255}}) {
        EXPECT_THROW(Board({.externalPorts = ports}, wires, events), std::invalid_argument) << int{ports};
    }
    for (uint8_t ports = 2; ports <= 5; ++ports) {
        EXPECT_EQ(Board({.externalPorts = ports}, wires, events).ExternalPorts(), ports);
    }
}

TEST(BoardConfig, RefusesAClockThatStampsInNoSteps) {
    Wires wires;
    EventLines events;

    EXPECT_THROW(Board({.stampGranularityNs = 0}, wires, events), std::invalid_argument);
}

TEST_F(FivePorts, BroadcastGoesToEveryOtherPort) {
    for (uint8_t from = 0; from < 5; ++from) {
        wires.sent.clear();
        std::vector<uint8_t> others{0, 1, 2, 3, 4};
        std::erase(others, from);

        board.FrameArrived(from, broadcast, 0);

        EXPECT_EQ(PortsReached(), others) << int{from};
        EXPECT_EQ(board.Counters(from).forwarded, 1u);
    }
    EXPECT_THAT(wires.toCpu, IsEmpty());
}

TEST_F(FivePorts, NothingComesInAtAPortBeyondTheFive) {
    for (const uint8_t port : {uint8_t{5}, uint8_t{6}, uint8_t{255}}) board.FrameArrived(port, broadcast, 0);

    EXPECT_THAT(wires.sent, IsEmpty());
}

TEST_F(FivePorts, KnownStationIsReachedThroughItsPortAlone) {
    board.FrameArrived(4, broadcast, 0);
    wires.sent.clear();

    board.FrameArrived(2, Frame("02 00 00 00 00 0a  02 00 00 00 00 0b", "08 00"), 0);

    EXPECT_THAT(PortsReached(), ElementsAre(4));
}

TEST_F(FivePorts, VlanReachesItsMembersOnly) {
    SetVlan(1, 0x7A, 10);  // ports 1, 3 and 4, and two that lead nowhere outside

    board.FrameArrived(3, inVlan10, 0);

    EXPECT_THAT(PortsReached(), ElementsAre(1, 4));
}

TEST_F(FivePorts, StreamFollowsTheMaskOfItsEntry) {
    EXPECT_EQ(AddMulticast(0x10, 2, streamAddress), 0);
    EXPECT_EQ(AddMulticast(0x04, 2, streamAddress), 0);

    board.FrameArrived(0, ofStream, 0);

    EXPECT_THAT(PortsReached(), ElementsAre(2, 4));
    EXPECT_THAT(events.lines, ElementsAre("multicast add port mask 0x10 vid 2 91:e0:f0:00:01:00",
                                          "multicast add port mask 0x04 vid 2 91:e0:f0:00:01:00"));
}

TEST_F(FivePorts, FrameFromTheCpuLeavesByTheLastPortAndByNoneBeyond) {
    board.FrameFromCpu(FromCpu(4));
    board.FrameFromCpu(FromCpu(5));

    EXPECT_THAT(PortsReached(), ElementsAre(4));
    EXPECT_EQ(board.Counters(cpuPort).Dropped(DropReason::NO_SUCH_PORT), 1u);
}

TEST_F(FivePorts, ControlFrameNamesTheLastPort) {
    board.FrameArrived(4, EventMessage(), 0);

    ASSERT_THAT(wires.toCpu, testing::SizeIs(1));
    EXPECT_EQ(wires.toCpu[0][17], 4 << 3);
}

TEST_F(FivePorts, EventMessageOfTheLastPortIsStampedInStepsOfTheClock) {
    board.FrameArrived(4, EventMessage(), 31);
    board.FrameSent(4, EventMessage(), 32);
    board.FrameSent(5, EventMessage(), 32);

    EXPECT_EQ(board.Stamps().Take({Direction::RECEIVE, 4, 2, 0x0102}, 100), 24u);
    EXPECT_EQ(board.Stamps().Take({Direction::TRANSMIT, 4, 2, 0x0102}, 100), 32u);
    EXPECT_FALSE(board.Stamps().Take({Direction::TRANSMIT, 5, 2, 0x0102}, 100));
}

TEST_F(FivePorts, StampIsAskedForOnEveryExternalPort) {
    for (uint8_t port = 0; port < 5; ++port) {
        board.FrameArrived(port, EventMessage(), 0);
        EXPECT_EQ(QueryStamp(port), 0) << int{port};
    }
    EXPECT_EQ(QueryStamp(5), EINVAL);
    EXPECT_EQ(QueryStamp(6), EINVAL);
}

TEST_F(FivePorts, StatusReportHasALineForEachAndForTheCpu) {
    board.SetLink(3, {});
    board.FrameArrived(3, broadcast, 0);

    const auto report = StatusReport(board, 0);

    EXPECT_THAT(report, HasSubstr("port 2 link 0xe received 0 (0 bytes) sent 0 (0 bytes) forwarded 0 trapped 0\n"
                                  "port 3 link 0x0 received 1 (60 bytes) sent 0 (0 bytes) forwarded 0 trapped 0\n"
                                  "port 3 dropped 1 link down\n"
                                  "port 4 link 0xe received 0 (0 bytes) sent 0 (0 bytes) forwarded 0 trapped 0\n"
                                  "port 6 link 0x0 received 0 (0 bytes) sent 0 (0 bytes) forwarded 0 trapped 0\n"
                                  "clock\n"));
    EXPECT_THAT(report, Not(HasSubstr("port 5")));
}

}  // namespace
}  // namespace norvad::board::test
