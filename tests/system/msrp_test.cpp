#include "tests/support/system/board_test.h"

namespace norvad::test {
namespace {

constexpr uint32_t latencyOfTheBridgeNs = 139264;

Bytes Latency(const Bytes& value) {
    return Part(value, latencyAt, 4);
}

class Msrp : public BoardTest {
protected:
    void Talk(MrpEvent event) { SendMsrp(0, {msrpTalker, event, TalkerValue(Stream())}); }
    void Listen(MrpEvent event, ListenerState state) { SendMsrp(1, {msrpListener, event, Stream().id, state}); }

    // A frame of the stream, counted by its last byte.
    Bytes StreamFrame(uint8_t count) const {
        return Join({
            Stream().destination,
            stations[0],
            FromHex("81 00 60 02"),  // priority 3, VLAN 2
            FromHex("22 f0"),        // AVTP
            Bytes(99),
            Bytes{count},
        });
    }

    const std::string multicast = " port mask 0x02 vid 2 91:e0:f0:00:01:00";
    const std::string limit = "egress limit port 1 parameter 2 limit ";
};

TEST_F(Msrp, DomainsAreDeclaredToTheNearestBridgeWhenALinkIsUp) {
    StartBoard();

    for (int port : {0, 1}) {
        SCOPED_TRACE(port);
        EXPECT_TRUE(WaitForDeclared(port, msrpDomain, FromHex("05 02 00 02")));  // class B
        EXPECT_TRUE(WaitForDeclared(port, msrpDomain, FromHex("06 03 00 02")));  // class A
        const auto isMsrp = [](const Bytes& frame) { return EtherType(frame) == 0x22EA; };
        const Bytes frame = wires[port]->WaitForFrame(isMsrp).value();
        EXPECT_EQ(Part(frame, 0, 6), FromHex("01 80 c2 00 00 0e"));
        EXPECT_EQ(Part(frame, 6, 6), VirtualBoard::Address());
        EXPECT_GE(frame.size(), 60U);
    }
}

TEST_F(Msrp, TalkerIsDeclaredAsFailedWhereThePortIsNotAsCapable) {
    StartBoard();

    Talk(mrpNew);

    const Bytes failed = DeclaredAt(1, msrpTalkerFailed, Stream().id);
    ASSERT_EQ(failed.size(), 34U);
    EXPECT_EQ(Part(failed, 0, latencyAt), Part(TalkerValue(Stream()), 0, latencyAt));
    EXPECT_EQ(Latency(failed), BigEndian(Stream().latencyNs + latencyOfTheBridgeNs, 4));
    EXPECT_EQ(Part(failed, bridgeIdAt, 8), Join({FromHex("80 00"), VirtualBoard::Address()}));
    EXPECT_EQ(failed[failureCodeAt], 8);  // egress port is not AVB capable
}

TEST_F(Msrp, TalkerIsDeclaredWithTheBridgesLatencyWhereThePortIsAsCapable) {
    StartBoard();
    MakeAsCapable(1);

    Talk(mrpNew);

    const Bytes talker = DeclaredAt(1, msrpTalker, Stream().id);
    ASSERT_EQ(talker.size(), 25U) << Log();
    EXPECT_EQ(Part(talker, 0, latencyAt), Part(TalkerValue(Stream()), 0, latencyAt));
    EXPECT_EQ(Latency(talker), BigEndian(Stream().latencyNs + latencyOfTheBridgeNs, 4));
}

TEST_F(Msrp, FailedTalkerBecomesATalkerWhenThePortTurnsAsCapable) {
    StartBoard();
    Talk(mrpNew);
    ASSERT_TRUE(WaitForDeclared(1, msrpTalkerFailed, Stream().id)) << Log();

    MakeAsCapable(1);

    EXPECT_TRUE(WaitForDeclared(1, msrpTalker, Stream().id)) << Log();
}

TEST_F(Msrp, TalkerThatLeavesIsWithdrawnOnTheOtherPort) {
    StartBoard();
    Talk(mrpNew);
    ASSERT_TRUE(WaitForDeclared(1, msrpTalkerFailed, Stream().id)) << Log();

    Talk(mrpLv);

    EXPECT_TRUE(WaitForLeft(1, msrpTalkerFailed, Stream().id)) << Log();
}

TEST_F(Msrp, ReadyListenerReservesAndItsLeaveReleases) {
    StartBoard();
    MakeAsCapable(1);
    Talk(mrpNew);
    ASSERT_TRUE(WaitForDeclared(1, msrpTalker, Stream().id)) << Log();
    EXPECT_EQ(board->Events("multicast add" + multicast), 0U);

    Listen(mrpNew, listenerReady);

    EXPECT_TRUE(board->WaitForEvent(limit + "1200000")) << board->Program().Output();  // 8000 * 100 + 400000
    EXPECT_TRUE(board->WaitForEvent("multicast add" + multicast)) << board->Program().Output();
    EXPECT_TRUE(WaitForDeclared(0, msrpListener, Stream().id)) << Log();

    Listen(mrpLv, listenerReady);

    EXPECT_TRUE(board->WaitForEvent("multicast remove" + multicast)) << board->Program().Output();
    EXPECT_TRUE(board->WaitForEvent(limit + "0")) << board->Program().Output();
    EXPECT_TRUE(WaitForLeft(0, msrpListener, Stream().id)) << Log();
    EXPECT_EQ(board->Events("multicast add" + multicast), 1U);
}

TEST_F(Msrp, ListenerThatFailedReservesNothingUntilItIsReady) {
    StartBoard();
    Talk(mrpNew);
    Listen(mrpNew, listenerAskingFailed);
    ASSERT_TRUE(WaitForDeclared(0, msrpListener, Stream().id)) << Log();
    EXPECT_EQ(board->Events("multicast add" + multicast), 0U);

    Listen(mrpJoinIn, listenerReady);

    EXPECT_TRUE(board->WaitForEvent("multicast add" + multicast)) << board->Program().Output() << Log();
}

TEST_F(Msrp, StreamFramesPassOnlyWhileTheyAreReserved) {
    StartBoard();
    MakeAsCapable(1);
    // The kernel takes the VLAN tag off a received frame and keeps it beside.
    const auto counted = [this](uint8_t count) {
        return [this, count](const Bytes& frame) {
            return Part(frame, 0, 6) == Stream().destination && frame.back() == count;
        };
    };
    wires[0]->Send(StreamFrame(1));
    Talk(mrpNew);
    ASSERT_TRUE(WaitForDeclared(1, msrpTalker, Stream().id)) << Log();
    Listen(mrpNew, listenerReady);
    ASSERT_TRUE(board->WaitForEvent("multicast add" + multicast)) << board->Program().Output();

    wires[0]->Send(StreamFrame(2));

    EXPECT_TRUE(wires[1]->WaitForFrame(counted(2)));
    // The frame sent first would have arrived first.
    EXPECT_FALSE(wires[1]->WaitForFrame(counted(1), 0, std::chrono::milliseconds(0)));
}

TEST_F(Msrp, TwoStreamsAddUpOnTheirPort) {
    StartBoard();
    StreamText second = Stream();
    second.id.back() = 2;
    second.destination.back() = 1;
    Talk(mrpNew);
    SendMsrp(0, {msrpTalker, mrpNew, TalkerValue(second)});

    Listen(mrpNew, listenerReady);
    SendMsrp(1, {msrpListener, mrpNew, second.id, listenerReady});

    EXPECT_TRUE(board->WaitForEvent(limit + "2400000")) << board->Program().Output();
    SendMsrp(1, {msrpListener, mrpLv, second.id, listenerReady});
    EXPECT_TRUE(board->WaitForEvent("multicast remove port mask 0x02 vid 2 91:e0:f0:00:01:01"));
    EXPECT_TRUE(board->WaitForEvent(limit + "1200000", 2)) << board->Program().Output();
    EXPECT_EQ(board->Events("multicast remove" + multicast), 0U);
}

TEST_F(Msrp, LinkLossOfTheListenerReleasesItsReservation) {
    StartBoard();
    Talk(mrpNew);
    Listen(mrpNew, listenerReady);
    ASSERT_TRUE(board->WaitForEvent("multicast add" + multicast)) << board->Program().Output();

    SetInterfaceUp("peer1", false);

    EXPECT_TRUE(board->WaitForEvent("multicast remove" + multicast)) << board->Program().Output() << Log();
    SetInterfaceUp("peer1", true);
}

}  // namespace
}  // namespace norvad::test
