// Frames out, byte for byte.

#include "tests/msrp/msrp_bridge.h"

namespace norvad::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class MsrpTransmit : public MsrpBridge {
protected:
    MsrpTransmit() { Raise({0, 1}); }

    Bytes FirstFrameOn(uint8_t port) {
        const auto frames = board.SentOn(port);
        return frames.empty() ? Bytes{} : frames.front();
    }
};

TEST_F(MsrpTransmit, APortThatComesUpDeclaresTwoDomains) {
    msrp.PortUp(1);
    RunMs(2);

    EXPECT_EQ(FirstFrameOn(1), FromHex("01 80 c2 00 00 0e  02 00 5e 10 20 30"  // to the group address, from the switch
                                       " da da 00 00 40 08 e0 01  22 ea"       // from the CPU by port 1; MSRP
                                       " 00"                                   // protocol version
                                       " 04 04 00 10"                          // domains, 4 bytes each, 16 in the list
                                       "  00 01  05 02 00 02  00"              // class B, priority 2, VLAN 2; New
                                       "  00 01  06 03 00 02  00"              // class A, priority 3, VLAN 2; New
                                       "  00 00"                               // end of list
                                       " 00 00"                                // end of PDU
                                       " 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"));
    EXPECT_THAT(board.SentOn(0), IsEmpty());
}

TEST_F(MsrpTransmit, ATalkerIsDeclaredOnTheOtherPortWithTheLatencyOfThisBridge) {
    ReceiveTalker(0, Stream(1));
    RunMs(2);

    EXPECT_EQ(FirstFrameOn(1),
              FromHex("01 80 c2 00 00 0e  02 00 5e 10 20 30"     //
                      " da da 00 00 40 08 e0 01  22 ea  00"      //
                      " 01 19 00 1e"                             // talkers, 25 bytes each
                      "  00 01  00 1b 21 01 02 03 00 01"         // one value: stream id,
                      "  91 e0 f0 00 00 01  00 02  00 64 00 01"  // destination, VLAN, frame size, frames,
                      "  70  00 02 23 e8  00"                    // priority and rank, 140264 ns; New
                      "  00 00  00 00"                           // ends of list and PDU
                      " 00 00 00 00 00 00 00 00 00"));           // up to 68 bytes
}

TEST_F(MsrpTransmit, ATalkerBecomesAFailedOneTowardsAPortThatIsNotAvbCapable) {
    board.ports[1].avbUp = false;
    ReceiveTalker(0, Stream(1));
    RunMs(2);

    EXPECT_EQ(FirstFrameOn(1), FromHex("01 80 c2 00 00 0e  02 00 5e 10 20 30"     //
                                       " da da 00 00 40 08 e0 01  22 ea  00"      //
                                       " 02 22 00 27"                             // failed talkers, 34 bytes each
                                       "  00 01  00 1b 21 01 02 03 00 01"         //
                                       "  91 e0 f0 00 00 01  00 02  00 64 00 01"  //
                                       "  70  00 02 23 e8"                        //
                                       "  80 00 02 00 5e 10 20 30  08  00"        // this bridge, code 8; New
                                       "  00 00  00 00"));
}

TEST_F(MsrpTransmit, AListenerIsDeclaredTowardsItsTalker) {
    ReceiveTalker(0, Stream(1));
    ReceiveListener(1, Stream(1), ListenerDeclaration::READY_FAILED);
    RunMs(2);

    EXPECT_EQ(FirstFrameOn(0), FromHex("01 80 c2 00 00 0e  02 00 5e 10 20 30"  //
                                       " da da 00 00 40 00 e0 01  22 ea  00"   //
                                       " 03 08 00 0e"                          // listeners, 8 bytes each
                                       "  00 01  00 1b 21 01 02 03 00 01"      // one value: stream id;
                                       "  00 c0  00 00  00 00"                 // New, READY_FAILED
                                       " 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"));
}

TEST_F(MsrpTransmit, ADeclarationIsSentUntilItIsSureToHaveArrived) {
    ReceiveTalker(0, Stream(1));
    RunMs(1000);
    EXPECT_THAT(SentValues(1), ElementsAre("talker 0001 New", "talker 0001 New", "talker 0001 JoinMt"));

    RunMs(5000);
    EXPECT_THAT(SentValues(1), IsEmpty());
}

TEST_F(MsrpTransmit, ValuesOfOneTypeShareAMessage) {
    CapturedLog watch(2);
    ReceiveTalker(0, Stream(1));
    ReceiveTalker(0, Stream(2));
    ReceiveTalkerFailed(0, Stream(3));
    RunMs(1);
    const std::string text = watch.Text();

    const Bytes frame = FirstFrameOn(1);
    ASSERT_GT(frame.size(), 27u);
    EXPECT_EQ(Part(frame, 23, 4), FromHex("01 19 00 3a"));
    EXPECT_THAT(SentValues(1), ElementsAre("talker 0001 New", "talker 0002 New", "failed 0003 New"));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] TalkerProcessor added 2 talkers\n"));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] talker event for port 1\n"));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] TalkerFailedProcessor added 1 talkerFailes\n"));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] talker failed event for port 1\n"));
    EXPECT_THAT(text, Not(HasSubstr("ListenerProcessor")));
    EXPECT_THAT(text, Not(HasSubstr("DomainProcessor")));
}

TEST_F(MsrpTransmit, ListenersAndDomainsAreCountedInTheLog) {
    CapturedLog watch(2);
    msrp.PortUp(0);
    ReceiveTalker(0, Stream(1));
    ReceiveListener(1, Stream(1));
    RunMs(1);
    const std::string text = watch.Text();

    EXPECT_THAT(text, HasSubstr("[SW-MSRP] ListenerProcessor added 1 listeners\n"));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] DomainProcessor added 2 domains\n"));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] domain event for port 0\n"));
    EXPECT_THAT(SentValues(0), ElementsAre("listener 0001 New READY", "domain 5 New", "domain 6 New"));
}

TEST_F(MsrpTransmit, ALeaveAllWithNothingToDeclareIsFourMessagesWithoutValues) {
    for (uint32_t ms = 0; ms < 15'000 && board.SentOn(0).empty(); ++ms) RunMs(1);

    EXPECT_EQ(FirstFrameOn(0),
              FromHex("01 80 c2 00 00 0e  02 00 5e 10 20 30"  //
                      " da da 00 00 40 00 e0 01  22 ea  00"   //
                      " 01 19 00 1d  20 00"                   // LeaveAll, no values, an empty talker
                      "  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  00 00"
                      " 02 22 00 26  20 00"  //
                      "  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
                      "  00 00 00 00 00 00 00 00 00  00 00"                  //
                      " 03 08 00 0c  20 00  00 00 00 00 00 00 00 00  00 00"  //
                      " 04 04 00 08  20 00  00 00 00 00  00 00"              //
                      " 00 00"));
}

TEST_F(MsrpTransmit, ALeaveAllRidesOnTheFirstValueOfItsType) {
    msrp.PortUp(1);
    ReceiveTalker(0, Stream(1));
    ReceiveTalker(0, Stream(2));
    RunMs(2000);
    (void)SentValues(1);
    for (uint32_t ms = 0; ms < 15'000 && board.SentOn(1).empty(); ++ms) {
        if (ms % 100 == 0) ReceiveTalker(0, Stream(1), AttributeEvent::JOIN);
        if (ms % 100 == 0) ReceiveTalker(0, Stream(2), AttributeEvent::JOIN);
        RunMs(1);
    }

    EXPECT_THAT(SentValues(1), ElementsAre("talker 0001 JoinMt LeaveAll", "talker 0002 JoinMt", "failed LeaveAll",
                                           "listener LeaveAll", "domain 5 JoinMt LeaveAll", "domain 6 JoinMt"));
}

TEST_F(MsrpTransmit, AReceivedLeaveAllMakesTheBridgeDeclareAgain) {
    ReceiveTalker(0, Stream(1));
    RunMs(2000);
    (void)SentValues(1);
    Receive(1, {Message(1, 25, {Vector(Bytes(25), {}, {}, true)})});
    RunMs(1000);

    EXPECT_THAT(SentValues(1), ElementsAre("talker 0001 JoinMt", "talker 0001 JoinMt"));
}

TEST_F(MsrpTransmit, AFullPduLeavesTheRestForTheNextOpportunity) {
    for (uint8_t n = 1; n <= 60; ++n) ReceiveTalker(0, Stream(n));
    RunMs(1);
    // 27 bytes in front of the first vector, 28 for each of 50 vectors: the 50th begins below 1400 bytes.
    const auto first = SentValues(1);
    EXPECT_EQ(first.size(), 50u);
    EXPECT_EQ(first.back(), "talker 0032 New");

    RunMs(1000);
    const auto rest = SentValues(1);
    EXPECT_THAT(rest, ::testing::Contains("talker 0033 New"));
    EXPECT_THAT(rest, ::testing::Contains("talker 003c New"));
}

TEST_F(MsrpTransmit, APortThatIsDownSendsNothing) {
    board.ports[1].up = false;
    msrp.PortUp(1);
    RunMs(1000);

    EXPECT_THAT(board.SentOn(1), IsEmpty());
}

}  // namespace
}  // namespace norvad::test
