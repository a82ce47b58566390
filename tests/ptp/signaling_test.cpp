#include "ptp/signaling.h"

#include <gtest/gtest.h>

#include "tests/ptp/ptp_fixture.h"

namespace norvad::test {

namespace {

using testing::HasSubstr;

class Signaling : public testing::Test {
protected:
    Signaling() { fake.Raise(0); }

    SignalingMessage Request(uint8_t linkDelay, uint8_t timeSync, uint8_t announce) const {
        SignalingMessage message{};
        message.header.firstByte = static_cast<uint8_t>(PTPMessage::SIGNALING);
        message.header.sourcePortIdentity.clockIdentity = {9, 9, 9, 9, 9, 9, 9, 9};
        message.tlvType = ptpTlvOrganizationExtension;
        message.linkDelayInterval = linkDelay;
        message.timeSyncInterval = timeSync;
        message.announceInterval = announce;
        return message;
    }
    std::string Handle(const SignalingMessage& message) {
        CapturedLog capture(LogCategory::PTP, 1);
        receiver.HandleSignaling(0, message);
        return capture.Text();
    }

    FakePtpSwitch fake;
    PTPInstance ptp{fake, fake, {1, 2, 3, 4, 5, 6}, {}};
    SignalingReceiver receiver{ptp};
};

TEST_F(Signaling, IntervalsAreReadFromTheLinkDelayByte) {
    const std::string text = Handle(Request(0, 0xFD, 0));
    EXPECT_EQ(receiver.Intervals().pdelay, 1000);
    EXPECT_EQ(receiver.Intervals().sync, 1000);
    EXPECT_EQ(receiver.Intervals().announce, 1000);
    EXPECT_THAT(text, HasSubstr("[SW-PTP] HandleSignalingMessage\n"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] PDelay set to 0\n"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] Sync set to 0\n"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] Announce set to 0\n"));
}

TEST_F(Signaling, DefaultsAreThoseOfTheActions) {
    const std::string text = Handle(Request(126, 126, 126));
    EXPECT_EQ(receiver.Intervals().pdelay, 1000);
    EXPECT_EQ(receiver.Intervals().sync, 125);
    EXPECT_EQ(receiver.Intervals().announce, 1000);
    EXPECT_THAT(text, HasSubstr("[SW-PTP] PDelay set to default\n"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] Sync set to default\n"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] Announce set to default\n"));
}

TEST_F(Signaling, StopDisablesTheMessages) {
    const std::string text = Handle(Request(127, 127, 127));
    EXPECT_EQ(receiver.Intervals().pdelay, 0x7FFFFFFF);
    EXPECT_EQ(receiver.Intervals().sync, 0x7FFFFFFF);
    EXPECT_EQ(receiver.Intervals().announce, 0x7FFFFFFF);
    EXPECT_THAT(text, HasSubstr("[SW-PTP] PDelay disabled\n"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] Sync disabled\n"));
    EXPECT_THAT(text, HasSubstr("[SW-PTP] Announce disabled\n"));
}

TEST_F(Signaling, NegativeIntervalIsNeverButNotCalledDisabled) {
    const std::string text = Handle(Request(0xFF, 0, 0));
    EXPECT_EQ(receiver.Intervals().pdelay, 0x7FFFFFFF);
    EXPECT_EQ(receiver.Intervals().sync, 0x7FFFFFFF);
    EXPECT_EQ(receiver.Intervals().announce, 0x7FFFFFFF);
    EXPECT_THAT(text, HasSubstr("[SW-PTP] PDelay set to 0\n"));
}

TEST_F(Signaling, EveryByteHasItsInterval) {
    for (int byte = 0; byte < 256; ++byte) {
        if (byte == 126 || byte == 127) continue;
        receiver.HandleSignaling(0, Request(static_cast<uint8_t>(byte), 5, 200));
        const int64_t expected = byte <= 15 ? int64_t{1000} << byte : 0x7FFFFFFF;
        EXPECT_EQ(receiver.Intervals().pdelay, expected) << byte;
        EXPECT_EQ(receiver.Intervals().sync, expected) << byte;
        EXPECT_EQ(receiver.Intervals().announce, expected) << byte;
    }
}

TEST_F(Signaling, ChoiceOfEachIsMadeByItsOwnByte) {
    Handle(Request(126, 127, 3));
    EXPECT_EQ(receiver.Intervals().pdelay, 1000);
    EXPECT_EQ(receiver.Intervals().sync, 0x7FFFFFFF);
    EXPECT_EQ(receiver.Intervals().announce, 0x7FFFFFFF) << "126 is no exponent";
    Handle(Request(2, 126, 127));
    EXPECT_EQ(receiver.Intervals().pdelay, 4000);
    EXPECT_EQ(receiver.Intervals().sync, 125);
    EXPECT_EQ(receiver.Intervals().announce, 0x7FFFFFFF);
}

TEST_F(Signaling, OtherTlvsOwnMessagesAndBlockedPortsAreIgnored) {
    auto other = Request(0, 0, 0);
    other.tlvType = 8;
    Handle(other);
    auto mirrored = Request(0, 0, 0);
    mirrored.header.sourcePortIdentity.clockIdentity = ptp.local.identity;
    Handle(mirrored);
    fake.ports[0].stpUp = false;
    Handle(Request(0, 0, 0));
    EXPECT_EQ(receiver.Intervals().pdelay, 0);
    EXPECT_EQ(receiver.Intervals().sync, 0);
    EXPECT_EQ(receiver.Intervals().announce, 0);
}

}  // namespace

}  // namespace norvad::test
