#include <gtest/gtest.h>

#include <limits>

#include "ptp/sync.h"
#include "tests/ptp/ptp_fixture.h"
#include "tests/support/bytes.h"

namespace norvad::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr uint8_t syncType = 0;
constexpr ClockIdentity stranger{0x00, 0x1B, 0x21, 0xFF, 0xFE, 0x99, 0x99, 0x99};

class Sync : public PtpFixture {
protected:
    static constexpr uint64_t origin = 1'700'000'000'000'000'000;

    Framed<SyncMessage> SyncOf(const ClockIdentity& sender, uint16_t sequenceId) const {
        auto frame = BuildSync(peerMac, sender);
        frame.message.header.sequenceId = sequenceId;
        return frame;
    }
    Framed<FollowUpMessage> FollowUpOf(const ClockIdentity& sender, uint16_t sequenceId, uint64_t originTime) const {
        auto frame = BuildFollowUp(peerMac, sender);
        frame.message.header.sequenceId = sequenceId;
        frame.message.preciseOriginTimestamp = EncodeTimestamp(originTime);
        return frame;
    }

    // A Sync of the master's on port 0 and its Follow_Up, received at a time by our clock.
    void ReceivePair(uint16_t sequenceId, uint64_t receiveTime, uint64_t originTime) {
        fake.PutStamp(Direction::RECEIVE, 0, syncType, sequenceId, receiveTime);
        Receive(0, SyncOf(peer, sequenceId));
        Receive(0, FollowUpOf(peer, sequenceId, originTime));
    }

    void BecomeMaster() {
        fake.ports[0].avbUp = fake.ports[1].avbUp = true;
        Handle(AnnounceFrom(0, peer, DatasetOf(251, peer)));
        fake.sent.clear();
        kept = {};
    }
    // Both ports AS capable, the master behind port 0.
    void BecomeRelay() {
        fake.ports[0].avbUp = fake.ports[1].avbUp = true;
        BecomeSlave();
        fake.sent.clear();
        kept = {};
    }
};

TEST_F(Sync, MasterSendsItsTimeOnEveryPortWithPortNumberOne) {
    BecomeMaster();
    fake.PutStamps(Direction::TRANSMIT, 0, syncType, 1, {7, 3'000'000'005});
    fake.PutStamps(Direction::TRANSMIT, 1, syncType, 1, {8, 3'000'000'006});

    while (Sent(1, PTPMessage::FOLLOW_UP).empty()) RunMs(1);

    ASSERT_THAT(Sent(0, PTPMessage::SYNC), SizeIs(1));
    const auto onPort1 = Sent(1, PTPMessage::SYNC);
    ASSERT_THAT(onPort1, SizeIs(1));
    EXPECT_EQ(ToHex(onPort1[0]), ToHex(FromHex(R"(
        01 80 c2 00 00 0e 00 11 22 33 44 55
        da da 00 00 00 00 e0 01 88 f7
        10 02 00 2c 00 00 02 08
        00 00 00 00 00 00 00 00 00 00 00 00
        00 11 22 ff fe 33 44 55 00 01    // port number 1 on port 1 and on port 0
        00 01 00 fd
        00 00 00 00 00 00 00 00 00 00
    )")));
    EXPECT_EQ(onPort1[0].size(), 66U);
    EXPECT_EQ(Sent(0, PTPMessage::SYNC)[0], onPort1[0]);
    const auto followUp = LastSent<Framed<FollowUpMessage>>(1, PTPMessage::FOLLOW_UP);
    EXPECT_EQ(Sent(1, PTPMessage::FOLLOW_UP)[0].size(), 98U);
    EXPECT_EQ(DecodeTimestamp(followUp.message.preciseOriginTimestamp), 3'000'000'006U) << "of the steered clock";
    EXPECT_EQ(followUp.message.header.sequenceId, 1);
    EXPECT_EQ(followUp.message.header.sourcePortIdentity.portNumber, 1);
    EXPECT_EQ(followUp.message.information.cumulativeScaledRateOffset, 0);
    EXPECT_EQ(
        DecodeTimestamp(LastSent<Framed<FollowUpMessage>>(0, PTPMessage::FOLLOW_UP).message.preciseOriginTimestamp),
        3'000'000'005U);
}

TEST(SyncMaster, TimeOfEachSyncIsKeptForItsPort) {
    FakePtpSwitch fake;
    PTPInstance ptp{fake, fake, {1, 2, 3, 4, 5, 6}, {}};
    for (const uint8_t port : {uint8_t{0}, uint8_t{1}}) {
        fake.Raise(port);
        fake.ports[port].avbUp = true;
        ptp.ports[port].syncSentTime = 77;
    }
    fake.ports[1].avbUp = false;
    ptp.state.Step(PortStateEvent::LOCAL_IS_BETTER);
    SyncMaster master(ptp);
    fake.PutStamps(FakePtpSwitch::Direction::TRANSMIT, 0, syncType, 1, {7, 3'000'000'005});

    master.PTPSyncAction();
    EXPECT_EQ(ptp.ports[0].syncSentTime, 3'000'000'005U);
    EXPECT_EQ(ptp.ports[1].syncSentTime, 77U) << "no Sync left by it";

    master.PTPSyncAction();
    EXPECT_EQ(ptp.ports[0].syncSentTime, noTimestamp) << "the second one has no stamp";
}

TEST_F(Sync, MasterSendsEvery125MsAndCounts) {
    BecomeMaster();
    RunMs(3000);
    const auto frames = Sent(0, PTPMessage::SYNC);
    EXPECT_GE(frames.size(), 3000U / 130U);
    EXPECT_LE(frames.size(), 3000U / 125U);
    for (size_t at = 0; at < frames.size(); ++at) EXPECT_EQ(Peek<PTPHeader>(frames[at], 22)->sequenceId, at + 1);
}

TEST_F(Sync, MasterSendsOnlyWhereTimeIsWanted) {
    BecomeMaster();
    fake.ports[6] = {true, true, true, false};
    fake.ports[0].stpUp = false;
    RunMs(131);
    EXPECT_THAT(Sent(0, PTPMessage::SYNC), IsEmpty());
    EXPECT_THAT(Sent(1, PTPMessage::SYNC), SizeIs(1));
    EXPECT_THAT(Sent(6, PTPMessage::SYNC), IsEmpty());

    fake.ports[0].stpUp = true;
    fake.ports[0].avbUp = false;
    fake.ports[1].up = false;
    RunMs(131);
    EXPECT_THAT(Sent(0, PTPMessage::SYNC), IsEmpty());
    EXPECT_THAT(Sent(1, PTPMessage::SYNC), SizeIs(1));
}

TEST_F(Sync, NobodyButAMasterSendsTime) {
    fake.ports[0].avbUp = fake.ports[1].avbUp = true;
    RunMs(300);
    BecomeSlave();
    RunMs(300);
    EXPECT_THAT(Sent(0, PTPMessage::SYNC), IsEmpty());
    EXPECT_THAT(Sent(1, PTPMessage::SYNC), IsEmpty());
}

TEST_F(Sync, SlaveSteersByTheOffsetOfItsMaster) {
    BecomeSlave();
    ReceivePair(1, origin - 1000, origin);
    EXPECT_THAT(fake.steering, ElementsAre(1000 * 512 + 1000 * 64));
    EXPECT_THAT(fake.clockSteps, IsEmpty());
}

TEST_F(Sync, OffsetIsTakenFromTheSteeredFaceOfTheClock) {
    BecomeSlave();
    fake.PutStamps(Direction::RECEIVE, 0, syncType, 1, {42, origin - 10});
    Receive(0, SyncOf(peer, 1));
    Receive(0, FollowUpOf(peer, 1, origin));
    EXPECT_THAT(fake.steering, ElementsAre(10 * 512 + 10 * 64));
}

TEST_F(Sync, CorrectionOfTheFollowUpBelongsToTheOrigin) {
    BecomeSlave();
    fake.PutStamp(Direction::RECEIVE, 0, syncType, 1, origin);
    Receive(0, SyncOf(peer, 1));
    auto followUp = FollowUpOf(peer, 1, origin - 500);
    followUp.message.header.correctionField = int64_t{530} * 65536 + 65535;
    Receive(0, followUp);
    EXPECT_THAT(fake.steering, ElementsAre(30 * 512 + 30 * 64));
}

TEST_F(Sync, FirstLargeOffsetAfterBecomingSlaveStepsTheClock) {
    BecomeSlave();
    ReceivePair(1, 5'000, origin);
    EXPECT_THAT(fake.clockSteps, ElementsAre(origin - 5'000));
    ReceivePair(2, 5'000, origin);
    EXPECT_THAT(fake.clockSteps, SizeIs(1)) << "now a single one is let pass";
    ReceivePair(3, 6'000, origin);
    EXPECT_THAT(fake.clockSteps, ElementsAre(origin - 5'000, origin - 6'000));
}

TEST_F(Sync, TimeFromAnotherNeighbourIsRefusedEvenAsSlave) {
    BecomeRelay();
    fake.PutStamp(Direction::RECEIVE, 0, syncType, 1, origin);
    EXPECT_THAT(Logged(1, [&] { Receive(0, SyncOf(stranger, 1)); }),
                HasSubstr("[SW-PTP] SYNC message from unknown clock\n"));
    EXPECT_THAT(Logged(1, [&] { Receive(0, FollowUpOf(stranger, 1, origin)); }),
                HasSubstr("[SW-PTP] FOLLOWUP message from unknown clock\n"));
    EXPECT_THAT(fake.sent, IsEmpty());
    EXPECT_THAT(fake.steering, IsEmpty());
}

TEST_F(Sync, OwnTimeAndTimeThroughABlockedPortAreIgnored) {
    BecomeRelay();
    EXPECT_EQ(Logged(1, [&] { Receive(0, SyncOf(own, 1)); }), "");
    EXPECT_EQ(Logged(1, [&] { Receive(0, FollowUpOf(own, 1, origin)); }), "");
    fake.ports[0].stpUp = false;
    ReceivePair(1, origin, origin);
    EXPECT_THAT(fake.sent, IsEmpty());
    EXPECT_THAT(fake.steering, IsEmpty());
}

TEST_F(Sync, ListenerFollowsNobody) {
    fake.ports[1].avbUp = true;
    Handle(AnnounceFrom(0, own, DatasetOf(1, peer)));
    ReceivePair(1, origin, origin);
    EXPECT_THAT(fake.steering, IsEmpty());
    EXPECT_THAT(fake.sent, IsEmpty());
}

// A new priority lets a slave bid again; meanwhile its master is still the best one known and keeps sending.
TEST_F(Sync, BidderPassesOverTheTimeOfTheMasterItKnows) {
    BecomeRelay();
    Control({"-m", "200"});
    ASSERT_THAT(Status(), HasSubstr("ST:ANNOUNCE:MC:0x001b21fffeaabbcc:LC:0x001b21fffeaabbcc:"));
    fake.sent.clear();

    EXPECT_EQ(Logged(1, [&] { ReceivePair(1, origin, origin); }), "");

    EXPECT_THAT(fake.steering, IsEmpty());
    EXPECT_THAT(fake.clockSteps, IsEmpty());
    EXPECT_THAT(fake.sent, IsEmpty());
}

TEST_F(Sync, SyncWithoutAStampIsNotRelayed) {
    BecomeRelay();
    EXPECT_THAT(Logged(1, [&] { Receive(0, SyncOf(peer, 1)); }),
                HasSubstr("[SW-PTP] invalid sync incoming timestamp, bail out\n"));
    EXPECT_THAT(fake.sent, IsEmpty());
}

TEST_F(Sync, SyncsBeyondABurstAreDroppedBeforeAStampIsAskedFor) {
    BecomeRelay();
    for (uint16_t n = 0; n < 100; ++n) fake.PutStamp(Direction::RECEIVE, 0, syncType, n, origin);

    const std::string text = Logged(3, [&] {
        for (uint16_t n = 0; n < 70; ++n) Receive(0, SyncOf(peer, n));
    });

    EXPECT_THAT(Sent(1, PTPMessage::SYNC), SizeIs(64));
    size_t lines = 0;
    for (size_t at = text.find("Handle PTP_SYNC"); at != std::string::npos; at = text.find("Handle PTP_SYNC", at + 1)) {
        ++lines;
    }
    EXPECT_EQ(lines, 70U);
    EXPECT_THAT(Logged(1, [&] { Receive(0, FollowUpOf(peer, 69, origin)); }),
                HasSubstr("syncSequenceID = 63 FOLLOWUP sequenceId = 69\n"))
        << "as if the Sync had not come";

    clock.AdvanceMs(500);
    for (uint16_t n = 0; n < 70; ++n) Receive(0, SyncOf(peer, n));
    EXPECT_THAT(Sent(1, PTPMessage::SYNC), SizeIs(64 + 32));
}

TEST_F(Sync, SyncsOfOtherClocksUseNothingUp) {
    BecomeRelay();
    for (uint16_t n = 0; n < 100; ++n) Receive(0, SyncOf(stranger, n));
    fake.PutStamp(Direction::RECEIVE, 0, syncType, 1, origin);

    Receive(0, SyncOf(peer, 1));

    EXPECT_THAT(Sent(1, PTPMessage::SYNC), SizeIs(1));
}

TEST_F(Sync, FollowUpOfAnotherSyncIsIgnored) {
    BecomeRelay();
    EXPECT_THAT(Logged(1, [&] { Receive(0, FollowUpOf(peer, 0xFFFF, origin)); }),
                HasSubstr("[SW-PTP] invalid sync followup Id syncSequenceID = -1 FOLLOWUP sequenceId = 65535\n"));
    fake.PutStamp(Direction::RECEIVE, 0, syncType, 5, origin);
    Receive(0, SyncOf(peer, 5));
    EXPECT_THAT(Logged(1, [&] { Receive(0, FollowUpOf(peer, 6, origin)); }),
                HasSubstr("[SW-PTP] invalid sync followup Id syncSequenceID = 5 FOLLOWUP sequenceId = 6\n"));
    EXPECT_THAT(fake.steering, IsEmpty());
    EXPECT_THAT(Sent(1, PTPMessage::FOLLOW_UP), IsEmpty());
}

TEST_F(Sync, RelayedSyncIsTheReceivedOneUnderOurName) {
    BecomeRelay();
    fake.ports[6] = {true, true, true, false};
    fake.PutStamp(Direction::RECEIVE, 0, syncType, 0x1234, origin);
    auto sync = SyncOf(peer, 0x1234);
    sync.message.header.correctionField = 0x0102030405060708;
    sync.message.header.logMessageInterval = -4;
    sync.message.originTimestamp = EncodeTimestamp(77);
    const Bytes behind(30, 0xEE);

    Receive(0, sync, behind);

    ASSERT_THAT(fake.sent, SizeIs(1));
    EXPECT_EQ(fake.sent[0].port, 1);
    EXPECT_EQ(ToHex(fake.sent[0].bytes), ToHex(FromHex(R"(
        01 80 c2 00 00 0e 00 1b 21 aa bb cc     // the switch puts its own source in
        da da 00 00 00 00 e0 01 88 f7
        10 02 00 2c 00 00 02 08
        01 02 03 04 05 06 07 08 00 00 00 00
        00 11 22 ff fe 33 44 55 00 01           // this clock, port 1
        12 34 00 fc
        00 00 00 00 00 00 00 00 00 4d
    )")));
}

TEST_F(Sync, RelayedFollowUpAddsTheTimeThroughTheBridge) {
    BecomeRelay();
    fake.PutStamps(Direction::RECEIVE, 0, syncType, 9, {1'000'000, origin});
    fake.PutStamps(Direction::TRANSMIT, 1, syncType, 9, {3, 1'400'000});
    Receive(0, SyncOf(peer, 9));
    auto followUp = FollowUpOf(peer, 9, origin);
    followUp.message.header.correctionField = int64_t{100} * 65536 + 7;
    followUp.message.information.cumulativeScaledRateOffset = 12345;
    followUp.message.information.lastGmPhaseChange[11] = 9;

    Receive(0, followUp);

    const auto relayed = LastSent<Framed<FollowUpMessage>>(1, PTPMessage::FOLLOW_UP);
    EXPECT_EQ(Sent(1, PTPMessage::FOLLOW_UP)[0].size(), 98U);
    EXPECT_EQ(relayed.message.header.correctionField, int64_t{400'100} * 65536 + 7);
    EXPECT_EQ(relayed.message.header.sourcePortIdentity.clockIdentity, own);
    EXPECT_EQ(relayed.message.header.sourcePortIdentity.portNumber, 1);
    EXPECT_EQ(relayed.message.header.sequenceId, 9);
    EXPECT_EQ(DecodeTimestamp(relayed.message.preciseOriginTimestamp), origin) << "the origin travels unchanged";
    EXPECT_EQ(relayed.message.information.cumulativeScaledRateOffset, 12345) << "at a neighbour's rate of 1";
    EXPECT_EQ(relayed.message.information.lastGmPhaseChange[11], 9);
}

TEST_F(Sync, NothingIsRelayedWhereTimeIsNotWanted) {
    BecomeRelay();
    fake.ports[1].avbUp = false;
    ReceivePair(1, origin, origin);
    fake.ports[1].avbUp = true;
    fake.ports[1].stpUp = false;
    ReceivePair(2, origin, origin);
    EXPECT_THAT(fake.sent, IsEmpty());
    EXPECT_THAT(fake.steering, SizeIs(2)) << "but followed";
}

TEST_F(Sync, ZeroOriginIsRefusedForEachPort) {
    BecomeRelay();
    fake.PutStamp(Direction::RECEIVE, 0, syncType, 1, 0);
    Receive(0, SyncOf(peer, 1));
    const std::string text = Logged(0, [&] { Receive(0, FollowUpOf(peer, 1, 0)); });

    size_t lines = 0;
    for (size_t at = text.find("Invalid FOLLOW_UP coming in"); at != std::string::npos;
         at = text.find("Invalid FOLLOW_UP coming in", at + 1)) {
        ++lines;
    }
    EXPECT_EQ(lines, 6U) << "every port but the one to the CPU";
    EXPECT_THAT(Sent(1, PTPMessage::FOLLOW_UP), IsEmpty());
}

TEST_F(Sync, ThirdCheckWithoutAFollowUpDropsTheMaster) {
    fake.ports[0].avbUp = fake.ports[1].avbUp = true;
    RunMs(1900);
    BecomeSlave();
    RunMs(101);  // first check
    ReceivePair(1, origin, origin);
    RunMs(2000);
    RunMs(2000);
    EXPECT_THAT(Status(), HasSubstr("ST:SLAVE:MC:0x001b21fffeaabbcc:LC:0x001b21fffeaabbcc:"));

    const std::string text = Logged(1, [&] { RunMs(2000); });
    EXPECT_THAT(text, HasSubstr("[SW-PTP] No sync coming in\n"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] switching to state PTP_LISTENING\n"));
    EXPECT_THAT(Status(), HasSubstr("ST:LISTENING:MC:0x001122fffe334455:LC:0x001122fffe334455:"));
}

TEST_F(Sync, FollowUpsKeepTheMaster) {
    BecomeSlave();
    for (uint16_t second = 0; second < 60; ++second) {
        // The sequence does not even match: that the master speaks is enough.
        Receive(0, FollowUpOf(peer, 4711, origin));
        RunMs(1000);
    }
    EXPECT_THAT(Status(), HasSubstr("ST:SLAVE:"));
}

// The receiver alone, with what peer delay has found put into the port.
class Receiver : public testing::Test {
protected:
    Receiver() {
        fake.Raise(0);
        fake.Raise(1);
        fake.ports[1].avbUp = true;
        ptp.state.Step(PortStateEvent::FOREIGN_IS_BETTER);
        ptp.best.sender = master;
    }

    void ReceivePair(uint64_t receiveTime, uint64_t sentTime, uint64_t originTime, int64_t correction,
                     int32_t rateOffset) {
        fake.PutStamp(FakePtpSwitch::Direction::RECEIVE, 0, syncType, 1, receiveTime);
        fake.PutStamp(FakePtpSwitch::Direction::TRANSMIT, 1, syncType, 1, sentTime);
        auto sync = BuildSync({}, master);
        sync.message.header.sequenceId = 1;
        receiver.HandleSync(0, sync);
        auto followUp = BuildFollowUp({}, master);
        followUp.message.header.sequenceId = 1;
        followUp.message.header.correctionField = correction;
        followUp.message.preciseOriginTimestamp = EncodeTimestamp(originTime);
        followUp.message.information.cumulativeScaledRateOffset = rateOffset;
        receiver.HandleFollowUp(0, followUp);
    }
    FollowUpMessage Relayed() const { return Peek<Framed<FollowUpMessage>>(fake.sent.back().bytes)->message; }

    static constexpr ClockIdentity master{9, 9, 9, 9, 9, 9, 9, 9};
    FakePtpSwitch fake;
    PTPInstance ptp{fake, fake, {1, 2, 3, 4, 5, 6}, {}};
    ClockServo servo{fake};
    SlaveClock slave{servo};
    Watchdogs watchdogs;
    SteppedClock clock;
    TimerService timers{clock};
    SyncReceiver receiver{ptp, slave, watchdogs, timers};
};

TEST_F(Receiver, LinkDelayCountsForTheOffsetAndTheRelay) {
    ptp.ports[0].meanLinkDelay = 350;
    ReceivePair(1'000'000, 1'500'000, 1'000'000, 0, 0);
    EXPECT_THAT(fake.steering, ElementsAre(350 * 512 + 350 * 64));
    EXPECT_EQ(Relayed().header.correctionField, int64_t{500'350} * 65536);
}

TEST_F(Receiver, NegativeLinkDelayIsTakenOff) {
    ptp.ports[0].meanLinkDelay = -350;
    ReceivePair(1'000'000, 1'500'000, 1'000'000, 0, 0);
    EXPECT_THAT(fake.steering, ElementsAre(-350 * 512 - 350 * 64));
    EXPECT_EQ(Relayed().header.correctionField, int64_t{499'650} * 65536);
}

TEST_F(Receiver, NeighboursRateIsFoldedIntoTheCumulativeOne) {
    ptp.ports[0].neighborRateRatio = 1.0001;
    const int32_t received = 219'902'325;  // 1e-4
    ReceivePair(1'000'000, 1'500'000, 1'000'000, 0, received);
    const double expected = 1.0001 * (1 + received / std::ldexp(1.0, 41)) - 1;
    EXPECT_DOUBLE_EQ(receiver.CumulativeRateRatioOffset(), expected);
    EXPECT_EQ(Relayed().information.cumulativeScaledRateOffset, static_cast<int32_t>(expected * std::ldexp(1.0, 41)));
}

TEST_F(Receiver, UnknownNeighboursRateLeavesTheReceivedOne) {
    ptp.ports[0].neighborRateRatio = 0;
    ReceivePair(1'000'000, 1'500'000, 1'000'000, 0, -1 << 20);
    EXPECT_DOUBLE_EQ(receiver.CumulativeRateRatioOffset(), -std::ldexp(1.0, -21));
    EXPECT_EQ(Relayed().information.cumulativeScaledRateOffset, -1 << 20);
}

TEST_F(Receiver, ScaledRateStopsAtTheEndsOfItsField) {
    ptp.ports[0].neighborRateRatio = 1.000974;
    ReceivePair(1'000'000, 1'500'000, 1'000'000, 0, std::numeric_limits<int32_t>::max());
    EXPECT_EQ(Relayed().information.cumulativeScaledRateOffset, std::numeric_limits<int32_t>::max());
    ptp.ports[0].neighborRateRatio = 0.999026;
    ReceivePair(1'000'000, 1'500'000, 1'000'000, 0, std::numeric_limits<int32_t>::min());
    EXPECT_EQ(Relayed().information.cumulativeScaledRateOffset, std::numeric_limits<int32_t>::min());
}

TEST_F(Receiver, MissingTransmitStampIsReckonedWithAsItIs) {
    ReceivePair(1'000'000, noTimestamp, 1'000'000, 0, 0);
    EXPECT_EQ(Relayed().header.correctionField, int64_t{-1'000'001} * 65536);
}

TEST_F(Receiver, CorrectionWrapsAround) {
    ReceivePair(0, uint64_t{1} << 63, 1, std::numeric_limits<int64_t>::max(), 0);
    EXPECT_EQ(Relayed().header.correctionField, std::numeric_limits<int64_t>::max());  // 2^63 x 2^16 is nothing
    ReceivePair(0, uint64_t{1} << 47, 1, std::numeric_limits<int64_t>::max(), 0);
    EXPECT_EQ(Relayed().header.correctionField, -1);
}

TEST_F(Receiver, StampsAtTheEndsOfTheirRangeAreHarmless) {
    for (const uint64_t receive : {uint64_t{0}, uint64_t{1} << 63, ~uint64_t{0} - 1}) {
        for (const uint64_t sent : {uint64_t{0}, uint64_t{1} << 63, ~uint64_t{0}}) {
            for (const int64_t correction :
                 {int64_t{0}, std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max()}) {
                ptp.ports[0].meanLinkDelay = std::numeric_limits<int32_t>::min();
                const size_t before = fake.sent.size();
                ReceivePair(receive, sent, 4'294'967'295'999'999'999, correction, 0);
                EXPECT_EQ(fake.sent.size(), before + 2);
            }
        }
    }
}

}  // namespace

}  // namespace norvad::test
