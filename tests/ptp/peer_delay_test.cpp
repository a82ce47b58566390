#include <gtest/gtest.h>

#include "ptp/peer_delay.h"
#include "tests/ptp/ptp_fixture.h"
#include "tests/support/bytes.h"

namespace norvad::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr uint8_t requestType = 2;
constexpr uint8_t responseType = 3;

class PeerDelay : public PtpFixture {
protected:
    static constexpr uint32_t periodMs = 1050;  // with the jitter at its longest

    Framed<PdelayReqMessage> RequestOfPeer(uint16_t sequenceId) const {
        auto frame = BuildPdelayReq(peerMac, peer);
        frame.message.header.sourcePortIdentity.portNumber = 7;
        frame.message.header.sequenceId = sequenceId;
        return frame;
    }
    Framed<PdelayRespMessage> ResponseOfPeer(uint8_t port, uint16_t sequenceId) const {
        auto frame = BuildPdelayResp(peerMac, peer);
        frame.message.header.sequenceId = sequenceId;
        frame.message.requestingPortIdentity = {own, port};
        return frame;
    }
    PdelayRespFollowUpSent FollowUpOfPeer(uint8_t port, uint16_t sequenceId) const {
        auto frame = BuildPdelayRespFollowUp(peerMac, peer);
        frame.frame.message.header.sequenceId = sequenceId;
        frame.frame.message.requestingPortIdentity = {own, port};
        return frame;
    }

    // Runs to the next peer delay action and gives the sequence id of the request that it sent on the port.
    uint16_t NextRequest(uint8_t port) {
        const size_t before = Sent(port, PTPMessage::PDELAY_REQ).size();
        for (uint32_t ms = 0; ms < 2 * periodMs && Sent(port, PTPMessage::PDELAY_REQ).size() == before; ++ms) RunMs(1);
        return LastSent<Framed<PdelayReqMessage>>(port, PTPMessage::PDELAY_REQ).message.header.sequenceId;
    }
    // Answers the request with this delay and, for a rate ratio of 1, with the neighbour's clock equal to ours.
    void Answer(uint8_t port, uint16_t sequenceId, int64_t delay, uint64_t now) {
        // The stamp of the request was asked for when it was sent, so it stands as it is.
        fake.PutStamp(Direction::RECEIVE, port, responseType, sequenceId, now + static_cast<uint64_t>(2 * delay));
        auto response = ResponseOfPeer(port, sequenceId);
        response.message.requestReceiptTimestamp = EncodeTimestamp(now);
        Receive(port, response);
        auto followUp = FollowUpOfPeer(port, sequenceId);
        followUp.frame.message.responseOriginTimestamp = EncodeTimestamp(now);
        Receive(port, followUp);
    }
    // One whole period on the port: request, answer, and the next action that evaluates it.
    void RunExchange(uint8_t port, int64_t delay) {
        const auto next = static_cast<uint16_t>(requestsSeen + 1);
        const uint64_t now = 1'000'000'000'000 + uint64_t{next} * 1'000'000'000;
        fake.PutStamp(Direction::TRANSMIT, port, requestType, next, now);
        requestsSeen = NextRequest(port);
        Answer(port, requestsSeen, delay, now);
    }
    int32_t ShownDelay(uint8_t port) {
        const std::string status = Status();
        const std::string label = port == 0 ? "PD0:" : "PD1:";
        return std::stoi(status.substr(status.find(label) + label.size()));
    }

    uint16_t requestsSeen = 0;
};

TEST_F(PeerDelay, RequestGoesOutOnEveryPortWithALinkWithItsOwnSequence) {
    fake.ports[1].up = false;
    RunMs(periodMs);
    fake.ports[1].up = true;
    RunMs(periodMs);

    const auto onPort0 = Sent(0, PTPMessage::PDELAY_REQ);
    const auto onPort1 = Sent(1, PTPMessage::PDELAY_REQ);
    ASSERT_EQ(onPort0.size(), 2U);
    ASSERT_EQ(onPort1.size(), 1U);
    EXPECT_EQ(ToHex(onPort0[1]), ToHex(FromHex(R"(
        01 80 c2 00 00 0e 00 11 22 33 44 55
        da da 00 00 00 00 e0 01 88 f7
        12 02 00 36 00 00 02 08
        00 00 00 00 00 00 00 00 00 00 00 00
        00 11 22 ff fe 33 44 55 00 00    // port 0
        00 02 05 00                      // the second request
        00 00 00 00 00 00 00 00 00 00
        00 00 00 00 00 00 00 00 00 00
    )")));
    EXPECT_EQ(ToHex(Part(onPort1[0], 50, 4)), ToHex(FromHex("00 01 00 01")));  // port 1, its first request
}

TEST_F(PeerDelay, CpuPortIsNeverAsked) {
    fake.Raise(6);
    RunMs(2 * periodMs);
    EXPECT_TRUE(Sent(6, PTPMessage::PDELAY_REQ).empty());
}

TEST_F(PeerDelay, ActionIsLoggedAtLevelFour) {
    EXPECT_THAT(Logged(4, [&] { RunMs(periodMs); }), HasSubstr("[SW-PTP] PTPPDelayAction\n"));
    EXPECT_THAT(Logged(3, [&] { RunMs(periodMs); }), Not(HasSubstr("PTPPDelayAction")));
}

TEST_F(PeerDelay, RequestIsAnsweredWithItsReceiptAndTheTimeOfTheAnswer) {
    fake.PutStamp(Direction::RECEIVE, 1, requestType, 0x0102, 3'000'000'007);
    fake.PutStamp(Direction::TRANSMIT, 1, responseType, 0x0102, 3'000'400'000);

    const std::string text = Logged(3, [&] { Receive(1, RequestOfPeer(0x0102)); });

    EXPECT_THAT(text, HasSubstr("[SW-PTP] Handle PTP_PDELAY_REQ_MESSAGE 258\n"));
    ASSERT_EQ(fake.sent.size(), 2U);
    EXPECT_EQ(fake.sent[0].port, 1);
    EXPECT_EQ(ToHex(fake.sent[0].bytes), ToHex(FromHex(R"(
        01 80 c2 00 00 0e 00 11 22 33 44 55
        da da 00 00 00 00 e0 01 88 f7
        13 02 00 36 00 00 00 08
        00 00 00 00 00 00 00 00 00 00 00 00
        00 11 22 ff fe 33 44 55 00 01
        01 02 05 7f
        00 00 00 00 00 03 00 00 00 07
        00 1b 21 ff fe aa bb cc 00 07    // who asked
    )")));
    EXPECT_EQ(ToHex(fake.sent[1].bytes), ToHex(FromHex(R"(
        01 80 c2 00 00 0e 00 11 22 33 44 55
        da da 00 00 00 00 e0 01 88 f7
        1a 02 00 36 00 00 00 08
        00 00 00 00 00 00 00 00 00 00 00 00
        00 11 22 ff fe 33 44 55 00 01
        01 02 05 7f
        00 00 00 00 00 03 00 06 1a 80
        00 1b 21 ff fe aa bb cc 00 07
        4f 52 4c 41 00
    )")));
}

TEST_F(PeerDelay, OwnRequestAndRequestOverADownLinkAreIgnored) {
    fake.PutStamp(Direction::RECEIVE, 0, requestType, 1, 1000);
    fake.PutStamp(Direction::TRANSMIT, 0, responseType, 1, 2000);
    auto mirrored = BuildPdelayReq(ownMac, own);
    mirrored.message.header.sequenceId = 1;
    Receive(0, mirrored);
    EXPECT_TRUE(fake.sent.empty());

    fake.ports[0].up = false;
    EXPECT_EQ(Logged(0, [&] { Receive(0, RequestOfPeer(1)); }), "");
    EXPECT_TRUE(fake.sent.empty());
}

TEST_F(PeerDelay, RequestWithoutAReceiveStampIsNotAnswered) {
    EXPECT_THAT(Logged(0, [&] { Receive(0, RequestOfPeer(9)); }),
                HasSubstr("[SW-PTP] invalid pdelay incoming timestamp, bail out\n"));
    EXPECT_TRUE(fake.sent.empty());
}

TEST_F(PeerDelay, TurnaroundOfFiveMillisecondsIsTheLastToGetAFollowUp) {
    fake.PutStamp(Direction::RECEIVE, 0, requestType, 1, 1000);
    fake.PutStamp(Direction::TRANSMIT, 0, responseType, 1, 5'001'000);
    Receive(0, RequestOfPeer(1));
    EXPECT_EQ(Sent(0, PTPMessage::PDELAY_RESP_FOLLOW_UP).size(), 1U);

    fake.PutStamp(Direction::TRANSMIT, 0, responseType, 1, 5'001'001);
    EXPECT_THAT(Logged(1, [&] { Receive(0, RequestOfPeer(1)); }), HasSubstr("[SW-PTP] delta = 5000001\n"));
    EXPECT_EQ(Sent(0, PTPMessage::PDELAY_RESP).size(), 2U);
    EXPECT_EQ(Sent(0, PTPMessage::PDELAY_RESP_FOLLOW_UP).size(), 1U);
}

TEST_F(PeerDelay, MissingOrEarlierTransmitStampGetsNoFollowUp) {
    fake.PutStamp(Direction::RECEIVE, 0, requestType, 1, 1000);
    Receive(0, RequestOfPeer(1));
    fake.PutStamp(Direction::TRANSMIT, 0, responseType, 1, 999);
    EXPECT_THAT(Logged(1, [&] { Receive(0, RequestOfPeer(1)); }), HasSubstr("[SW-PTP] delta = -1\n"));
    EXPECT_EQ(Sent(0, PTPMessage::PDELAY_RESP).size(), 2U);
    EXPECT_TRUE(Sent(0, PTPMessage::PDELAY_RESP_FOLLOW_UP).empty());
}

// Each answer keeps the daemon waiting for two time stamps. A flood of requests on one port held up everything that the
// other port's neighbour said, until its registrations had run out.
TEST_F(PeerDelay, RequestsBeyondABurstAreDroppedBeforeAStampIsAskedFor) {
    const auto flood = [&](uint8_t port, int count) {
        return Logged(3, [&] {
            for (int n = 0; n < count; ++n) Receive(port, RequestOfPeer(9));
        });
    };
    const auto count = [](const std::string& text, const std::string& line) {
        int found = 0;
        for (size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1)) ++found;
        return found;
    };
    const std::string arrived = "Handle PTP_PDELAY_REQ_MESSAGE 9\n", asked = "invalid pdelay incoming timestamp";

    const std::string first = flood(0, 40);
    EXPECT_EQ(count(first, arrived), 40);
    EXPECT_EQ(count(first, asked), 32);

    EXPECT_EQ(count(flood(1, 1), asked), 1) << "the other port's neighbour";

    clock.AdvanceMs(1'000);
    EXPECT_EQ(count(flood(0, 40), asked), 32);
    clock.AdvanceMs(40);
    EXPECT_EQ(count(flood(0, 40), asked), 5);
}

TEST_F(PeerDelay, OwnRequestsAndThoseOverADownLinkUseNothingUp) {
    for (int n = 0; n < 40; ++n) Receive(0, BuildPdelayReq(ownMac, own));
    fake.ports[0].up = false;
    for (int n = 0; n < 40; ++n) Receive(0, RequestOfPeer(1));
    fake.ports[0].up = true;

    EXPECT_THAT(Logged(0, [&] { Receive(0, RequestOfPeer(9)); }), HasSubstr("invalid pdelay incoming timestamp"));
}

TEST_F(PeerDelay, CompleteExchangeMakesThePortAsCapableAndShowsItsDelay) {
    RunExchange(0, 400);
    EXPECT_TRUE(fake.decisions.empty()) << "evaluated by the next action only";

    const std::string text = Logged(1, [&] { NextRequest(0); });

    EXPECT_THAT(text, HasSubstr("[SW-PTP] Port 0 IS AVB capable\n"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] Port 0 PDelay = 400 ns\n"));
    EXPECT_THAT(fake.decisions, ElementsAre(FakePtpSwitch::Decision{0, true, true}));
    EXPECT_EQ(ShownDelay(0), 400);
}

TEST_F(PeerDelay, EverySwitchOfTheStateStartsTheDelaysAnew) {
    for (int exchange = 0; exchange < 3; ++exchange) RunExchange(1, 700);
    ASSERT_EQ(ShownDelay(1), 700);
    BecomeSlave();
    EXPECT_EQ(ShownDelay(1), 0);
}

TEST_F(PeerDelay, CapableIsLoggedOnceAndDecidedAfterEveryExchange) {
    RunExchange(0, 400);
    RunExchange(0, 400);
    RunExchange(0, 400);

    EXPECT_THAT(Logged(0, [&] { NextRequest(0); }), Not(HasSubstr("AVB capable")));
    EXPECT_EQ(fake.decisions.size(), 3U);
}

TEST_F(PeerDelay, UnreasonableDelayStillMakesThePortAsCapable) {
    RunExchange(0, 15001);
    EXPECT_THAT(Logged(0, [&] { NextRequest(0); }), HasSubstr("Unreasonable"));
    EXPECT_TRUE(fake.ports[0].avbUp);
    EXPECT_EQ(ShownDelay(0), 0);
}

TEST_F(PeerDelay, FourthSilentPeriodTakesCapabilityAway) {
    RunExchange(0, 400);
    NextRequest(0);  // evaluates it, and asks the first question that stays unanswered
    for (int silent = 1; silent <= 3; ++silent) {
        NextRequest(0);
        EXPECT_TRUE(fake.ports[0].avbUp) << silent;
    }

    EXPECT_THAT(Logged(0, [&] { NextRequest(0); }), HasSubstr("[SW-PTP] Port 0 NOT AVB capable\n"));
    EXPECT_EQ(fake.decisions.back(), (FakePtpSwitch::Decision{0, false, false}));
}

TEST_F(PeerDelay, AnExchangeInBetweenStartsTheCountOfSilentPeriodsAnew) {
    RunExchange(0, 400);
    NextRequest(0);
    for (int silent = 1; silent <= 3; ++silent) requestsSeen = NextRequest(0);
    RunExchange(0, 400);
    NextRequest(0);
    for (int silent = 1; silent <= 3; ++silent) NextRequest(0);
    EXPECT_TRUE(fake.ports[0].avbUp);
}

TEST_F(PeerDelay, ForcedPortStaysCapableThroughAnyNumberOfSilentPeriods) {
    Control({"-a", "1"});
    for (int silent = 1; silent <= 10; ++silent) NextRequest(0);
    EXPECT_TRUE(fake.ports[0].avbUp);

    Control({"-a", "2"});
    EXPECT_FALSE(fake.ports[0].avbUp);
    EXPECT_TRUE(fake.ports[1].avbUp);
}

TEST_F(PeerDelay, LinkLossTakesCapabilityAndDelayAway) {
    RunExchange(1, 400);
    requestsSeen = NextRequest(1);
    ASSERT_EQ(ShownDelay(1), 400);
    fake.ports[1].up = false;

    EXPECT_THAT(Logged(0, [&] { RunMs(periodMs); }), HasSubstr("[SW-PTP] Port 1 Phystate 0 NOT AVB capable\n"));
    EXPECT_EQ(ShownDelay(1), 0);
    EXPECT_EQ(fake.decisions.back(), (FakePtpSwitch::Decision{1, false, false}));

    const size_t decided = fake.decisions.size();
    RunMs(periodMs);
    EXPECT_EQ(fake.decisions.size(), decided) << "nothing is left to take away";
}

TEST_F(PeerDelay, ForcedPortLosesCapabilityWithItsLink) {
    Control({"-a", "1"});
    fake.ports[0].up = false;
    RunMs(periodMs);
    EXPECT_FALSE(fake.ports[0].avbUp);
}

TEST_F(PeerDelay, PortDownTakesCapabilityAwayAtOnce) {
    RunExchange(0, 400);
    NextRequest(0);
    EXPECT_THAT(Logged(2, [&] { handler->PortDown(0); }), HasSubstr("[SW-PTP] port 0 down\n"));
    EXPECT_EQ(fake.decisions.back(), (FakePtpSwitch::Decision{0, false, false}));
}

TEST_F(PeerDelay, PortDownForgetsThatThePeerIsOfOurMake) {
    RunExchange(0, 400);  // with the trailer; not evaluated yet
    handler->PortDown(0);
    NextRequest(0);
    EXPECT_EQ(fake.decisions.back(), (FakePtpSwitch::Decision{0, true, false}));
}

TEST_F(PeerDelay, PortUpIsOnlyLogged) {
    EXPECT_EQ(Logged(2, [&] { handler->PortUp(1); }), "[SW-PTP] port 1 up\n");
    EXPECT_TRUE(fake.decisions.empty());
}

TEST_F(PeerDelay, PortEventsBeyondTheRecordsAreHarmless) {
    handler->PortUp(7);
    handler->PortDown(255);
    EXPECT_TRUE(fake.decisions.empty());
}

// The response

TEST_F(PeerDelay, ResponseToAnotherClockIsReportedAndEndsTheExchange) {
    const uint16_t id = NextRequest(0);
    auto response = ResponseOfPeer(0, id);
    response.message.requestingPortIdentity.clockIdentity = peer;

    const std::string text = Logged(0, [&] { Receive(0, response); });
    EXPECT_THAT(text, HasSubstr("[SW-PTP] Port 0 invalid pdelay resp ClockIdentity\n"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] REQ: 00-1b-21-ff-fe-aa-bb-cc\n"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] EXP: 00-11-22-ff-fe-33-44-55\n"));

    Receive(0, ResponseOfPeer(0, id));
    EXPECT_THAT(Logged(0, [&] { Receive(0, FollowUpOfPeer(0, id)); }), HasSubstr("localPDelayState = 0\n"));
}

TEST_F(PeerDelay, ResponseToAnotherPortIsReported) {
    const uint16_t id = NextRequest(0);
    EXPECT_THAT(Logged(0, [&] { Receive(0, ResponseOfPeer(1, id)); }),
                HasSubstr("[SW-PTP] Port 0 invalid pdelay resp requestingSourcePortId 1\n"));
}

TEST_F(PeerDelay, ResponseWithAnotherSequenceIsReported) {
    const uint16_t id = NextRequest(0);
    EXPECT_THAT(Logged(0, [&] { Receive(0, ResponseOfPeer(0, static_cast<uint16_t>(id + 1))); }),
                HasSubstr("[SW-PTP] Port 0 invalid pdelay resp Id\n"));
}

TEST_F(PeerDelay, SecondResponseEndsTheExchangeWithoutAWord) {
    const uint16_t id = NextRequest(0);
    Receive(0, ResponseOfPeer(0, id));
    EXPECT_EQ(Logged(0, [&] { Receive(0, ResponseOfPeer(0, id)); }), "");
    EXPECT_THAT(Logged(0, [&] { Receive(0, FollowUpOfPeer(0, id)); }), HasSubstr("localPDelayState = 0\n"));
}

TEST_F(PeerDelay, CorrectionIsReportedButNotApplied) {
    const uint16_t id = NextRequest(0);
    auto response = ResponseOfPeer(0, id);
    response.message.header.correctionField = int64_t{-7} * 65536;
    EXPECT_THAT(Logged(0, [&] { Receive(0, response); }),
                HasSubstr("[SW-PTP] Port 0 PdelayRespMessage correctionField = -7\n"));
    auto followUp = FollowUpOfPeer(0, id);
    followUp.frame.message.header.correctionField = int64_t{12} * 65536 + 65535;
    EXPECT_THAT(Logged(0, [&] { Receive(0, followUp); }),
                HasSubstr("[SW-PTP] Port 0 PdelayRespMessage correctionField = 12\n"));
}

TEST_F(PeerDelay, OwnResponseIsIgnored) {
    const uint16_t id = NextRequest(0);
    auto mirrored = ResponseOfPeer(0, id);
    mirrored.message.header.sourcePortIdentity.clockIdentity = own;
    EXPECT_EQ(Logged(0, [&] { Receive(0, mirrored); }), "");
    Receive(0, ResponseOfPeer(0, id));
    EXPECT_EQ(Logged(0, [&] { Receive(0, FollowUpOfPeer(0, id)); }), "") << "the exchange goes on";
}

TEST_F(PeerDelay, ResponseOfANeighbourMovesAListeningBridgeToAnnounce) {
    ASSERT_THAT(Status(), HasSubstr("ST:LISTENING:"));
    fake.ports[0].stpUp = false;
    Receive(0, ResponseOfPeer(0, NextRequest(0)));
    EXPECT_THAT(Status(), HasSubstr("ST:LISTENING:"));

    fake.ports[0].stpUp = true;
    // The state of the exchange does not matter for it.
    const std::string text = Logged(1, [&] { Receive(0, ResponseOfPeer(0, 0x7777)); });
    EXPECT_THAT(text, HasSubstr("[SW-PTP] switching to state PTP_ANNOUNCE\n"));
    EXPECT_THAT(Status(), HasSubstr("ST:ANNOUNCE:"));
}

TEST_F(PeerDelay, ResponseMovesNothingWhenTheLocalClockMayNotBeGrandmaster) {
    Build({250, true});
    Receive(0, ResponseOfPeer(0, NextRequest(0)));
    EXPECT_THAT(Status(), HasSubstr("ST:LISTENING:"));
}

// The follow-up

TEST_F(PeerDelay, FollowUpBeforeItsResponseIsRejectedAndResetsTheExchange) {
    const uint16_t id = NextRequest(0);
    EXPECT_THAT(Logged(0, [&] { Receive(0, FollowUpOfPeer(0, id)); }),
                HasSubstr("[SW-PTP] Port 0 HandlePdelayRespFollowUpMessage ERROR: localPDelayState = 1\n"));

    Receive(0, ResponseOfPeer(0, id));
    EXPECT_THAT(Logged(0, [&] { Receive(0, FollowUpOfPeer(0, id)); }), HasSubstr("localPDelayState = 0\n"));
}

TEST_F(PeerDelay, FollowUpToAnotherClockPortOrSequenceIsReported) {
    auto id = NextRequest(0);
    Receive(0, ResponseOfPeer(0, id));
    auto otherClock = FollowUpOfPeer(0, id);
    otherClock.frame.message.requestingPortIdentity.clockIdentity = peer;
    EXPECT_THAT(Logged(0, [&] { Receive(0, otherClock); }),
                HasSubstr("[SW-PTP] invalid pdelay resp follow up ClockIdentity\n"));

    id = NextRequest(0);
    Receive(0, ResponseOfPeer(0, id));
    EXPECT_THAT(Logged(0, [&] { Receive(0, FollowUpOfPeer(1, id)); }),
                HasSubstr("[SW-PTP] invalid pdelay resp followup Id\n"));

    id = NextRequest(0);
    Receive(0, ResponseOfPeer(0, id));
    EXPECT_THAT(Logged(0, [&] { Receive(0, FollowUpOfPeer(0, static_cast<uint16_t>(id - 1))); }),
                HasSubstr("[SW-PTP] Port 0 invalid pdelay resp followup requestingSourcePortId 0\n"));

    NextRequest(0);
    EXPECT_TRUE(fake.decisions.empty()) << "none of the three was complete";
}

TEST_F(PeerDelay, OwnFollowUpChangesNothing) {
    const uint16_t id = NextRequest(0);
    Receive(0, ResponseOfPeer(0, id));
    auto mirrored = FollowUpOfPeer(0, id);
    mirrored.frame.message.header.sourcePortIdentity.clockIdentity = own;
    EXPECT_EQ(Logged(0, [&] { Receive(0, mirrored); }), "");

    Receive(0, FollowUpOfPeer(0, id));
    NextRequest(0);
    EXPECT_EQ(fake.decisions.back(), (FakePtpSwitch::Decision{0, true, true}));
}

TEST_F(PeerDelay, TrailerMarksThePeer) {
    const uint16_t id = NextRequest(0);
    Receive(0, ResponseOfPeer(0, id));
    Receive(0, FollowUpOfPeer(0, id));
    NextRequest(0);
    EXPECT_EQ(fake.decisions.back(), (FakePtpSwitch::Decision{0, true, true}));
}

// Frames are received into one buffer, so behind a short frame stand the bytes of a longer one that came before.
TEST_F(PeerDelay, TrailerOfAnEarlierFrameInTheSameBufferIsNone) {
    RunExchange(0, 400);
    const uint16_t id = NextRequest(0);
    Receive(0, ResponseOfPeer(0, id));
    const auto buffer = Received(0, FollowUpOfPeer(0, id));
    handler->HandleFrame(std::span(buffer).first(buffer.size() - sizeof(SameMakeTrailer)), ETHERTYPE_PTP2);
    NextRequest(0);
    EXPECT_EQ(fake.decisions.back(), (FakePtpSwitch::Decision{0, true, false}));
}

TEST_F(PeerDelay, PeerWithoutTheTrailerIsOfAnotherMake) {
    RunExchange(0, 400);
    const uint16_t id = NextRequest(0);
    Receive(0, ResponseOfPeer(0, id));
    Receive(0, FollowUpOfPeer(0, id).frame);  // 76 bytes
    NextRequest(0);
    EXPECT_EQ(fake.decisions.back(), (FakePtpSwitch::Decision{0, true, false}));
}

TEST_F(PeerDelay, TrailerThatIsCutOffOrAlteredIsNone) {
    for (const size_t cut : {1U, 2U, 3U, 4U}) {
        const uint16_t id = NextRequest(0);
        Receive(0, ResponseOfPeer(0, id));
        auto frame = Received(0, FollowUpOfPeer(0, id));
        frame.resize(frame.size() - cut);
        Handle(frame);
        NextRequest(0);
        EXPECT_EQ(fake.decisions.back(), (FakePtpSwitch::Decision{0, true, false})) << cut;
    }
    auto altered = FollowUpOfPeer(0, NextRequest(0));
    altered.trailer[4] = 1;
    Receive(0, ResponseOfPeer(0, altered.frame.message.header.sequenceId));
    Receive(0, altered);
    NextRequest(0);
    EXPECT_EQ(fake.decisions.back(), (FakePtpSwitch::Decision{0, true, false}));
}

TEST(PeerDelayInitiator, SequenceOfTheRequestsWrapsAround) {
    FakePtpSwitch fake;
    fake.Raise(0);
    PTPInstance ptp(fake, fake, {}, {});
    AsCapableDecision asCapable(fake);
    PeerDelayInitiator initiator(ptp, asCapable);
    ptp.ports[0].pdelaySequenceId = 65534;

    for (int period = 0; period < 3; ++period) initiator.PTPPDelayAction();

    ASSERT_EQ(fake.sent.size(), 3U);
    EXPECT_EQ(Peek<PTPHeader>(fake.sent[0].bytes, 22)->sequenceId, 65535);
    EXPECT_EQ(Peek<PTPHeader>(fake.sent[1].bytes, 22)->sequenceId, 0);
    EXPECT_EQ(Peek<PTPHeader>(fake.sent[2].bytes, 22)->sequenceId, 1);
}

// Options

TEST_F(PeerDelay, WindowOptionIsConfirmedInTheLogAndShown) {
    EXPECT_THAT(Logged(0,
                       [&] {
                           Control({"-w", "3"});
                       }),
                HasSubstr("[SW-PTP] rateRatio window: old mode increasing distance\n"));
    EXPECT_THAT(Status(), HasSubstr(":w:3\n"));
    EXPECT_THAT(Logged(0,
                       [&] {
                           Control({"--window", "0"});
                       }),
                HasSubstr("[SW-PTP] rateRatio window: new mode running window\n"));
    EXPECT_THAT(Status(), HasSubstr(":w:0\n"));
}

TEST_F(PeerDelay, AsMaskForcesBothPortsAndStartsAnnouncing) {
    const std::string text = Logged(0, [&] { Control({"--as", "2"}); });
    EXPECT_THAT(text, HasSubstr("[SW-PTP] Port 0 NOT AVB capable\n"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] Port 1 IS AVB capable\n"));
    EXPECT_THAT(fake.decisions,
                ElementsAre(FakePtpSwitch::Decision{0, false, false}, FakePtpSwitch::Decision{1, true, false}));
    EXPECT_THAT(Status(), HasSubstr("ST:ANNOUNCE:"));
}

TEST_F(PeerDelay, EmptyAsMaskAndNoGmStayListening) {
    Control({"--as", "0"});
    EXPECT_THAT(Status(), HasSubstr("ST:LISTENING:"));
    Build({250, true});
    Control({"--as", "3"});
    EXPECT_THAT(Status(), HasSubstr("ST:LISTENING:"));
    EXPECT_TRUE(fake.ports[0].avbUp);
}

}  // namespace

}  // namespace norvad::test
