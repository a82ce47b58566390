// What becomes of a talker on the other ports.

#include "tests/msrp/msrp_bridge.h"

namespace norvad::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr auto LV = AttributeEvent::LV;
constexpr auto JoinIn = AttributeEvent::JOIN;

class TalkerPropagationTest : public MsrpBridge {
protected:
    TalkerPropagationTest() { Raise({0, 1, 2}); }

    const StreamID id = Stream(1);
};

TEST_F(TalkerPropagationTest, ATalkerIsDeclaredOnEveryOtherPortThatIsUp) {
    board.ports[2].up = false;
    ReceiveTalker(0, id);

    EXPECT_FALSE(IsTalkerDeclared(0, id));
    EXPECT_TRUE(IsTalkerDeclared(1, id));
    EXPECT_FALSE(IsTalkerDeclared(2, id));
    EXPECT_FALSE(IsTalkerDeclared(6, id));
}

TEST_F(TalkerPropagationTest, PropagationCopiesTheStoredValueSoThatEachHopAddsOnce) {
    ReceiveTalker(0, id);

    EXPECT_EQ(msrp.FindTalker(id, 1)->value.accumulatedLatency, 1000u + 139264);
}

TEST_F(TalkerPropagationTest, ATalkerThatLeavesIsWithdrawnWithALeave) {
    ReceiveTalker(0, id);
    RunMs(1000);
    (void)SentValues(1);
    ReceiveTalker(0, id, LV);
    EXPECT_TRUE(IsTalkerDeclared(1, id));  // the neighbour has its time to come back

    RunLeaveTime();
    EXPECT_THAT(SentValues(1), ElementsAre("talker 0001 Lv"));
    EXPECT_EQ(msrp.FindStream(id), nullptr);
}

TEST_F(TalkerPropagationTest, ATalkerFromTwoPortsStaysUntilBothHaveLeft) {
    ReceiveTalker(0, id);
    ReceiveTalker(1, id);
    EXPECT_TRUE(IsTalkerDeclared(2, id));
    EXPECT_TRUE(IsTalkerDeclared(1, id));
    RunMs(1000);
    (void)SentValues(2);

    ReceiveTalker(0, id, LV);
    RunLeaveTime();
    EXPECT_TRUE(IsTalkerDeclared(2, id));
    EXPECT_FALSE(IsTalkerDeclared(1, id));
    EXPECT_THAT(SentValues(2), Not(::testing::Contains("talker 0001 Lv")));

    ReceiveTalker(1, id, LV);
    RunLeaveTime();
    EXPECT_FALSE(IsTalkerDeclared(2, id));
    EXPECT_THAT(SentValues(2), ::testing::Contains("talker 0001 Lv"));
}

TEST_F(TalkerPropagationTest, SourcesComeAndGoInTheLog) {
    CapturedLog watch(1);
    ReceiveTalker(0, id);
    ReceiveTalker(1, id);
    ReceiveTalker(0, id, LV);
    RunLeaveTime();
    const std::string text = watch.Text();

    EXPECT_THAT(text, HasSubstr("[SW-MSRP] Port(2) Propagate from (0):\n     [MSRP] Talker: 00:1b:21:01:02:03:00:01:"));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] Port(2) Propagate from (1):\n     [MSRP] Talker: "));
    EXPECT_THAT(text, HasSubstr(" 1 added\n"));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] Port(2) Propagate LV from (0):\n     [MSRP] Talker: "));
    EXPECT_THAT(text, HasSubstr(" 0 removed\n"));
}

TEST_F(TalkerPropagationTest, ALeaveOfAPortThatIsNoSourceIsSilent) {
    ReceiveTalker(0, id);
    board.ports[2].up = false;
    msrp.PortDown(2);
    board.Raise(2);
    CapturedLog watch(1);
    ReceiveTalker(0, id, LV);
    RunLeaveTime();

    EXPECT_THAT(watch.Text(), Not(HasSubstr("Port(2) Propagate LV from (0)")));
}

TEST_F(TalkerPropagationTest, ATalkerTowardsAPortWithoutAvbIsAFailedOneOfThisBridge) {
    board.ports[1].avbUp = false;
    ReceiveTalker(0, id);

    EXPECT_FALSE(IsTalkerDeclared(1, id));
    ASSERT_TRUE(IsTalkerFailedDeclared(1, id));
    const TalkerFailedFirstValue& value = msrp.FindTalkerFailed(id, 1)->value;
    EXPECT_EQ(value.bridgeId, (BridgeID{0x80, 0x00, 0x02, 0x00, 0x5E, 0x10, 0x20, 0x30}));
    EXPECT_EQ(value.failureCode, 8);
    EXPECT_EQ(Copy(BytesOf(value.talker)), Copy(BytesOf(msrp.FindTalker(id, 0)->value)));
    EXPECT_TRUE(IsTalkerDeclared(2, id));
}

TEST_F(TalkerPropagationTest, ATalkerThatLeavesWithdrawsTheFailedOneToo) {
    board.ports[1].avbUp = false;
    ReceiveTalker(0, id);
    RunMs(1000);
    (void)SentValues(1);
    ReceiveTalker(0, id, LV);
    RunLeaveTime();

    EXPECT_THAT(SentValues(1), ElementsAre("failed 0001 Lv"));
}

TEST_F(TalkerPropagationTest, AvbUpTurnsTheFailedTalkerIntoATalker) {
    board.ports[1].avbUp = false;
    ReceiveTalker(0, id);
    RunMs(1000);
    (void)SentValues(1);

    board.ports[1].avbUp = true;
    CapturedLog watch(1);
    msrp.PortAvbUp(1);
    EXPECT_THAT(watch.Text(), HasSubstr("[SW-MSRP] Port(1) Remove Propagated Talker failed for talker\n"));
    EXPECT_TRUE(IsTalkerDeclared(1, id));
    EXPECT_EQ(msrp.FindTalkerFailed(id, 1), nullptr);
    RunMs(1);
    EXPECT_THAT(SentValues(1), ElementsAre("talker 0001 New"));
}

TEST_F(TalkerPropagationTest, WithAvbDownTheNextRefreshTurnsTheTalkerIntoAFailedOne) {
    ReceiveTalker(0, id);
    board.ports[1].avbUp = false;
    msrp.PortAvbDown(1);
    EXPECT_TRUE(IsTalkerDeclared(1, id));

    ReceiveTalker(0, id, JoinIn);
    EXPECT_FALSE(IsTalkerDeclared(1, id));
    EXPECT_TRUE(IsTalkerFailedDeclared(1, id));
    EXPECT_TRUE(IsTalkerDeclared(2, id));
}

TEST_F(TalkerPropagationTest, AFailedTalkerKeepsItsBridgeAndCodeAndNeedsNoAvb) {
    board.ports[1].avbUp = false;
    ReceiveTalkerFailed(0, id);

    for (const uint8_t port : {uint8_t{1}, uint8_t{2}}) {
        ASSERT_TRUE(IsTalkerFailedDeclared(port, id));
        EXPECT_EQ(msrp.FindTalkerFailed(id, port)->value.bridgeId, (BridgeID{0x80, 0, 2, 9, 9, 9, 9, 9}));
        EXPECT_EQ(msrp.FindTalkerFailed(id, port)->value.failureCode, 1);
        EXPECT_EQ(msrp.FindTalkerFailed(id, port)->value.talker.accumulatedLatency, 1000u + 139264);
    }
    EXPECT_EQ(msrp.FindTalkerFailed(id, 6), nullptr);
}

TEST_F(TalkerPropagationTest, AFailedTalkerThatLeavesIsWithdrawn) {
    ReceiveTalkerFailed(0, id);
    RunMs(1000);
    (void)SentValues(1);
    ReceiveTalkerFailed(0, id, LV);
    RunLeaveTime();

    EXPECT_THAT(SentValues(1), ElementsAre("failed 0001 Lv"));
    EXPECT_EQ(msrp.FindStream(id), nullptr);
}

// A neighbour's talker turned good on the same port: its failed record goes at once, and with it what was declared
// for it elsewhere.
TEST_F(TalkerPropagationTest, ATalkerInPlaceOfAFailedOneReplacesItEverywhere) {
    ReceiveTalkerFailed(0, id);
    ReceiveTalker(0, id);

    EXPECT_EQ(msrp.FindTalkerFailed(id, 0), nullptr);
    EXPECT_FALSE(IsTalkerFailedDeclared(1, id));
    EXPECT_TRUE(IsTalkerDeclared(1, id));

    ReceiveTalker(0, id, LV);
    RunLeaveTime();
    EXPECT_EQ(msrp.FindStream(id), nullptr);
}

TEST_F(TalkerPropagationTest, ATalkerInPlaceOfAFailedOneStaysFailedTowardsAPortWithoutAvb) {
    board.ports[1].avbUp = false;
    ReceiveTalkerFailed(0, id);
    ReceiveTalker(0, id);

    EXPECT_TRUE(IsTalkerFailedDeclared(1, id));
    EXPECT_TRUE(IsTalkerDeclared(2, id));

    ReceiveTalker(0, id, LV);
    RunLeaveTime();
    EXPECT_EQ(msrp.FindStream(id), nullptr);
}

TEST_F(TalkerPropagationTest, AFailedTalkerThatIsReplacedByARefreshOfTheTalkerIsNowhereDeclared) {
    ReceiveTalker(0, id);
    ReceiveTalkerFailed(0, id);
    EXPECT_TRUE(IsTalkerFailedDeclared(1, id));
    ReceiveTalker(0, id, AttributeEvent::MT);  // refreshes nothing, but names a talker that is known here

    EXPECT_EQ(msrp.FindTalkerFailed(id, 0), nullptr);
    EXPECT_FALSE(IsTalkerFailedDeclared(1, id));
    EXPECT_TRUE(IsTalkerDeclared(1, id));
}

// A stale leave of a talker that was never registered removes nothing: it says nothing good of the stream.
TEST_F(TalkerPropagationTest, ALeaveOfAnUnknownTalkerDoesNotReplaceTheFailedOne) {
    ReceiveTalkerFailed(0, id);
    ReceiveTalker(0, id, LV);

    EXPECT_NE(msrp.FindTalkerFailed(id, 0), nullptr);
    EXPECT_TRUE(IsTalkerFailedDeclared(1, id));
}

// Talker to failed talker on one port: for the leave time both are registered there.
TEST_F(TalkerPropagationTest, AFailedTalkerInPlaceOfATalkerOutlivesItsLeave) {
    ReceiveTalker(0, id);
    ReceiveTalker(0, id, LV);
    ReceiveTalkerFailed(0, id);
    RunLeaveTime();

    EXPECT_FALSE(IsTalkerDeclared(1, id));
    EXPECT_TRUE(IsTalkerFailedDeclared(1, id));
}

TEST_F(TalkerPropagationTest, WithoutAvbTheFailedTalkerStaysWhileTheTalkersPortStillHasAFailedTalker) {
    board.ports[1].avbUp = false;
    ReceiveTalker(0, id);
    ReceiveTalkerFailed(0, id);
    ReceiveTalker(0, id, LV);  // removes the failed talker: the talker is known here
    ReceiveTalkerFailed(0, id);
    RunLeaveTime();
    EXPECT_TRUE(IsTalkerFailedDeclared(1, id));
    EXPECT_FALSE(IsTalkerDeclared(1, id));

    ReceiveTalkerFailed(0, id, LV);
    RunLeaveTime();
    EXPECT_FALSE(IsTalkerFailedDeclared(1, id));
}

TEST_F(TalkerPropagationTest, WithoutAvbTheFailedTalkerStaysWhileItsPortStillHasATalker) {
    board.ports[1].avbUp = false;
    ReceiveTalker(0, id);
    ReceiveTalkerFailed(0, id);
    ReceiveTalkerFailed(0, id, LV);
    RunLeaveTime();
    EXPECT_EQ(msrp.FindTalkerFailed(id, 0), nullptr);
    EXPECT_TRUE(IsTalkerFailedDeclared(1, id));   // of the talker
    EXPECT_FALSE(IsTalkerFailedDeclared(2, id));  // of the failed talker only

    ReceiveTalker(0, id, LV);
    RunLeaveTime();
    EXPECT_FALSE(IsTalkerFailedDeclared(1, id));
}

// A talker on one port displaces the failed talker of another on the third; when it leaves, that one is still there.
TEST_F(TalkerPropagationTest, AFailedTalkerThatWasDisplacedComesBackWhenTheTalkerLeaves) {
    ReceiveTalkerFailed(0, id);
    EXPECT_TRUE(IsTalkerFailedDeclared(2, id));
    ReceiveTalker(1, id);
    EXPECT_FALSE(IsTalkerFailedDeclared(2, id));
    EXPECT_TRUE(IsTalkerDeclared(2, id));

    ReceiveTalker(1, id, LV);
    RunLeaveTime();
    EXPECT_FALSE(IsTalkerDeclared(2, id));
    EXPECT_TRUE(IsTalkerFailedDeclared(2, id));
}

TEST_F(TalkerPropagationTest, AFailedTalkerThatTheNeighbourRegisteredIsHisToTakeBack) {
    ReceiveTalkerFailed(0, id);
    ReceiveTalkerFailed(1, id);
    EXPECT_TRUE(IsTalkerFailedDeclared(1, id));
    ReceiveTalker(0, id);

    ASSERT_NE(msrp.FindTalkerFailed(id, 1), nullptr);
    EXPECT_TRUE(msrp.FindTalkerFailed(id, 1)->IsRegistered());
    EXPECT_FALSE(IsTalkerFailedDeclared(1, id));
    EXPECT_TRUE(IsTalkerDeclared(1, id));
}

// Registered by the neighbour and declared to it for port 0 while a talker comes in on a third port: what is declared
// ends with a leave, the neighbour's registration and what is declared for it elsewhere stay.
TEST_F(TalkerPropagationTest, OfAFailedTalkerThatIsRegisteredAndDeclaredATalkerEndsTheDeclarationOnly) {
    ReceiveTalkerFailed(0, id);
    ReceiveTalkerFailed(1, id);
    RunMs(1000);
    (void)SentValues(1);
    TalkerFailed* failed = msrp.FindTalkerFailed(id, 1);
    ASSERT_TRUE(failed->IsRegistered() && failed->sources.Contains(0));
    CapturedLog watch(1);

    ReceiveTalker(2, id);

    EXPECT_THAT(watch.Text(), HasSubstr("[SW-MSRP] Port(1) Remove Propagated Talker failed for talker\n"));
    ASSERT_EQ(msrp.FindTalkerFailed(id, 1), failed);
    EXPECT_TRUE(failed->IsRegistered());
    EXPECT_FALSE(IsTalkerFailedDeclared(1, id));
    EXPECT_TRUE(IsTalkerDeclared(1, id));
    RunMs(1);
    EXPECT_THAT(SentValues(1), ElementsAre("talker 0001 New", "failed 0001 Lv"));
}

TEST_F(TalkerPropagationTest, AFailedTalkerOfWhichOnlyTheDeclarationEndedIsDeclaredAgainWhenTheTalkerLeaves) {
    ReceiveTalkerFailed(0, id);
    ReceiveTalkerFailed(1, id);
    ReceiveTalker(2, id);
    ASSERT_FALSE(IsTalkerFailedDeclared(1, id));

    ReceiveTalker(2, id, LV);
    RunLeaveTime();

    EXPECT_FALSE(IsTalkerDeclared(1, id));
    EXPECT_TRUE(IsTalkerFailedDeclared(1, id));
    EXPECT_TRUE(msrp.FindTalkerFailed(id, 1)->IsRegistered());
}

TEST_F(TalkerPropagationTest, ARecordThatIsDeclaredKeepsItsValueWhenTheNeighbourRegistersIt) {
    ReceiveTalker(0, id);
    ReceiveTalker(1, id);

    EXPECT_EQ(msrp.FindTalker(id, 1)->value.accumulatedLatency, 1000u + 139264);
    EXPECT_TRUE(msrp.FindTalker(id, 1)->IsRegistered());
    EXPECT_TRUE(IsTalkerDeclared(1, id));
    EXPECT_TRUE(IsTalkerDeclared(0, id));
}

TEST_F(TalkerPropagationTest, AfterTheLastSourceTheRecordIsDeclaredAgainByTheNextOne) {
    ReceiveTalker(1, id);  // keeps the record on port 1 alive
    ReceiveTalker(0, id);
    ReceiveTalker(0, id, LV);
    RunLeaveTime();
    EXPECT_FALSE(IsTalkerDeclared(1, id));
    ASSERT_NE(msrp.FindTalker(id, 1), nullptr);

    ReceiveTalker(0, id);
    EXPECT_TRUE(IsTalkerDeclared(1, id));
}

TEST_F(TalkerPropagationTest, LocalStreamsCrossOnlyToTheExternalPortTheyAreBoundTo) {
    Raise({5, 6});
    const StreamID hostTalker = Stream(1, 0x1F), hostListener = Stream(2, 0x7F);
    ReceiveTalker(6, hostTalker);
    ReceiveTalker(0, hostListener);

    EXPECT_TRUE(IsTalkerDeclared(0, hostTalker));
    EXPECT_FALSE(IsTalkerDeclared(1, hostTalker));
    EXPECT_TRUE(IsTalkerDeclared(5, hostTalker));
    EXPECT_FALSE(IsTalkerDeclared(6, hostListener));
    EXPECT_FALSE(IsTalkerDeclared(5, hostListener));
    EXPECT_TRUE(IsTalkerDeclared(1, hostListener));
}

TEST_F(TalkerPropagationTest, FailedTalkersPassTheSameFilter) {
    Raise({6});
    ReceiveTalkerFailed(6, Stream(1, 0x2F));

    EXPECT_FALSE(IsTalkerFailedDeclared(0, Stream(1, 0x2F)));
    EXPECT_TRUE(IsTalkerFailedDeclared(1, Stream(1, 0x2F)));
}

TEST_F(TalkerPropagationTest, DomainsStayBetweenTwoNeighbours) {
    Receive(0, {Message(4, 4, {Vector({6, 3, 0, 2}, {0})})});
    RunMs(1000);

    EXPECT_EQ(msrp.FindDomain({6, 3, 2}, 1), nullptr);
    EXPECT_THAT(SentValues(1), IsEmpty());
}

}  // namespace
}  // namespace norvad::test
