// How listeners find their talkers, and what they hold while they have them.

#include "tests/msrp/msrp_bridge.h"

namespace norvad::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using enum ListenerDeclaration;

constexpr auto LV = AttributeEvent::LV;
constexpr auto JoinIn = AttributeEvent::JOIN;

class ListenerPropagationTest : public MsrpBridge {
protected:
    ListenerPropagationTest() { Raise({0, 1, 2}); }

    bool IsReserved(uint8_t port, const StreamID& stream) {
        const Listener* listener = msrp.FindListener(stream, port);
        return listener && listener->reservation.active;
    }
    bool IsOpen(uint8_t port, uint8_t n) const {
        return board.multicasts.contains({port, 2, {0x91, 0xE0, 0xF0, 0, 0, n}});
    }
    uint32_t Bandwidth(uint8_t port) const { return board.reserved.at(port); }

    const StreamID id = Stream(1);
};

TEST_F(ListenerPropagationTest, AReadyListenerIsDeclaredTowardsItsTalkerAndReserves) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id, READY);

    EXPECT_TRUE(IsListenerDeclared(0, id));
    EXPECT_EQ(msrp.FindListener(id, 0)->propagatedDeclaration, READY);
    EXPECT_FALSE(IsListenerDeclared(2, id));
    EXPECT_TRUE(IsOpen(1, 1));
    EXPECT_FALSE(IsOpen(0, 1));
    EXPECT_THAT(board.bandwidthCalls, ElementsAre(FakeSwitch::BandwidthCall{1, 2, 1'200'000}));
}

TEST_F(ListenerPropagationTest, AListenerThatCameFirstIsJoinedWhenItsTalkerAppears) {
    ReceiveListener(1, id, READY);
    EXPECT_EQ(msrp.FindListener(id, 0), nullptr);
    EXPECT_THAT(board.bandwidthCalls, IsEmpty());

    ReceiveTalker(0, id);
    EXPECT_TRUE(IsListenerDeclared(0, id));
    EXPECT_TRUE(IsOpen(1, 1));
    EXPECT_EQ(Bandwidth(1), 1'200'000u);
}

TEST_F(ListenerPropagationTest, AListenerWithoutATalkerGoesNowhere) {
    ReceiveListener(1, id, READY);
    ReceiveTalkerFailed(0, id);

    EXPECT_FALSE(IsListenerDeclared(0, id));
    EXPECT_FALSE(IsReserved(1, id));
}

TEST_F(ListenerPropagationTest, AskingFailedIsCarriedButNeverOpensTheStream) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id, ASKING_FAILED);

    EXPECT_TRUE(IsListenerDeclared(0, id));
    EXPECT_EQ(msrp.FindListener(id, 0)->propagatedDeclaration, ASKING_FAILED);
    EXPECT_THAT(board.multicasts, IsEmpty());
    EXPECT_THAT(board.bandwidthCalls, IsEmpty());
}

TEST_F(ListenerPropagationTest, ReadyFailedReservesToo) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id, READY_FAILED);

    EXPECT_TRUE(IsOpen(1, 1));
}

TEST_F(ListenerPropagationTest, TwoListenersAddUpAndRemovingOneLeavesTheOther) {
    for (const uint8_t n : {uint8_t{1}, uint8_t{2}}) {
        ReceiveTalker(0, Stream(n));
        ReceiveListener(1, Stream(n));
    }
    EXPECT_EQ(Bandwidth(1), 2'400'000u);

    ReceiveListener(1, Stream(1), READY, LV);
    EXPECT_EQ(Bandwidth(1), 2'400'000u);  // the neighbour has its time to come back
    RunLeaveTime();
    EXPECT_EQ(Bandwidth(1), 1'200'000u);
    EXPECT_FALSE(IsOpen(1, 1));
    EXPECT_TRUE(IsOpen(1, 2));
    EXPECT_EQ(msrp.FindListener(Stream(1), 1), nullptr);
}

TEST_F(ListenerPropagationTest, AListenerThatLeavesIsWithdrawnAsAskingFailed) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id);
    RunMs(1000);
    (void)SentValues(0);
    ReceiveListener(1, id, READY, LV);
    RunLeaveTime();

    EXPECT_THAT(SentValues(0), ElementsAre("listener 0001 Lv ASKING_FAILED"));
    EXPECT_EQ(msrp.FindListener(id, 0), nullptr);
}

TEST_F(ListenerPropagationTest, AChangeToAskingFailedIsCarriedAndKeepsTheReservation) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id, READY);
    RunMs(1000);
    (void)SentValues(0);
    CapturedLog watch(2);
    ReceiveListener(1, id, ASKING_FAILED, JoinIn);
    EXPECT_THAT(watch.Text(),
                HasSubstr("[SW-MSRP] Port(0) Propagated Listener from (1): decl type changed to ASKING_FAILED\n"));

    RunMs(300);
    EXPECT_THAT(SentValues(0), Contains("listener 0001 JoinMt ASKING_FAILED"));
    EXPECT_TRUE(IsReserved(1, id));
    EXPECT_TRUE(IsOpen(1, 1));
    EXPECT_THAT(board.bandwidthCalls, ElementsAre(FakeSwitch::BandwidthCall{1, 2, 1'200'000}));
}

// The record outlives the listener, because a talker behind the same port makes this bridge declare one there.
TEST_F(ListenerPropagationTest, AReservationKeptWhileAskingFailedEndsWhenTheListenerLeaves) {
    ReceiveTalker(0, id);
    ReceiveTalker(1, id);
    ReceiveListener(2, id, READY);
    ReceiveListener(1, id, READY);
    ReceiveListener(1, id, ASKING_FAILED, JoinIn);
    ASSERT_TRUE(IsReserved(1, id));

    ReceiveListener(1, id, ASKING_FAILED, LV);
    RunLeaveTime();
    EXPECT_TRUE(IsListenerDeclared(1, id));
    EXPECT_FALSE(IsReserved(1, id));
    EXPECT_FALSE(IsOpen(1, 1));
    EXPECT_EQ(Bandwidth(1), 0u);
}

TEST_F(ListenerPropagationTest, AReservationKeptWhileAskingFailedEndsWithTheTalkerAndIsNotMadeForTheNext) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id, READY);
    ReceiveListener(1, id, ASKING_FAILED, JoinIn);
    ReceiveTalker(0, id, LV);
    RunLeaveTime();
    EXPECT_FALSE(IsReserved(1, id));
    EXPECT_FALSE(IsOpen(1, 1));
    EXPECT_EQ(Bandwidth(1), 0u);

    ReceiveTalker(0, id);
    EXPECT_TRUE(IsListenerDeclared(0, id));
    EXPECT_FALSE(IsReserved(1, id));
}

TEST_F(ListenerPropagationTest, AChangeToReadyReserves) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id, ASKING_FAILED);
    ReceiveListener(1, id, READY, JoinIn);

    EXPECT_TRUE(IsOpen(1, 1));
    EXPECT_EQ(msrp.FindListener(id, 0)->propagatedDeclaration, READY);
}

TEST_F(ListenerPropagationTest, RefreshesChangeNothing) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id);
    RunMs(1000);
    (void)SentValues(0);
    for (int i = 0; i < 10; ++i) {
        ReceiveListener(1, id, READY, JoinIn);
        ReceiveTalker(0, id, JoinIn);
        RunMs(100);
    }

    EXPECT_THAT(SentValues(0), IsEmpty());
    EXPECT_EQ(board.bandwidthCalls.size(), 1u);
}

// A refresh of the talker ran both listeners as if they had just reported their types, so that each of them changed
// what is declared, and the talker's side heard of two changes every time.
TEST_F(ListenerPropagationTest, ARefreshOfTheTalkerIsNoReportOfItsListeners) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id, READY);
    ReceiveListener(2, id, ASKING_FAILED);
    RunMs(1000);
    (void)SentValues(0);

    CapturedLog watch(2);
    ReceiveTalker(0, id, JoinIn);
    msrp.ApplyToPort(0, Event::REPROPAGATE);
    EXPECT_THAT(watch.Text(), Not(HasSubstr("decl type changed")));
    RunMs(1000);

    EXPECT_EQ(msrp.FindListener(id, 0)->propagatedDeclaration, READY);
    EXPECT_THAT(SentValues(0), IsEmpty());
}

TEST_F(ListenerPropagationTest, ARefreshOfTheTalkerJoinsAListenerThatCouldNotReachItBefore) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id, READY);
    board.ports[2].stpUp = false;
    ReceiveListener(2, id, READY);
    ASSERT_FALSE(IsReserved(2, id));

    board.ports[2].stpUp = true;
    ReceiveTalker(0, id, JoinIn);

    EXPECT_TRUE(IsReserved(2, id));
    EXPECT_TRUE(msrp.FindListener(id, 0)->sources.Contains(2));
}

// The neighbour had declared nothing before, so its first echo looked like a change of type.
TEST_F(ListenerPropagationTest, ANeighbourThatRepeatsOurDeclarationHasChangedNothing) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id, READY);

    CapturedLog watch(2);
    ReceiveListener(0, id, READY, JoinIn);

    EXPECT_THAT(watch.Text(), Not(HasSubstr("decl type changed")));
    EXPECT_EQ(msrp.FindListener(id, 0)->registeredDeclaration, READY);
    EXPECT_EQ(msrp.FindListener(id, 0)->state.registrar, RegistrarState::IN);
}

TEST_F(ListenerPropagationTest, AnEchoThatTurnsRegistrationIntoOursIsNoChangeEither) {
    ReceiveTalker(0, id);
    ReceiveTalker(2, id);
    ReceiveListener(1, id, READY);
    ReceiveListener(0, id, ASKING_FAILED, JoinIn);
    ASSERT_EQ(msrp.FindListener(id, 0)->registeredDeclaration, ASKING_FAILED);

    CapturedLog watch(2);
    ReceiveListener(0, id, READY, AttributeEvent::MT);  // an event without an indication of its own

    EXPECT_THAT(watch.Text(), Not(HasSubstr("decl type changed")));
    EXPECT_EQ(msrp.FindListener(id, 0)->registeredDeclaration, READY);
}

TEST_F(ListenerPropagationTest, ANeighbourThatDeclaresAnotherTypeThanOursHasChangedIt) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id, READY);
    ReceiveListener(0, id, READY, JoinIn);

    CapturedLog watch(2);
    ReceiveListener(0, id, READY_FAILED, JoinIn);

    EXPECT_THAT(watch.Text(), HasSubstr("[SW-MSRP] Port(0) Listener decl type changed to READY_FAILED\n"));
}

TEST_F(ListenerPropagationTest, WhatWasDeclaredOnceIsNotRepeatedLater) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id, ASKING_FAILED);
    ReceiveListener(0, id, READY, JoinIn);  // keeps the record when this bridge withdraws
    ReceiveListener(1, id, ASKING_FAILED, LV);
    RunLeaveTime();
    ASSERT_EQ(msrp.FindListener(id, 0)->propagatedDeclaration, ASKING_FAILED);

    CapturedLog watch(2);
    ReceiveListener(0, id, ASKING_FAILED, JoinIn);

    EXPECT_THAT(watch.Text(), HasSubstr("[SW-MSRP] Port(0) Listener decl type changed to ASKING_FAILED\n"));
}

TEST_F(ListenerPropagationTest, ALeaveNeverReserves) {
    ReceiveListener(1, id, READY);
    ReceiveListener(1, id, READY, LV);
    ReceiveTalker(0, Stream(2));
    RunLeaveTime();

    EXPECT_THAT(board.bandwidthCalls, IsEmpty());
}

TEST_F(ListenerPropagationTest, TheFirstOfSeveralSetsTheDeclarationAndThenTheLastToChange) {
    Raise({3});
    ReceiveTalker(0, id);
    ReceiveListener(1, id, READY);
    ReceiveListener(2, id, ASKING_FAILED);
    EXPECT_EQ(msrp.FindListener(id, 0)->propagatedDeclaration, READY);

    ReceiveListener(2, id, READY_FAILED, JoinIn);
    EXPECT_EQ(msrp.FindListener(id, 0)->propagatedDeclaration, READY_FAILED);

    ReceiveListener(2, id, READY_FAILED, LV);
    RunLeaveTime();
    EXPECT_TRUE(IsListenerDeclared(0, id));
    EXPECT_EQ(msrp.FindListener(id, 0)->propagatedDeclaration, READY_FAILED);
    EXPECT_TRUE(IsReserved(1, id));
}

TEST_F(ListenerPropagationTest, SourcesComeAndGoInTheLog) {
    ReceiveTalker(0, id);
    CapturedLog watch(2);
    ReceiveListener(1, id);
    ReceiveListener(2, id);
    ReceiveListener(2, id, READY, LV);
    RunLeaveTime();
    const std::string text = watch.Text();

    EXPECT_THAT(text, HasSubstr("[SW-MSRP] Port(1) Add:\n     [MSRP] Listener:001b21010203:0001 decl:READY \n"));
    EXPECT_THAT(text,
                HasSubstr("[SW-MSRP] Port(0) Propagate from (1):\n     [MSRP] Listener:001b21010203:0001 decl:READY "
                          "Applicant VN Registrar MT\n"));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] Port(0) Propagate from (2):\n     [MSRP] Listener:"));
    EXPECT_THAT(text, HasSubstr(" 2 added\n"));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] Port(0) Propagate LV from (2):\n     [MSRP] Listener:"));
    EXPECT_THAT(text, HasSubstr(" 2 removed\n"));
}

TEST_F(ListenerPropagationTest, AListenerDeclaredAgainAfterItsLastSourceTakesTheNewDeclaration) {
    ReceiveTalker(0, id);
    ReceiveListener(0, id, READY);  // an echo keeps the record on port 0
    ReceiveListener(1, id, READY);
    ReceiveListener(1, id, READY, LV);
    RunLeaveTime();
    ASSERT_NE(msrp.FindListener(id, 0), nullptr);
    EXPECT_EQ(msrp.FindListener(id, 0)->propagatedDeclaration, ASKING_FAILED);

    ReceiveListener(1, id, READY);
    EXPECT_TRUE(IsListenerDeclared(0, id));
    EXPECT_EQ(msrp.FindListener(id, 0)->propagatedDeclaration, READY);
}

// The neighbour on the talker's side declares a listener of its own: what we declare to it must not change with what
// it declares to us.
TEST_F(ListenerPropagationTest, AnEchoOnTheTalkersPortLeavesTheDeclarationAlone) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id, READY);
    RunMs(1000);
    (void)SentValues(0);
    ReceiveListener(0, id, ASKING_FAILED);

    EXPECT_EQ(msrp.FindListener(id, 0)->propagatedDeclaration, READY);
    EXPECT_EQ(msrp.FindListener(id, 0)->registeredDeclaration, ASKING_FAILED);
    EXPECT_TRUE(IsReserved(1, id));
    EXPECT_FALSE(IsReserved(0, id));
    EXPECT_FALSE(IsListenerDeclared(1, id));
    RunMs(20'000);
    for (const std::string& value : SentValues(0)) EXPECT_THAT(value, Not(HasSubstr("listener 0001 New ASKING")));
}

TEST_F(ListenerPropagationTest, ATalkerThatLeavesMakesAProxyLeaveAndReleases) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id);
    ReceiveListener(2, id);
    RunMs(1000);
    (void)SentValues(0);
    ReceiveTalker(0, id, LV);
    CapturedLog watch(1);
    RunLeaveTime();
    const std::string text = watch.Text();

    EXPECT_THAT(text, HasSubstr("Proxy Leave to [MSRP] Listener:001b21010203:0001 decl:READY "));
    EXPECT_THAT(text, HasSubstr(" on port 0\n"));
    EXPECT_FALSE(IsListenerDeclared(0, id));
    EXPECT_THAT(board.multicasts, IsEmpty());
    EXPECT_EQ(Bandwidth(1), 0u);
    EXPECT_EQ(Bandwidth(2), 0u);
    EXPECT_THAT(SentValues(0), Contains(HasSubstr("listener 0001 Lv")));
    EXPECT_TRUE(msrp.FindListener(id, 1)->IsRegistered());  // still waiting for a talker
}

TEST_F(ListenerPropagationTest, AWaitingListenerIsServedByTheNextTalker) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id);
    ReceiveTalker(0, id, LV);
    RunLeaveTime();
    ASSERT_FALSE(IsReserved(1, id));

    ReceiveTalker(2, id);
    EXPECT_TRUE(IsListenerDeclared(2, id));
    EXPECT_TRUE(IsReserved(1, id));
}

TEST_F(ListenerPropagationTest, WithTwoTalkersTheReservationLastsUntilBothHaveLeft) {
    ReceiveTalker(0, id);
    ReceiveTalker(2, id);
    ReceiveListener(1, id);
    EXPECT_TRUE(IsListenerDeclared(0, id));
    EXPECT_TRUE(IsListenerDeclared(2, id));
    EXPECT_EQ(Bandwidth(1), 1'200'000u);

    ReceiveTalker(0, id, LV);
    RunLeaveTime();
    EXPECT_FALSE(IsListenerDeclared(0, id));
    EXPECT_TRUE(IsReserved(1, id));

    ReceiveTalker(2, id, LV);
    RunLeaveTime();
    EXPECT_FALSE(IsReserved(1, id));
    EXPECT_THAT(board.multicasts, IsEmpty());
}

TEST_F(ListenerPropagationTest, ATalkerThatTurnsIntoAFailedOneReleases) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id);
    ReceiveTalker(0, id, LV);
    ReceiveTalkerFailed(0, id);
    RunLeaveTime();

    EXPECT_FALSE(IsReserved(1, id));
    EXPECT_FALSE(IsListenerDeclared(0, id));
}

TEST_F(ListenerPropagationTest, WithoutSpanningTreeTheListenerWaits) {
    board.ports[0].stpUp = false;
    ReceiveTalker(0, id);
    ReceiveListener(1, id);
    EXPECT_FALSE(IsListenerDeclared(0, id));
    EXPECT_FALSE(IsReserved(1, id));

    board.ports[0].stpUp = true;
    ReceiveListener(1, id, READY, JoinIn);
    EXPECT_TRUE(IsListenerDeclared(0, id));
    EXPECT_TRUE(IsReserved(1, id));
}

// The leave does not pass while the spanning tree is down; freeing the record must not leave a source without a
// listener behind.
TEST_F(ListenerPropagationTest, AListenerThatLeftBehindABlockedPathIsWithdrawnWithItsRecord) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id);
    board.ports[1].stpUp = false;
    ReceiveListener(1, id, READY, LV);
    RunLeaveTime();

    EXPECT_EQ(msrp.FindListener(id, 1), nullptr);
    EXPECT_FALSE(IsListenerDeclared(0, id));
    EXPECT_THAT(board.multicasts, IsEmpty());
}

TEST_F(ListenerPropagationTest, ATalkersPortThatIsDownIsNotJoined) {
    ReceiveTalker(0, id);
    board.ports[0].up = false;
    ReceiveListener(1, id);

    EXPECT_FALSE(IsListenerDeclared(0, id));
    EXPECT_FALSE(IsReserved(1, id));
}

TEST_F(ListenerPropagationTest, AListenerOfTheHostReachesOnlyTheExternalPortItIsBoundTo) {
    Raise({6});
    const StreamID bound = Stream(1, 0x3F);
    ReceiveTalker(0, bound);
    ReceiveTalker(1, bound);
    CapturedLog watch(3);
    ReceiveListener(6, bound);
    const std::string text = watch.Text();

    EXPECT_TRUE(IsListenerDeclared(0, bound));
    EXPECT_FALSE(IsListenerDeclared(1, bound));
    EXPECT_THAT(text, HasSubstr("!!!![SW-MSRP] throw away listener [MSRP] Listener:001b21010203:3f01 decl:READY from "
                                "port 6 to port 1\n"));
    EXPECT_THAT(text, Not(HasSubstr("from port 6 to port 0")));
}

TEST_F(ListenerPropagationTest, AnExternalListenerReachesTheHostsTalkerOnlyFromThePortItIsBoundTo) {
    Raise({6});
    const StreamID bound = Stream(1, 0x2F);
    ReceiveTalker(6, bound);
    ReceiveListener(0, bound);
    EXPECT_FALSE(IsListenerDeclared(6, bound));
    EXPECT_FALSE(IsReserved(0, bound));

    ReceiveListener(1, bound);
    EXPECT_TRUE(IsListenerDeclared(6, bound));
    EXPECT_TRUE(IsReserved(1, bound));
}

TEST_F(ListenerPropagationTest, BoundStreamsBetweenExternalPortsNeedANeighbourOfTheSameMake) {
    const StreamID bound = Stream(1, 0x1F);
    ReceiveTalker(0, bound);
    ReceiveListener(1, bound);
    EXPECT_FALSE(IsListenerDeclared(0, bound));

    board.ports[0].peerIsSameMake = true;
    ReceiveListener(1, bound, READY, JoinIn);
    EXPECT_TRUE(IsListenerDeclared(0, bound));

    board.ports[0].peerIsSameMake = false;
    ReceiveListener(1, bound, READY, LV);
    RunMs(1000);
    EXPECT_FALSE(IsListenerDeclared(0, bound));  // a leave passes all the same
}

TEST_F(ListenerPropagationTest, ARemovedListenerGivesItsReservationBack) {
    ReceiveTalker(0, id);
    ReceiveListener(1, id);
    msrp.RemoveAttribute(*msrp.FindListener(id, 1));

    EXPECT_EQ(Bandwidth(1), 0u);
    EXPECT_THAT(board.multicasts, IsEmpty());
    EXPECT_FALSE(IsListenerDeclared(0, id));
}

}  // namespace
}  // namespace norvad::test
