#include "ptp/ptp_handler.h"

#include <gtest/gtest.h>

#include "tests/ptp/ptp_fixture.h"

namespace norvad::test {

namespace {

using testing::HasSubstr;
using testing::Not;

class Handler : public PtpFixture {};

TEST_F(Handler, ServesThePtpEtherTypeAndListensFromTheStart) {
    EXPECT_EQ(handler->GetEtherType(), 0x88F7);
    EXPECT_EQ(handler->GetMulticastAddress(), nullptr);
    EXPECT_THAT(Logged(1, [&] { Build({}); }), HasSubstr("[SW-PTP] switching to state PTP_LISTENING\n"));
}

TEST_F(Handler, HeaderOfAnotherProfileVersionOrDomainIsInvalid) {
    const auto sync = Received(1, BuildSync(peerMac, peer));
    for (const auto& [offset, value] : {std::pair{22, 0x00}, {22, 0x20}, {23, 1}, {23, 0x12}, {26, 1}, {26, 255}}) {
        auto frame = sync;
        frame[static_cast<size_t>(offset)] = static_cast<uint8_t>(value);
        const std::string text = Logged(3, [&] { Handle(frame); });
        EXPECT_EQ(text, "[SW-PTP] Invalid PTP message on in_port 1\n") << offset << " " << value;
    }
}

TEST_F(Handler, PlainPtpIsInvalidNotUnsupported) {
    auto management = Received(0, BuildSync(peerMac, peer));
    management[22] = 0x0D;
    const std::string text = Logged(0, [&] { Handle(management); });
    EXPECT_THAT(text, HasSubstr("Invalid PTP message"));
    EXPECT_THAT(text, Not(HasSubstr("unsupported")));
}

TEST_F(Handler, EveryOtherMessageTypeIsUnsupported) {
    for (const int type : {1, 4, 5, 6, 7, 9, 13, 14, 15}) {
        auto frame = Received(1, BuildSync(peerMac, peer));
        frame[22] = static_cast<uint8_t>(0x10 + type);
        EXPECT_EQ(Logged(0, [&] { Handle(frame); }),
                  "[SW-PTP] unsupported PTP message ID " + std::to_string(type) + " on in_port 1\n");
    }
}

TEST_F(Handler, FrameOfAPortWithoutARecordIsDroppedUnseen) {
    for (const uint8_t port : {uint8_t{7}, uint8_t{31}}) {
        auto invalid = Received(port, BuildSync(peerMac, peer));
        invalid[22] = 0;
        EXPECT_EQ(Logged(5, [&] { Handle(invalid); }), "");
    }
}

TEST_F(Handler, FrameShorterThanItsHeaderIsDroppedUnseen) {
    auto invalid = Received(0, BuildSync(peerMac, peer));
    invalid[22] = 0;
    for (size_t length = 0; length < 22 + 34; ++length) {
        EXPECT_EQ(Logged(5, [&] { Handle({invalid.begin(), invalid.begin() + static_cast<ptrdiff_t>(length)}); }), "");
    }
    invalid.resize(22 + 34);
    EXPECT_THAT(Logged(5, [&] { Handle(invalid); }), HasSubstr("Invalid"));
}

// The shortest frame of each message that is heard, and that it is heard of in the log at level 3.
TEST_F(Handler, MessageShorterThanItsFieldsIsDroppedUnseen) {
    BecomeSlave();
    struct Case {
        PTPMessage message;
        size_t shortest;
        const char* heard;
    };
    for (const Case& c : {Case{PTPMessage::SYNC, 66, "Handle PTP_SYNC_MESSAGE"},
                          {PTPMessage::PDELAY_REQ, 76, "Handle PTP_PDELAY_REQ_MESSAGE"},
                          {PTPMessage::PDELAY_RESP, 76, "Handle PTP_PDELAY_RESP_MESSAGE"},
                          {PTPMessage::FOLLOW_UP, 98, "Handle PTP_FOLLOW_UP_MESSAGE"},
                          {PTPMessage::PDELAY_RESP_FOLLOW_UP, 76, "HandlePdelayRespFollowUpMessage"},
                          {PTPMessage::ANNOUNCE, 90, "HandleAnnounceMessage"},
                          {PTPMessage::SIGNALING, 79, "HandleSignalingMessage"}}) {
        auto frame = Received(0, BuildSync(peerMac, peer));
        frame[22] = static_cast<uint8_t>(c.message);
        const std::string before = Status();
        for (size_t length = 56; length < c.shortest; ++length) {
            frame.resize(length);
            EXPECT_EQ(Logged(5, [&] { Handle(frame); }), "") << length;
        }
        EXPECT_TRUE(fake.sent.empty());
        EXPECT_TRUE(fake.decisions.empty());
        EXPECT_EQ(Status(), before);

        frame.resize(c.shortest);
        EXPECT_THAT(Logged(3, [&] { Handle(frame); }), HasSubstr(c.heard));
        fake.sent.clear();
    }
}

// The device's own messages, of which nothing but the line is left.
TEST_F(Handler, EveryMessageIsLoggedAtLevelThree) {
    struct Case {
        PTPMessage message;
        const char* line;
    };
    for (const Case& c :
         {Case{PTPMessage::SYNC, "[SW-PTP] Handle PTP_SYNC_MESSAGE on in_port 1\n"},
          {PTPMessage::PDELAY_REQ, "[SW-PTP] Handle PTP_PDELAY_REQ_MESSAGE 515\n"},
          {PTPMessage::PDELAY_RESP, "[SW-PTP] Handle PTP_PDELAY_RESP_MESSAGE 515\n"},
          {PTPMessage::FOLLOW_UP, "[SW-PTP] Handle PTP_FOLLOW_UP_MESSAGE on in_port 1\n"},
          {PTPMessage::PDELAY_RESP_FOLLOW_UP, "[SW-PTP] HandlePdelayRespFollowUpMessage 515 from in_port 1\n"},
          {PTPMessage::ANNOUNCE, "[SW-PTP] HandleAnnounceMessage\n"}}) {
        auto mirrored = BuildFollowUp(ownMac, own);  // the longest of all
        mirrored.message.header.firstByte = static_cast<uint8_t>(c.message);
        mirrored.message.header.sourcePortIdentity.portNumber = 7;
        mirrored.message.header.sequenceId = 0x0203;
        EXPECT_EQ(Logged(3, [&] { Receive(1, mirrored); }), c.line);
        EXPECT_EQ(Logged(2, [&] { Receive(1, mirrored); }), "") << c.line;
    }
}

TEST_F(Handler, ActionsRunAtTheirPeriods) {
    const auto count = [](const std::string& text, const std::string& word) {
        size_t found = 0;
        for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) ++found;
        return found;
    };

    // The jitter of an action is below 5 and 50 ms.
    EXPECT_THAT(Logged(4, [&] { RunMs(124); }), Not(HasSubstr("PTPSyncAction")));
    EXPECT_THAT(Logged(4, [&] { RunMs(5); }), HasSubstr("[SW-PTP] PTPSyncAction\n"));
    const std::string text = Logged(4, [&] { RunMs(60'000); });
    EXPECT_GE(count(text, "PTPSyncAction"), 60'000U / 130U);
    EXPECT_LE(count(text, "PTPSyncAction"), 60'000U / 125U);
    for (const char* action : {"PTPPDelayAction", "PTPAnnounceAction"}) {
        EXPECT_GE(count(text, action), 60'000U / 1050U);
        EXPECT_LE(count(text, action), 60'000U / 1000U);
    }
    EXPECT_EQ(count(text, "PTPCheckTrafficAction"), 30U);
}

TEST_F(Handler, TimersEndWithIt) {
    handler.reset();
    EXPECT_EQ(Logged(4, [&] { RunMs(5000); }), "");
    EXPECT_EQ(timers.runDue(), 10'000U) << "no timer is left";
}

}  // namespace

}  // namespace norvad::test
