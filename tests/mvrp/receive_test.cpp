#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mvrp/mvrp_bridge.h"
#include "tests/support/captured_log.h"

namespace norvad::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto syncIsLost = "[SW-MVRP] MVRP msg: sync is lost";

class MvrpReceive : public testing::Test, protected MvrpBridge {};

TEST_F(MvrpReceive, AVectorOfThreeCarriesAcrossTheBytesOfTheId) {
    Receive(0, FromHex("00 01 02 00 03 00 ff 2b 00 00 00 00"));  // JoinIn three times from 0x00ff

    EXPECT_THAT(RegisteredOn(0), ElementsAre(0x00FF, 0x0100, 0x0101));
}

TEST_F(MvrpReceive, TheIdWrapsAsAFull16BitNumber) {
    Receive(0, FromHex("00 01 02 00 02 ff ff 24 00 00 00 00"));

    EXPECT_THAT(RegisteredOn(0), ElementsAre(0xFFFF, 0x0000));
}

TEST_F(MvrpReceive, OnlyDeclaringEventsIntroduceAVlan) {
    Receive(0, FromHex("00 01 02 00 03 00 10 08 00 00"));  // New, JoinIn, In
    Receive(1, FromHex("00 01 02 00 03 00 20 89 00 00"));  // JoinMt, Mt, Leave

    EXPECT_THAT(RegisteredOn(0), ElementsAre(0x10, 0x11));
    EXPECT_NE(mvrp.FindVlan(0x12, 0), nullptr);  // In is kept, though it registers nothing
    EXPECT_THAT(RegisteredOn(1), ElementsAre(0x20));
    EXPECT_EQ(mvrp.FindVlan(0x21, 1), nullptr);
    EXPECT_EQ(mvrp.FindVlan(0x22, 1), nullptr);
}

TEST_F(MvrpReceive, ALeaveEndsTheRegistrationWithinASecond) {
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 00 00 00"));
    EXPECT_TRUE(IsMember(0, 100));

    Receive(0, FromHex("00 01 02 00 01 00 64 b4 00 00 00 00"));
    RunMs(799);
    EXPECT_TRUE(IsMember(0, 100));
    RunMs(201);

    EXPECT_FALSE(IsMember(0, 100));
}

TEST_F(MvrpReceive, ALeaveAllMakesEveryVlanOfThePortLeave) {
    Receive(0, FromHex("00 01 02 00 02 00 64 2a 00 00 00 00"));
    Receive(1, FromHex("00 01 02 00 01 00 c8 24 00 00 00 00"));

    CapturedLog captured(LogCategory::MVRP, 1);
    Receive(0, FromHex("00 01 02 20 00 00 00 00 00 00 00"));

    EXPECT_THAT(captured.Lines(), ElementsAre("[SW-MVRP] REGISTER_VLAN leave all on port 0"));
    EXPECT_EQ(mvrp.FindVlan(100, 0)->state.registrar, RegistrarState::LV);
    EXPECT_EQ(mvrp.FindVlan(101, 0)->state.registrar, RegistrarState::LV);
    EXPECT_EQ(mvrp.FindVlan(200, 1)->state.registrar, RegistrarState::IN);
}

TEST_F(MvrpReceive, ALeaveAllComesBeforeTheValuesOfItsVector) {
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 00 00 00"));

    Receive(0, FromHex("00 01 02 20 01 00 64 24 00 00 00 00"));

    EXPECT_EQ(mvrp.FindVlan(100, 0)->state.registrar, RegistrarState::IN);
}

TEST_F(MvrpReceive, EachMessagesLeaveAllCounts) {
    Receive(0, FromHex("00 01 02 20 01 00 64 24 00 00"     // LeaveAll, JoinIn of 100
                       "   01 02 20 01 00 65 24 00 00"));  // LeaveAll, JoinIn of 101

    EXPECT_EQ(mvrp.FindVlan(100, 0)->state.registrar, RegistrarState::LV);
    EXPECT_EQ(mvrp.FindVlan(101, 0)->state.registrar, RegistrarState::IN);
}

TEST_F(MvrpReceive, LeaveAllEventsWithoutItsLowestBitAreNone) {
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 00 00 00"));

    Receive(0, FromHex("00 01 02 40 00 00 00 00 00 00 00"));

    EXPECT_EQ(mvrp.FindVlan(100, 0)->state.registrar, RegistrarState::IN);
}

TEST_F(MvrpReceive, MessagesOfOneVectorFollowOneAnother) {
    Receive(0, FromHex("00 "
                       "01 02 00 01 00 64 24 00 00 "
                       "01 02 00 01 00 65 24 00 00 "
                       "00 00"));

    EXPECT_THAT(RegisteredOn(0), ElementsAre(100, 101));
}

TEST_F(MvrpReceive, AllVectorsOfAMessageAreRead) {
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 01 00 65 24 00 01 00 66 24 00 00 00 00"));

    EXPECT_THAT(RegisteredOn(0), ElementsAre(100, 101, 102));
}

// Nine bytes into such a message lie the second vector's values, whose bytes were once taken for a message when they
// named a known type and length: VLANs appeared that nobody had declared.
TEST_F(MvrpReceive, NothingInsideAMessageOfSeveralVectorsIsTakenForAMessage) {
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 01 01 02 24 00 01 00 66 24 00 00 00 00"));
    EXPECT_THAT(RegisteredOn(0), ElementsAre(100, 0x102, 102));

    CapturedLog captured(LogCategory::MVRP);
    for (uint32_t vid = 0; vid <= 0xFFFF; vid += 0x11) {
        MvrpBridge fresh;
        const Bytes id = {static_cast<uint8_t>(vid >> 8), static_cast<uint8_t>(vid)};
        fresh.Receive(1, Join({FromHex("00 01 02 00 01 00 01 24 00 01"), id, FromHex("24 00 00 00 00")}));
        EXPECT_THAT(fresh.RegisteredOn(1), testing::UnorderedElementsAre(1, vid)) << vid;
    }
    EXPECT_THAT(captured.Lines(), IsEmpty());
}

TEST_F(MvrpReceive, TheNextMessageBeginsBehindTheEndMarkOfSeveralVectors) {
    CapturedLog captured(LogCategory::MVRP);
    Receive(0, FromHex("00 "
                       "01 02 00 01 00 64 24 00 01 00 65 24 00 00 "  // two vectors
                       "01 02 00 07 00 c8 2b 2b 24 00 00 "           // one vector of seven values
                       "01 02 00 01 01 2c 24 00 00 "
                       "00 00"));

    EXPECT_THAT(RegisteredOn(0), ElementsAre(100, 101, 200, 201, 202, 203, 204, 205, 206, 300));
    EXPECT_THAT(captured.Lines(), IsEmpty());
}

TEST_F(MvrpReceive, AMessageWithoutValuesIsTakenForOneVectorHoweverMuchWasRead) {
    Receive(0, FromHex("00 "
                       "01 02 20 00 00 00 00 00 00 "  // eight bytes, and one that is skipped
                       "01 02 00 00 00 00 00 00 00 "  // likewise
                       "01 02 00 01 00 64 24 00 00 "
                       "00 00"));
    EXPECT_THAT(RegisteredOn(0), ElementsAre(100));

    // Two vectors without values, the second of which the next message cuts short, and a third that is cut off.
    Receive(1, FromHex("00 01 02 20 00 00 00 20 00 00 01 02 00 01 00 65 24 00 00 00 00"));
    EXPECT_THAT(RegisteredOn(1), ElementsAre(101));
}

TEST_F(MvrpReceive, AMessageWhoseEndMarkIsMissingEndsWithItsLastWholeVector) {
    CapturedLog captured(LogCategory::MVRP);
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 01 00 65 24"));        // the frame ends
    Receive(1, FromHex("00 01 02 00 01 00 64 24 00 01 00 65 24 00 01"));  // a third vector is cut off

    EXPECT_THAT(RegisteredOn(0), ElementsAre(100, 101));
    EXPECT_THAT(RegisteredOn(1), ElementsAre(100, 101));
    EXPECT_THAT(captured.Lines(), IsEmpty());
}

TEST_F(MvrpReceive, AMessageThatExceedsTheBytesLeftLosesSync) {
    CapturedLog captured(LogCategory::MVRP);
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00"));  // 8 of 9 bytes

    EXPECT_THAT(captured.Lines(), ElementsAre(syncIsLost));
    EXPECT_THAT(VlansOn(0), IsEmpty());
}

TEST_F(MvrpReceive, AMessageOfExactlyTheBytesLeftIsRead) {
    CapturedLog captured(LogCategory::MVRP);
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 00"));

    EXPECT_THAT(captured.Lines(), IsEmpty());
    EXPECT_THAT(RegisteredOn(0), ElementsAre(100));
}

TEST_F(MvrpReceive, ASecondMessageThatDoesNotFitLosesSyncAfterTheFirst) {
    CapturedLog captured(LogCategory::MVRP);
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 00 01 02 00 01 00 65 24"));

    EXPECT_THAT(captured.Lines(), ElementsAre(syncIsLost));
    EXPECT_THAT(RegisteredOn(0), ElementsAre(100));
}

TEST_F(MvrpReceive, AnAttributeLengthBeyondTheFrameLosesSync) {
    CapturedLog captured(LogCategory::MVRP);
    Receive(0, FromHex("00 01 ff 00 01 00 64 24 00 00 00 00"));

    EXPECT_THAT(captured.Lines(), ElementsAre(syncIsLost));
}

TEST_F(MvrpReceive, ATypeOrALengthOfZeroEndsThePduQuietly) {
    CapturedLog captured(LogCategory::MVRP);
    Receive(0, FromHex("00 00 02 00 01 00 64 24 00 00"));
    Receive(0, FromHex("00 01 00 00 01 00 64 24 00 00"));
    Receive(0, FromHex("00 01 00"));
    Receive(0, FromHex("00 00"));
    Receive(0, FromHex("00"));
    Receive(0, {});

    EXPECT_THAT(captured.Lines(), IsEmpty());
    EXPECT_THAT(VlansOn(0), IsEmpty());
}

TEST_F(MvrpReceive, AnUnknownTypeEndsAPduOfOurVersion) {
    CapturedLog captured(LogCategory::MVRP);
    Receive(0, FromHex("00 02 02 00 01 00 64 24 00 00 01 02 00 01 00 65 24 00 00"));

    EXPECT_THAT(captured.Lines(), ElementsAre("[SW-MVRP] unsupported attribute type 2"));
    EXPECT_THAT(VlansOn(0), IsEmpty());
}

TEST_F(MvrpReceive, AnUnknownTypeOfALaterVersionIsSteppedOver) {
    CapturedLog captured(LogCategory::MVRP);
    Receive(0, FromHex("01 02 02 00 01 00 64 24 00 00 01 02 00 01 00 65 24 00 00"));

    EXPECT_THAT(captured.Lines(), ElementsAre("[SW-MVRP] unsupported attribute type 2"));
    EXPECT_THAT(RegisteredOn(0), ElementsAre(101));
}

TEST_F(MvrpReceive, AnIllegalLengthSkipsTheMessage) {
    CapturedLog captured(LogCategory::MVRP);
    Receive(0, FromHex("00 01 03 00 01 00 64 00 24 00 00 01 02 00 01 00 65 24 00 00"));

    EXPECT_THAT(captured.Lines(), ElementsAre("[SW-MVRP] REGISTER_VLAN illegal attribute_length 3"));
    EXPECT_THAT(RegisteredOn(0), ElementsAre(101));
}

TEST_F(MvrpReceive, FramesForAnotherAddressAreIgnored) {
    CapturedLog captured(LogCategory::MVRP);
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 00"), "01 80 c2 00 00 20");
    Receive(0, FromHex("00 01 02 00"), "01 80 c2 00 00 0e");

    EXPECT_THAT(captured.Lines(), IsEmpty());
    EXPECT_THAT(VlansOn(0), IsEmpty());
}

TEST_F(MvrpReceive, APortWithoutARecordIsIgnored) {
    Receive(6, FromHex("00 01 02 00 01 00 64 24 00 00"));
    Receive(7, FromHex("00 01 02 00 01 00 65 24 00 00"));
    Receive(31, FromHex("00 01 02 00 01 00 66 24 00 00"));

    EXPECT_THAT(RegisteredOn(6), ElementsAre(100));
    EXPECT_EQ(bridge.vlans, (std::set<FakeSwitch::Vlan>{{6, 100}}));
}

TEST_F(MvrpReceive, NoTruncationOfAFrameRegistersMoreThanWhatIsWhollyThere) {
    const Bytes whole = FromHex(
        "01 80 c2 00 00 21 02 00 00 00 00 99 da da 00 00 00 00 00 00 88 f5 "
        "00 01 02 00 01 00 64 24 00 00 01 02 00 01 00 65 24 00 00 00 00");
    for (size_t length = 0; length <= whole.size(); ++length) {
        MvrpBridge fresh;
        Bytes frame = Part(whole, 0, length);

        CapturedLog captured(LogCategory::MVRP);
        fresh.ReceiveRaw(frame);

        const size_t registered = length >= 41 ? 2 : length >= 32 ? 1 : 0;
        EXPECT_EQ(fresh.RegisteredOn(0).size(), registered) << length;
        const bool isCutInside = (length > 23 && length < 32) || (length > 32 && length < 41);
        EXPECT_EQ(captured.Lines().size(), isCutInside ? 1u : 0u) << length;
    }
}

TEST_F(MvrpReceive, ValuesAreLoggedAsTheyAreTaken) {
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 00"));

    CapturedLog captured(LogCategory::MVRP, 2);
    Receive(0, FromHex("00 01 02 00 03 00 64 ac 00 00"));  // Mt three times: nothing is propagated

    EXPECT_THAT(
        captured.Lines(),
        ElementsAre("[SW-MVRP] REGISTER_VLAN on port 0", "[SW-MVRP] REGISTER_VLAN getting attr event 0",
                    "[SW-MVRP] REGISTER_VLAN getting attr event 1", "[SW-MVRP] REGISTER_VLAN getting attr event 2"));
}

TEST_F(MvrpReceive, TheLogNamesThePortBeforeItTellsOfTheWalk) {
    CapturedLog captured(6);
    Receive(0, FromHex("00 01 02 20 00 00 00 00 00 00 00"));

    EXPECT_THAT(captured.Lines(),
                ElementsAre("[SW-MVRP] REGISTER_VLAN leave all on port 0", "[SW-MVRP] REGISTER_VLAN on port 0",
                            "AttributeGetter::GetNext offset=0 attr_len=2",
                            "AttributeGetter::GetNext offset = 4 , num_of_events = 0",
                            "AttributeGetter::GetNext offset=4 attr_len=2"));
}

TEST_F(MvrpReceive, ANewVlanIsLoggedWithItsState) {
    bridge.ports[1].up = false;

    CapturedLog captured(LogCategory::MVRP, 1);
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 00"));

    EXPECT_THAT(captured.Lines(), ElementsAre(testing::MatchesRegex("\\[SW-MVRP\\] \\(0x[0-9a-f]+\\) Port\\(0\\) Add: "
                                                                    "\\[MVRP\\] Vlan:100 Applicant VO Registrar MT")));
}

}  // namespace
}  // namespace norvad::test
