#include <gtest/gtest.h>

#include "ptp/announce.h"
#include "tests/ptp/ptp_fixture.h"
#include "tests/support/bytes.h"

namespace norvad::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr ClockIdentity second{0x00, 0x1B, 0x21, 0xFF, 0xFE, 0xDD, 0xDD, 0xDD};
constexpr uint64_t ownNumber = 0x001122FFFE334455;
constexpr uint64_t peerNumber = 0x001B21FFFEAABBCC;

class Announce : public PtpFixture {
protected:
    Announce() { Build({}); }

    void Build(const PtpSettings& settings) {
        PtpFixture::Build(settings);
        fake.ports[0].avbUp = fake.ports[1].avbUp = true;
        fake.sent.clear();
        kept = {};
    }
    std::string State() {
        const std::string status = Status();
        return status.substr(3, status.find(':', 3) - 3);
    }
    // From LISTENING by the way that each state is reached.
    void Enter(const std::string& state) {
        if (state == "ANNOUNCE") Control({"-a", "3"});
        if (state == "MASTER") Handle(AnnounceFrom(0, peer, DatasetOf(251, peer)));
        if (state == "SLAVE") Handle(AnnounceFrom(0, peer, DatasetOf(100, peer)));
        ASSERT_EQ(State(), state);
        fake.sent.clear();
        kept = {};
    }
    // Neighbours keep answering meanwhile.
    void PassChecks(int checks) {
        RunMs(static_cast<uint32_t>(2000 * checks));
        fake.ports[0].avbUp = fake.ports[1].avbUp = true;
    }
};

// What goes out

TEST_F(Announce, CarriesTheLocalClockOnEveryPortThatTakesPart) {
    Enter("ANNOUNCE");
    RunMs(1050);
    const auto onPort1 = Sent(1, PTPMessage::ANNOUNCE);
    ASSERT_THAT(onPort1, SizeIs(1));
    EXPECT_EQ(onPort1[0].size(), 98U);
    EXPECT_EQ(ToHex(onPort1[0]), ToHex(FromHex(R"(
        01 80 c2 00 00 0e 00 11 22 33 44 55
        da da 00 00 00 00 e0 01 88 f7
        1b 02 00 4c 00 00 00 08
        00 00 00 00 00 00 00 00 00 00 00 00
        00 11 22 ff fe 33 44 55 00 01    // port 1
        00 01 05 00                      // the first one
        00 00 00 00 00 00 00 00 00 00
        00 00 00
        fa f8 fe 41 00 f8                // priority1 250, class 248, accuracy, variance, priority2 248
        00 11 22 ff fe 33 44 55 00 00    // grandmaster, no steps
        a0
        00 08 00 08 00 11 22 ff fe 33 44 55
    )")));
    EXPECT_EQ(LastSent<AnnounceSent>(0, PTPMessage::ANNOUNCE).frame.message.header.sourcePortIdentity.portNumber, 0);
}

TEST_F(Announce, GoesOutEverySecondOfAnnounceAndMasterOnly) {
    RunMs(2100);
    EXPECT_THAT(Sent(0, PTPMessage::ANNOUNCE), IsEmpty()) << "LISTENING";
    Enter("ANNOUNCE");
    RunMs(1050);
    EXPECT_THAT(Sent(0, PTPMessage::ANNOUNCE), SizeIs(1));
    Control({"-m", "200"});
    Handle(AnnounceFrom(0, peer, DatasetOf(251, peer)));
    fake.sent.clear();
    ASSERT_EQ(State(), "MASTER");
    RunMs(1050);
    EXPECT_THAT(Sent(0, PTPMessage::ANNOUNCE), SizeIs(1));
    Enter("SLAVE");
    RunMs(2100);
    EXPECT_THAT(Sent(0, PTPMessage::ANNOUNCE), IsEmpty());
}

TEST_F(Announce, LeavesOutPortsThatAreBlockedOrNotAsCapableAndTheCpu) {
    Enter("ANNOUNCE");
    fake.ports[0].stpUp = false;
    fake.ports[6] = {true, true, true, false};
    RunMs(1050);
    fake.ports[0].stpUp = true;
    fake.ports[0].avbUp = false;
    RunMs(1050);
    EXPECT_THAT(Sent(0, PTPMessage::ANNOUNCE), IsEmpty());
    EXPECT_THAT(Sent(6, PTPMessage::ANNOUNCE), IsEmpty());
    const auto frames = Sent(1, PTPMessage::ANNOUNCE);
    ASSERT_GE(frames.size(), 2U);
    EXPECT_EQ(Peek<PTPHeader>(frames[1], 22)->sequenceId, 2);
}

TEST_F(Announce, CarriesTheConfiguredPriority) {
    Build({17, false});
    Enter("ANNOUNCE");
    RunMs(1050);
    EXPECT_EQ(LastSent<AnnounceSent>(0, PTPMessage::ANNOUNCE).frame.message.dataset.priority1, 17);
}

// Selection

TEST_F(Announce, BlockEqualToTheBestOneOnlyRefreshesTheWatchdog) {
    EXPECT_EQ(Logged(1, [&] { Handle(AnnounceFrom(0, peer, DatasetOf(250, own))); }), "");
    EXPECT_EQ(State(), "LISTENING");
    EXPECT_THAT(kept.identities, IsEmpty());
}

TEST_F(Announce, SelectionIsLoggedAtLevelTwo) {
    const auto announce = AnnounceFrom(0, peer, DatasetOf(250, own));
    EXPECT_EQ(Logged(2, [&] { Handle(announce); }), "[SW-PTP] BMC\n");
    EXPECT_EQ(Logged(1, [&] { Handle(announce); }), "");
}

TEST_F(Announce, BetterClockMakesASlaveAndIsExported) {
    const std::string text = Logged(1, [&] { Handle(AnnounceFrom(0, peer, DatasetOf(100, peer))); });

    EXPECT_THAT(text, HasSubstr("[SW-PTP] Found a better clock announced from ClockIdentity 0x001b21fffeaabbcc\n"
                                "P1 = 100 P2 = 248\n"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] local clock is worse\n"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] switching to state PTP_SLAVE\n"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] SendGrandmasterId\n"));
    EXPECT_THAT(Status(), HasSubstr("ST:SLAVE:MC:0x001b21fffeaabbcc:LC:0x001b21fffeaabbcc:SR:0:"));
    EXPECT_THAT(kept.identities, ElementsAre(peer));
    ASSERT_THAT(kept.messages, SizeIs(1));
    EXPECT_EQ(kept.messages[0].clockNumber, peerNumber);
    EXPECT_EQ(kept.messages[0].fixed, 200U);
    EXPECT_EQ(kept.messages[0].domainNumber, 0);
    EXPECT_EQ(kept.messages[0].pathCount, 2);
    EXPECT_EQ(kept.messages[0].path[0], peerNumber);
    EXPECT_EQ(kept.messages[0].path[1], ownNumber);
}

TEST_F(Announce, GrandmasterBehindTheNeighbourIsNotTheSender) {
    Handle(AnnounceFrom(1, peer, DatasetOf(100, second, 2)));
    EXPECT_THAT(Status(), HasSubstr("MC:0x001b21fffedddddd:LC:0x001b21fffeaabbcc:SR:2:"));
    EXPECT_THAT(kept.identities, ElementsAre(second));
    EXPECT_EQ(kept.messages.at(0).pathCount, 4);
}

TEST_F(Announce, WorseClockMakesAMasterOfAListenerAndOfABidder) {
    for (const char* state : {"LISTENING", "ANNOUNCE"}) {
        Build({});
        Enter(state);
        const std::string text = Logged(1, [&] { Handle(AnnounceFrom(0, peer, DatasetOf(251, peer))); });
        EXPECT_THAT(text, HasSubstr("[SW-PTP] foreign clock is worse\n"));
        EXPECT_THAT(text, HasSubstr("[SW-PTP] switching to state PTP_MASTER\n"));
        EXPECT_EQ(State(), "MASTER");
        EXPECT_EQ(LastSent<AnnounceSent>(0, PTPMessage::ANNOUNCE).frame.message.dataset.grandmasterIdentity, own)
            << "announced at once";
        EXPECT_THAT(kept.identities, ElementsAre(own));
        ASSERT_THAT(kept.messages, SizeIs(1));
        EXPECT_EQ(kept.messages[0].clockNumber, ownNumber);
        EXPECT_EQ(kept.messages[0].pathCount, 1);
        EXPECT_EQ(kept.messages[0].path[0], ownNumber);
    }
}

TEST_F(Announce, WorseClockChangesNothingForASlaveOrAMaster) {
    for (const char* state : {"SLAVE", "MASTER"}) {
        Build({});
        Enter(state);
        EXPECT_EQ(Logged(1, [&] { Handle(AnnounceFrom(0, second, DatasetOf(252, second))); }), "");
        EXPECT_EQ(State(), state);
        EXPECT_THAT(kept.identities, IsEmpty());
    }
}

TEST_F(Announce, WorseClockChangesNothingWithoutTheRightToBeGrandmaster) {
    Build({250, true});
    Handle(AnnounceFrom(0, peer, DatasetOf(251, peer)));
    PassChecks(5);
    EXPECT_EQ(State(), "LISTENING");
    Handle(AnnounceFrom(0, peer, DatasetOf(249, peer)));
    EXPECT_EQ(State(), "SLAVE");
}

TEST_F(Announce, StillBetterClockReplacesTheMaster) {
    Enter("SLAVE");
    Handle(AnnounceFrom(1, second, DatasetOf(99, second)));
    EXPECT_THAT(Status(), HasSubstr("ST:SLAVE:MC:0x001b21fffedddddd:LC:0x001b21fffedddddd:"));
    EXPECT_THAT(kept.identities, ElementsAre(second));
}

TEST_F(Announce, SameBlockFromAnotherNeighbourLeavesTheSender) {
    Handle(AnnounceFrom(0, peer, DatasetOf(100, second, 1)));
    Handle(AnnounceFrom(1, second, DatasetOf(100, second, 1)));
    EXPECT_THAT(Status(), HasSubstr("LC:0x001b21fffeaabbcc:"));
    fake.PutStamp(Direction::RECEIVE, 1, 0, 1, 1000);
    EXPECT_THAT(Logged(1, [&] { Receive(1, BuildSync(peerMac, second)); }),
                HasSubstr("[SW-PTP] SYNC message from unknown clock\n"));
}

TEST_F(Announce, MasterThatStoppedAnnouncingLosesToAnyClock) {
    Enter("SLAVE");
    PassChecks(1);
    EXPECT_EQ(Logged(1, [&] { Handle(AnnounceFrom(1, second, DatasetOf(120, second))); }), "") << "not yet";
    PassChecks(1);
    const std::string text = Logged(1, [&] { Handle(AnnounceFrom(1, second, DatasetOf(120, second))); });
    EXPECT_THAT(text, HasSubstr("[SW-PTP] PTP GM clock stopped announcing, resetting master\n"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] local clock is worse\n"));
    EXPECT_THAT(Status(), HasSubstr("ST:SLAVE:MC:0x001b21fffedddddd:"));
}

TEST_F(Announce, RepeatedAnnouncesKeepTheMaster) {
    Enter("SLAVE");
    for (int elapsed = 0; elapsed < 20; ++elapsed) {
        RunMs(1000);
        Receive(0, BuildFollowUp(peerMac, peer));
        Handle(AnnounceFrom(0, peer, DatasetOf(100, peer)));
    }
    EXPECT_EQ(Logged(1, [&] { Handle(AnnounceFrom(1, second, DatasetOf(120, second))); }), "");
}

TEST_F(Announce, LocalClockWinsOverABetterOneThanASilentMaster) {
    Enter("SLAVE");
    PassChecks(2);
    const std::string text = Logged(1, [&] { Handle(AnnounceFrom(1, second, DatasetOf(251, second))); });
    EXPECT_THAT(text, HasSubstr("[SW-PTP] Found a better clock"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] local clock is still better\n"));
    EXPECT_THAT(Status(), HasSubstr("ST:MASTER:MC:0x001122fffe334455:LC:0x001122fffe334455:"));
    EXPECT_THAT(Sent(1, PTPMessage::ANNOUNCE), Not(IsEmpty()));
    EXPECT_EQ(kept.messages.back().clockNumber, ownNumber);
    EXPECT_EQ(kept.messages.back().pathCount, 1);
}

TEST_F(Announce, LocalClockThatSomebodyElseAnnouncesIsStillOurs) {
    Enter("SLAVE");
    PassChecks(2);
    Handle(AnnounceFrom(1, second, DatasetOf(250, own)));
    EXPECT_THAT(Status(), HasSubstr("ST:MASTER:MC:0x001122fffe334455:LC:0x001122fffe334455:"));
}

TEST_F(Announce, WithoutTheRightToBeGrandmasterEvenAWorseClockIsFollowed) {
    Build({250, true});
    Enter("SLAVE");
    PassChecks(2);
    Handle(AnnounceFrom(1, second, DatasetOf(251, second)));
    EXPECT_THAT(Status(), HasSubstr("ST:SLAVE:MC:0x001b21fffedddddd:"));
}

TEST_F(Announce, PathThatDisagreesWithTheStepsIsReportedAndUsed) {
    auto frame = AnnounceFrom(0, peer, DatasetOf(100, peer, 0));
    frame[22 + 62] = 2;
    EXPECT_THAT(Logged(0, [&] { Handle(frame); }),
                HasSubstr("got invalid TLV: localStepsRemovedLo = 2 TLV lengthField = 8"));
    EXPECT_EQ(State(), "SLAVE");
}

TEST_F(Announce, OwnAnnounceAndAnnounceThroughABlockedPortAreIgnored) {
    Handle(AnnounceFrom(0, own, DatasetOf(1, peer)));
    fake.ports[0].stpUp = false;
    Handle(AnnounceFrom(0, peer, DatasetOf(1, peer)));
    EXPECT_EQ(State(), "LISTENING");
    EXPECT_THAT(fake.sent, IsEmpty());
}

// The wait before taking over

TEST_F(Announce, SecondCheckWithoutABetterClockMakesAMaster) {
    RunMs(1900);
    Enter("ANNOUNCE");
    PassChecks(1);
    EXPECT_EQ(State(), "ANNOUNCE");
    EXPECT_THAT(kept.identities, IsEmpty());
    PassChecks(1);
    EXPECT_EQ(State(), "MASTER");
    EXPECT_THAT(kept.identities, ElementsAre(own));
    EXPECT_EQ(kept.messages.at(0).clockNumber, ownNumber);
    EXPECT_EQ(kept.messages.at(0).domainNumber, 0);
    EXPECT_EQ(kept.messages.at(0).pathCount, 1);
}

TEST_F(Announce, EverySwitchStartsTheWaitAnew) {
    Enter("ANNOUNCE");
    PassChecks(1);
    Control({"-m", "200"});
    PassChecks(1);
    EXPECT_EQ(State(), "ANNOUNCE");
    PassChecks(1);
    EXPECT_EQ(State(), "MASTER");
}

TEST_F(Announce, EverySwitchGivesTheMasterThreeChecksAnew) {
    Enter("SLAVE");
    PassChecks(2);
    Handle(AnnounceFrom(0, peer, DatasetOf(99, peer)));
    PassChecks(2);
    EXPECT_EQ(State(), "SLAVE");
    PassChecks(1);
    EXPECT_EQ(State(), "LISTENING");
}

TEST_F(Announce, ListenerWaitsForEver) {
    PassChecks(10);
    EXPECT_EQ(State(), "LISTENING");
}

// The relay

TEST_F(Announce, RelayedAnnounceIsOneStepAndOnePathEntryLonger) {
    auto frame = AnnounceFrom(0, peer, DatasetOf(100, peer));
    frame[22 + 33] = 0xFE;  // whatever interval it came with
    fake.ports[6] = {true, true, true, false};

    Handle(frame);

    ASSERT_THAT(fake.sent, SizeIs(1));
    EXPECT_EQ(fake.sent[0].port, 1);
    EXPECT_EQ(fake.sent[0].bytes.size(), 106U);
    EXPECT_EQ(ToHex(fake.sent[0].bytes), ToHex(FromHex(R"(
        01 80 c2 00 00 0e 00 1b 21 aa bb cc
        da da 00 00 00 00 e0 01 88 f7
        1b 02 00 54 00 00 00 08                                     // length 84
        00 00 00 00 00 00 00 00 00 00 00 00
        00 11 22 ff fe 33 44 55 00 01
        00 00 05 fe
        00 00 00 00 00 00 00 00 00 00
        00 00 00
        64 f8 fe 41 00 f8
        00 1b 21 ff fe aa bb cc 00 01                               // one step
        a0
        00 08 00 10                                                 // 16 bytes of path
        00 1b 21 ff fe aa bb cc 00 11 22 ff fe 33 44 55
    )")));
}

TEST_F(Announce, IsRelayedWhateverTheSelectionSays) {
    Enter("MASTER");
    Handle(AnnounceFrom(0, second, DatasetOf(252, second)));
    Handle(AnnounceFrom(1, second, DatasetOf(252, second)));
    EXPECT_THAT(Sent(1, PTPMessage::ANNOUNCE), SizeIs(1));
    EXPECT_THAT(Sent(0, PTPMessage::ANNOUNCE), SizeIs(1));
}

TEST_F(Announce, IsNotRelayedWhereNobodyTakesPart) {
    fake.ports[1].avbUp = false;
    Handle(AnnounceFrom(0, peer, DatasetOf(100, peer)));
    fake.ports[1].avbUp = true;
    fake.ports[1].stpUp = false;
    Handle(AnnounceFrom(0, peer, DatasetOf(100, peer)));
    EXPECT_THAT(fake.sent, IsEmpty());
}

TEST_F(Announce, StepsCarryFromTheLowByteIntoTheHighOne) {
    for (const auto& [received, relayed] :
         {std::pair<uint16_t, uint16_t>{0x00FF, 0x0100}, {0x12FF, 0x1300}, {0xFFFF, 0x0000}, {0x00FE, 0x00FF}}) {
        auto announce = BuildAnnounce(peerMac, peer);
        announce.frame.message.dataset = DatasetOf(252, peer, received);
        Receive(0, announce);
        EXPECT_EQ(LastSent<AnnounceSent>(1, PTPMessage::ANNOUNCE).frame.message.dataset.stepsRemoved, relayed);
    }
}

TEST_F(Announce, StepsOfTheStatusLineCountTheHighByteAs255) {
    auto announce = BuildAnnounce(peerMac, peer);
    announce.frame.message.dataset = DatasetOf(1, peer, 0x0203);
    Receive(0, announce);
    EXPECT_THAT(Status(), HasSubstr(":SR:513:"));
}

TEST_F(Announce, PathIsBoundedByWhatArrived) {
    auto announce = BuildAnnounce(peerMac, peer);
    announce.frame.message.dataset = DatasetOf(1, peer);
    announce.frame.message.lengthField = 0xFFFF;
    const Bytes halfAnEntry(4, 0xAB);

    Receive(0, announce, halfAnEntry);

    const auto relayed = Sent(1, PTPMessage::ANNOUNCE);
    ASSERT_THAT(relayed, SizeIs(1));
    EXPECT_EQ(relayed[0].size(), 106U);
    EXPECT_EQ(Peek<Framed<AnnounceMessage>>(relayed[0])->message.lengthField, 16);
    EXPECT_EQ(kept.messages.at(0).pathCount, 2);
}

TEST_F(Announce, WithoutAPathIsFollowedAndGetsOne) {
    auto announce = BuildAnnounce(peerMac, peer).frame;
    announce.message.dataset = DatasetOf(1, peer);
    announce.message.lengthField = 0;
    Receive(0, announce);
    EXPECT_EQ(kept.messages.at(0).pathCount, 1);
    EXPECT_EQ(kept.messages.at(0).path[0], ownNumber);
    EXPECT_EQ(LastSent<AnnounceSent>(1, PTPMessage::ANNOUNCE).pathSequence, own);
}

TEST_F(Announce, RecordHoldsThirtyOneReceivedEntriesAndThisClock) {
    for (const auto& [received, count] : {std::pair<uint16_t, uint16_t>{30, 31}, {31, 32}, {32, 32}, {100, 32}}) {
        Build({});
        Handle(AnnounceFrom(0, peer, DatasetOf(1, second, static_cast<uint16_t>(received - 1))));
        const GrandmasterMessage& message = kept.messages.at(0);
        EXPECT_EQ(message.pathCount, count) << received;
        EXPECT_EQ(message.path.at(count - 2U), peerNumber);
        EXPECT_EQ(message.path.at(count - 1U), ownNumber);
        EXPECT_EQ(message.path.back() != 0, count == 32) << "behind the path stands nothing";
    }
}

TEST_F(Announce, IsRelayedAsLongAsItFitsAFrame) {
    Enter("MASTER");
    // 1514 bytes and the tag: 22 + 68 + 8 x 179.
    Handle(AnnounceFrom(0, peer, DatasetOf(252, peer, 177)));
    ASSERT_THAT(Sent(1, PTPMessage::ANNOUNCE), SizeIs(1));
    EXPECT_EQ(fake.sent.back().bytes.size(), 1522U);
    EXPECT_EQ(Part(fake.sent.back().bytes, 1514, 8), Bytes(own.begin(), own.end()));

    Handle(AnnounceFrom(0, peer, DatasetOf(252, peer, 178)));
    EXPECT_THAT(Sent(1, PTPMessage::ANNOUNCE), SizeIs(1)) << "no room for another entry";
}

TEST_F(Announce, LossOfThoseThatDoNotFitIsSaidWhenItBegins) {
    const std::string loss = "[SW-PTP] Announce with 180 path entries does not fit a frame\n";
    const auto logged = [&](uint8_t port, uint16_t steps) {
        return Logged(0, [&] { Handle(AnnounceFrom(port, peer, DatasetOf(252, peer, steps))); });
    };
    Enter("MASTER");

    EXPECT_EQ(logged(0, 178), loss);
    EXPECT_EQ(logged(0, 178), "");
    EXPECT_EQ(logged(1, 178), loss) << "by the other port as well";
    EXPECT_EQ(logged(0, 177), "");
    EXPECT_EQ(logged(0, 178), loss) << "once more";
}

TEST_F(Announce, ClockOfNumberZeroIsWrittenButNotSent) {
    Handle(AnnounceFrom(0, peer, DatasetOf(1, ClockIdentity{})));
    EXPECT_THAT(kept.identities, ElementsAre(ClockIdentity{}));
    EXPECT_THAT(kept.messages, IsEmpty());
}

// priority1

TEST_F(Announce, NewPriorityMovesToAnnounceFromAnyStateAndIsAnnouncedAtOnce) {
    for (const char* state : {"LISTENING", "ANNOUNCE", "SLAVE", "MASTER"}) {
        Build({});
        Enter(state);
        EXPECT_EQ(Control({"-m", "255"}), "");
        EXPECT_EQ(State(), "ANNOUNCE") << state;
        EXPECT_EQ(LastSent<AnnounceSent>(0, PTPMessage::ANNOUNCE).frame.message.dataset.priority1, 255);
    }
}

TEST_F(Announce, PriorityOutOfRangeIsRefused) {
    for (const char* value : {"256", "-1", "2147483647"}) {
        EXPECT_EQ(Control({std::string("--priority1=") + value}), "priority1 out of range 0..255\n");
        EXPECT_EQ(State(), "LISTENING");
    }
    Enter("ANNOUNCE");
    RunMs(1050);
    EXPECT_EQ(LastSent<AnnounceSent>(0, PTPMessage::ANNOUNCE).frame.message.dataset.priority1, 250);
}

TEST_F(Announce, NewPriorityMovesNothingWithoutTheRightToBeGrandmaster) {
    Build({250, true});
    EXPECT_EQ(Control({"-m", "0"}), "");
    EXPECT_EQ(State(), "LISTENING");
    EXPECT_THAT(fake.sent, IsEmpty());
}

TEST_F(Announce, BetterPriorityWinsOverTheMasterWhenItAnnouncesNext) {
    Enter("SLAVE");
    Control({"-m", "50"});
    PassChecks(2);
    EXPECT_EQ(State(), "MASTER");
    EXPECT_THAT(kept.identities, ElementsAre(own));
}

TEST(ReceivedAnnounce, PathIsMadeOfWholeEntriesThatArrived) {
    auto announce = BuildAnnounce({}, {}).frame;
    for (const auto& [claimed, arrived, entries] :
         {std::array<size_t, 3>{0, 80, 0}, {8, 80, 1}, {12, 80, 1}, {16, 16, 2}, {16, 15, 1}, {65535, 23, 2}}) {
        announce.message.lengthField = static_cast<uint16_t>(claimed);
        const auto bytes = BytesOf(announce);
        Bytes frame(bytes.begin(), bytes.end());
        frame.resize(frame.size() + arrived);
        const auto read = ReadAnnounce(frame);
        ASSERT_TRUE(read);
        EXPECT_EQ(read->PathCount(), entries) << claimed << " " << arrived;
    }
}

}  // namespace

}  // namespace norvad::test
