// Ports that come and go.

#include "base/ethertypes.h"
#include "tests/msrp/msrp_bridge.h"

namespace norvad::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class MsrpPortEvents : public MsrpBridge {
protected:
    MsrpPortEvents() { Raise({0, 1}); }

    // As the switch does it: the link first, then the spanning tree.
    void TakeDown(uint8_t port) {
        FakeSwitch::Port& state = board.ports.at(port);
        state.up = false;
        msrp.PortDown(port);
        state.stpUp = state.avbUp = false;
        msrp.PortStpDown(port);
    }

    const StreamID id = Stream(1);
};

TEST_F(MsrpPortEvents, EveryEventHasItsLine) {
    CapturedLog watch(1);
    msrp.PortUp(1);
    msrp.PortStpUp(1);
    msrp.PortAvbUp(1);
    msrp.PortAvbDown(1);
    msrp.PortStpDown(1);
    msrp.PortDown(1);
    const std::string text = watch.Text();

    for (const char* line : {"[SW-MSRP] port 1 up\n", "[SW-MSRP] port 1 STP up\n", "[SW-MSRP] port 1 AVB up\n",
                             "[SW-MSRP] port 1 AVB down\n", "[SW-MSRP] port 1 STP down\n", "[SW-MSRP] port 1 down\n"}) {
        EXPECT_THAT(text, HasSubstr(line));
    }
}

TEST_F(MsrpPortEvents, TheHandlerServesItsEtherType) {
    EXPECT_EQ(msrp.GetEtherType(), 0x22EA);
    EXPECT_EQ(msrp.GetMulticastAddress(), nullptr);
    EXPECT_EQ(msrp.PortCount(), 7);
}

TEST_F(MsrpPortEvents, APortThatGoesDownTakesItsRegistrationsAlong) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id);
    ASSERT_FALSE(board.multicasts.empty());
    TakeDown(0);

    EXPECT_FALSE(IsTalkerDeclared(1, id));
    EXPECT_FALSE(msrp.FindListener(id, 1)->reservation.active);
    EXPECT_THAT(board.multicasts, IsEmpty());
    RunMs(200);
    EXPECT_EQ(msrp.FindTalker(id, 0), nullptr);
    EXPECT_EQ(msrp.FindListener(id, 0), nullptr);
}

TEST_F(MsrpPortEvents, AListenersPortThatGoesDownReleasesAndWithdraws) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id);
    TakeDown(1);

    EXPECT_THAT(board.multicasts, IsEmpty());
    EXPECT_EQ(board.bandwidthCalls.back(), (FakeSwitch::BandwidthCall{1, 2, 0}));
    EXPECT_FALSE(IsListenerDeclared(0, id));
    EXPECT_TRUE(msrp.FindTalker(id, 0)->IsRegistered());
}

// The talker left while the port was down and so was not told; coming back, the port must not believe in it.
TEST_F(MsrpPortEvents, NothingIsDeclaredOnAPortThatWentDownAndCameBack) {
    ReceiveTalker(0, id);
    TakeDown(1);
    EXPECT_FALSE(IsTalkerDeclared(1, id));
    msrp.RunAttributeStateMachines(msrp.FindTalker(id, 0), 0, Event::FLUSH);
    Raise({1});
    msrp.PortUp(1);
    msrp.PortAvbUp(1);
    RunMs(400);

    EXPECT_EQ(msrp.FindStream(id), nullptr);
}

TEST_F(MsrpPortEvents, APortThatComesBackHearsOfTheTalkersWithAvbUp) {
    ReceiveTalker(0, id);
    TakeDown(1);
    RunMs(400);
    (void)SentValues(1);
    Raise({1});
    msrp.PortUp(1);
    EXPECT_FALSE(IsTalkerDeclared(1, id));

    msrp.PortAvbUp(1);
    EXPECT_TRUE(IsTalkerDeclared(1, id));
    RunMs(1);
    EXPECT_THAT(SentValues(1), ElementsAre("talker 0001 New", "domain 5 New", "domain 6 New"));
}

TEST_F(MsrpPortEvents, AvbUpRepropagatesTheTalkersOfEveryPortAndRedeclaresTheOwn) {
    ReceiveTalker(0, id);
    ReceiveTalker(1, Stream(2));
    RunMs(1000);
    (void)SentValues(0);
    (void)SentValues(1);
    msrp.PortAvbUp(1);

    EXPECT_EQ(msrp.FindTalker(id, 0)->state.registrar, RegistrarState::IN);
    EXPECT_EQ(msrp.FindTalker(Stream(2), 1)->state.registrar, RegistrarState::LV);
    RunMs(1);
    EXPECT_THAT(SentValues(1), Contains("talker 0001 New"));
    EXPECT_THAT(SentValues(0), Contains("talker 0002 New"));
}

TEST_F(MsrpPortEvents, AvbUpJoinsTheListenersThatWaited) {
    ReceiveListener(1, id);
    board.ports[1].stpUp = false;
    ReceiveTalker(0, id);
    ASSERT_FALSE(IsListenerDeclared(0, id));

    board.ports[1].stpUp = true;
    msrp.PortAvbUp(1);
    EXPECT_TRUE(IsListenerDeclared(0, id));
    EXPECT_TRUE(msrp.FindListener(id, 1)->reservation.active);
}

TEST_F(MsrpPortEvents, AvbDownAndSpanningTreeChangeNothing) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id);
    RunMs(1000);
    (void)SentValues(0);
    (void)SentValues(1);
    const auto multicasts = board.multicasts;
    msrp.PortAvbDown(1);
    msrp.PortStpDown(0);
    msrp.PortStpUp(0);
    RunMs(1000);

    EXPECT_TRUE(IsTalkerDeclared(1, id));
    EXPECT_EQ(board.multicasts, multicasts);
    EXPECT_THAT(SentValues(0), IsEmpty());
    EXPECT_THAT(SentValues(1), IsEmpty());
}

TEST_F(MsrpPortEvents, APortThatComesUpTwiceDeclaresItsDomainsAnew) {
    msrp.PortUp(1);
    RunMs(1000);
    (void)SentValues(1);
    msrp.PortUp(1);
    RunMs(1);

    EXPECT_THAT(SentValues(1), ElementsAre("domain 5 New", "domain 6 New"));
}

TEST_F(MsrpPortEvents, DomainsStayDeclaredWithoutANeighbour) {
    msrp.PortUp(1);
    RunMs(60'000);

    ASSERT_NE(msrp.FindDomain({6, 3, 2}, 1), nullptr);
    EXPECT_FALSE(msrp.FindDomain({6, 3, 2}, 1)->IsRegistered());
    EXPECT_NE(msrp.FindDomain({5, 2, 2}, 1), nullptr);
}

TEST_F(MsrpPortEvents, DomainsGoWithTheirPort) {
    msrp.PortUp(1);
    RunMs(1000);
    TakeDown(1);
    RunMs(200);

    EXPECT_EQ(msrp.FindDomain({6, 3, 2}, 1), nullptr);
    EXPECT_EQ(msrp.FindDomain({5, 2, 2}, 1), nullptr);
}

TEST_F(MsrpPortEvents, APortBeyondTheTableThrows) {
    EXPECT_THROW(msrp.PortUp(7), std::out_of_range);
    EXPECT_THROW(msrp.PortDown(7), std::out_of_range);
    EXPECT_THROW(msrp.PortAvbUp(7), std::out_of_range);
}

TEST_F(MsrpPortEvents, ARegistrationThatIsNotRefreshedEndsWithTheLeaveAllOfThisBridge) {
    ReceiveTalker(0, id);
    RunMs(17'000);  // a LeaveAll comes within 15 s, the leave time is 1 s

    EXPECT_EQ(msrp.FindStream(id), nullptr);
}

TEST_F(MsrpPortEvents, AHandlerThatIsGoneLeavesNoTimer) {
    SteppedClock otherClock;
    TimerService otherTimers(otherClock);
    {
        MSRPHandler passing(board, board, otherTimers);
        passing.PortUp(0);
        Bytes frame = Frame(0, {Message(1, 25, {Vector(Copy(BytesOf(TalkerOf(id))), {0})})});
        passing.HandleFrame(frame, ETHERTYPE_MSRP);
    }
    board.sent.clear();
    for (int second = 0; second < 30; ++second) {
        otherClock.AdvanceMs(1000);
        EXPECT_EQ(otherTimers.runDue(), 10'000u);
    }
    EXPECT_THAT(board.sent, IsEmpty());
}

}  // namespace
}  // namespace norvad::test
