#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mvrp/mvrp_bridge.h"
#include "tests/support/captured_log.h"

namespace norvad::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// A frame out of a port as it leaves the switch model, zero-filled to 68 bytes.
Bytes SentFrame(uint8_t port, const std::string& payload) {
    Bytes frame = Join({FromHex("01 80 c2 00 00 21"),       // MVRP group address
                        FromHex("02 00 5e 10 20 30"),       // the switch's own
                        FromHex("da da 00 00 40"),          // from the CPU
                        {static_cast<uint8_t>(port << 3)},  // to this port
                        FromHex("e0 01 88 f5"),
                        FromHex(payload)});
    frame.resize(std::max<size_t>(frame.size(), 68));
    return frame;
}

class MvrpTransmit : public testing::Test, protected MvrpBridge {};

TEST_F(MvrpTransmit, ARegistrationGoesOutOfTheOtherPortAfterAMillisecond) {
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 00"));
    RunMs(1);

    EXPECT_THAT(bridge.SentOn(1), ElementsAre(SentFrame(1,
                                                        "00 "              // protocol version
                                                        "01 02 "           // VLANs, two bytes each
                                                        "00 01 00 64 6c "  // one value, 100, JoinMt
                                                        "00 00 "           // end of the message
                                                        "00 00")));        // end of the PDU
    EXPECT_THAT(bridge.SentOn(0), IsEmpty());
}

TEST_F(MvrpTransmit, OneMessageHasAVectorForEachValue) {
    Receive(0, FromHex("00 01 02 00 03 00 ff 2b 00 00"));
    RunMs(1);

    EXPECT_THAT(bridge.SentOn(1),
                ElementsAre(SentFrame(1, "00 01 02 00 01 00 ff 6c 00 01 01 00 6c 00 01 01 01 6c 00 00 00 00")));
}

TEST_F(MvrpTransmit, AWithdrawalIsSentAsALeave) {
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 00"));
    RunMs(700);
    bridge.sent.clear();

    mvrp.PortDown(0);
    RunMs(1);

    EXPECT_THAT(bridge.SentOn(1), ElementsAre(SentFrame(1, "00 01 02 00 01 00 64 b4 00 00 00 00")));
}

TEST_F(MvrpTransmit, ALeaveAllWithoutVlansHasAVectorWithoutValues) {
    mvrp.RunAttributeStateMachines(nullptr, 1, Event::LEAVEALLTIMER);
    RunMs(1);

    EXPECT_THAT(bridge.SentOn(1), ElementsAre(SentFrame(1, "00 01 02 20 00 00 00 00 00 00 00")));
}

TEST_F(MvrpTransmit, ALeaveAllMarksTheFirstVectorOnly) {
    Receive(0, FromHex("00 01 02 00 02 00 64 2a 00 00"));
    RunMs(700);
    bridge.sent.clear();

    mvrp.RunAttributeStateMachines(nullptr, 1, Event::LEAVEALLTIMER);
    RunMs(1);

    EXPECT_THAT(bridge.SentOn(1), ElementsAre(SentFrame(1, "00 01 02 20 01 00 64 6c 00 01 00 65 6c 00 00 00 00")));
}

TEST_F(MvrpTransmit, AQuietPortRepeatsItsDeclarationEverySecond) {
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 00"));
    RunMs(900);
    bridge.sent.clear();

    RunMs(1100);

    ASSERT_THAT(bridge.SentOn(1), testing::Not(IsEmpty()));
    EXPECT_EQ(bridge.SentOn(1)[0], SentFrame(1, "00 01 02 00 01 00 64 6c 00 00 00 00"));
}

TEST_F(MvrpTransmit, AFullFrameIsFollowedByAnother) {
    Receive(0, Join({FromHex("00 01 02 01 90 00 64"), Bytes(134, 0x2b), FromHex("00 00")}));  // 400 values
    ASSERT_THAT(RegisteredOn(0), SizeIs(400));
    RunMs(400);

    constexpr size_t inOneFrame = 275;  // 2 bytes of header and 5 for each until 1377
    const auto frames = bridge.SentOn(1);
    ASSERT_GE(frames.size(), 3u);
    EXPECT_EQ(frames[0].size(), 22 + 1 + 2 + 5 * inOneFrame + 2 + 2);
    EXPECT_EQ(frames[2].size(), 22 + 1 + 2 + 5 * (400 - inOneFrame) + 2 + 2);
    EXPECT_EQ(Part(frames[2], 25, 5), FromHex("00 01 01 77 6c"));  // 100 + 275
}

TEST_F(MvrpTransmit, WhatIsSentCanBeReceived) {
    Receive(0, Join({FromHex("00 01 02 01 90 00 64"), Bytes(134, 0x2b), FromHex("00 00")}));
    RunMs(400);
    MvrpBridge peer;

    CapturedLog captured(LogCategory::MVRP);
    for (const Bytes& sent : bridge.SentOn(1)) {
        Bytes frame = sent;
        frame[17] = 0;  // in by port 0
        peer.ReceiveRaw(frame);
    }

    EXPECT_EQ(peer.RegisteredOn(0), RegisteredOn(0));
    EXPECT_THAT(captured.Lines(), IsEmpty());
}

TEST_F(MvrpTransmit, NumbersSentAreLoggedAtLevelTwo) {
    Receive(0, FromHex("00 01 02 00 02 00 64 2a 00 00"));

    CapturedLog captured(LogCategory::MVRP, 2);
    RunMs(1);

    EXPECT_THAT(captured.Lines(),
                ElementsAre("[SW-MVRP] VlanProcessor added 2 VLANs", "[SW-MVRP] VLAN event for port 1"));
}

}  // namespace
}  // namespace norvad::test
