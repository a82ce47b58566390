#include <gtest/gtest.h>

#include "lab/common/ethernet_frame.h"
#include "tests/support/bytes.h"

namespace norvad::lab {
namespace {

using norvad::test::Bytes;
using norvad::test::FromHex;
using norvad::test::Join;

const Bytes addresses = FromHex("01 80 c2 00 00 0e  02 00 00 00 00 05");

// A Pdelay_Resp_Follow_Up of 54 bytes with sequence id 0x0102.
const Bytes followUp = Join({FromHex("1a 02 00 36"), Bytes(26), FromHex("01 02 05 7f"), Bytes(20)});
const Bytes trailer = FromHex("4f 52 4c 41 00");

Bytes PdelayReq() {
    Bytes message = followUp;
    message[0] = 0x12;
    return message;
}

TEST(Frame, PlainHeaderIsOfVlanZero) {
    const auto fields = ParseFrame(Join({addresses, FromHex("88 f7 12")}));

    ASSERT_TRUE(fields);
    EXPECT_EQ(AddressText(fields->destination), "01:80:c2:00:00:0e");
    EXPECT_EQ(AddressText(fields->source), "02:00:00:00:00:05");
    EXPECT_EQ(fields->vid, 0);
    EXPECT_EQ(fields->etherType, 0x88F7);
    EXPECT_EQ(fields->payload, 14u);
}

TEST(Frame, TagGivesTheVlanWithoutItsPriority) {
    const auto fields = ParseFrame(Join({addresses, FromHex("81 00 7f fe 22 f0")}));

    ASSERT_TRUE(fields);
    EXPECT_EQ(fields->vid, 0xFFE);
    EXPECT_EQ(fields->etherType, 0x22F0);
    EXPECT_EQ(fields->payload, 18u);
}

TEST(Frame, EveryFrameThatEndsInItsHeaderIsRefused) {
    const Bytes plain = Join({addresses, FromHex("88 f7")});
    const Bytes tagged = Join({addresses, FromHex("81 00 60 02 22 f0")});

    for (size_t length = 0; length < 14; ++length) EXPECT_FALSE(ParseFrame(std::span(plain).first(length)));
    for (size_t length = 0; length < 18; ++length) EXPECT_FALSE(ParseFrame(std::span(tagged).first(length)));
    EXPECT_TRUE(ParseFrame(plain));
    EXPECT_TRUE(ParseFrame(tagged));
}

TEST(Frame, EventMessageIsFoundByTypeAndSequence) {
    const auto event = ParseEventMessage(Join({addresses, FromHex("88 f7"), PdelayReq()}));

    ASSERT_TRUE(event);
    EXPECT_EQ(event->messageType, 2);
    EXPECT_EQ(event->sequenceId, 0x0102);
}

TEST(Frame, OnlyTheFirstEightTypesAreEvents) {
    Bytes message = followUp;
    for (unsigned type = 0; type < 16; ++type) {
        message[0] = static_cast<uint8_t>(0x10 | type);
        EXPECT_EQ(ParseEventMessage(Join({addresses, FromHex("88 f7"), message})).has_value(), type < 8) << type;
    }
    EXPECT_FALSE(ParseEventMessage(Join({addresses, FromHex("88 f5"), PdelayReq()})));
}

TEST(Frame, EventMessageThatEndsInItsHeaderIsNone) {
    const Bytes frame = Join({addresses, FromHex("88 f7"), PdelayReq()});

    for (size_t length = 0; length < 14 + 34; ++length) {
        EXPECT_FALSE(ParseEventMessage(std::span(frame).first(length))) << length;
    }
    EXPECT_TRUE(ParseEventMessage(std::span(frame).first(14 + 34)));
}

TEST(Frame, TrailerBehindAPtpMessageIsCut) {
    EXPECT_EQ(LengthWithoutPtpTrailer(Join({addresses, FromHex("88 f7"), followUp, trailer})), 68u);
    EXPECT_EQ(LengthWithoutPtpTrailer(Join({addresses, FromHex("81 00 00 01 88 f7"), followUp, trailer})), 72u);
    EXPECT_EQ(LengthWithoutPtpTrailer(Join({addresses, FromHex("88 f7"), followUp})), 68u);
}

TEST(Frame, CuttingLeavesTheSmallestFrame) {
    Bytes sync = Join({FromHex("10 02 00 2c"), Bytes(40)});
    EXPECT_EQ(LengthWithoutPtpTrailer(Join({addresses, FromHex("88 f7"), sync, Bytes(2)})), 60u);
    EXPECT_EQ(LengthWithoutPtpTrailer(Join({addresses, FromHex("88 f7"), sync, Bytes(9)})), 60u);
    EXPECT_EQ(LengthWithoutPtpTrailer(Join({addresses, FromHex("88 f7"), sync})), 58u);
}

TEST(Frame, NothingIsCutFromWhatIsNoWholePtpMessage) {
    const Bytes other = Join({addresses, FromHex("88 cc"), followUp, trailer});
    EXPECT_EQ(LengthWithoutPtpTrailer(other), other.size());

    Bytes liar = Join({addresses, FromHex("88 f7 1a 02 ff ff"), Bytes(60)});
    for (size_t length = 0; length <= liar.size(); ++length) {
        EXPECT_EQ(LengthWithoutPtpTrailer(std::span(liar).first(length)), length);
    }
}

TEST(Frame, ControlAddressesAreTwoBlocksOfSixteen) {
    for (unsigned last = 0; last < 256; ++last) {
        const bool expected = last < 0x10 || (last >= 0x20 && last < 0x30);
        EXPECT_EQ(IsControlAddress({0x01, 0x80, 0xC2, 0, 0, static_cast<uint8_t>(last)}), expected) << last;
    }
    EXPECT_FALSE(IsControlAddress({0x01, 0x80, 0xC2, 0, 0x01, 0x0E}));
    EXPECT_FALSE(IsControlAddress({0x03, 0x80, 0xC2, 0, 0, 0x0E}));
}

TEST(Frame, StreamAddressesShareTheirFirstThreeBytes) {
    EXPECT_TRUE(IsStreamAddress({0x91, 0xE0, 0xF0, 0, 0, 0}));
    EXPECT_TRUE(IsStreamAddress({0x91, 0xE0, 0xF0, 0xFF, 0xFF, 0xFF}));
    EXPECT_FALSE(IsStreamAddress({0x91, 0xE0, 0xF1, 0, 0, 0}));
    EXPECT_FALSE(IsStreamAddress({0x90, 0xE0, 0xF0, 0, 0, 0}));
}

TEST(Frame, AddressIsReadFromItsTextAlone) {
    EXPECT_EQ(ParseAddress("02:00:00:00:10:fF"), (MacAddress{0x02, 0, 0, 0, 0x10, 0xFF}));
    for (const auto* text :
         {"", "02:00:00:00:10", "02:00:00:00:10:ff ", "02:00:00:00:10:ff:", "2:00:00:00:10:ff", "02-00-00-00-10-ff",
          "02:00:00:00:10:xx", "0x:00:00:00:10:ff", "+2:00:00:00:10:ff", " 2:00:00:00:10:ff"}) {
        EXPECT_FALSE(ParseAddress(text)) << text;
    }
}

}  // namespace
}  // namespace norvad::lab
