#include "ptp/ptp_messages.h"

#include <gtest/gtest.h>

#include <limits>

#include "ptp/message_builder.h"
#include "tests/support/bytes.h"

namespace norvad::test {

namespace {

constexpr MacAddress mac{0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
constexpr ClockIdentity identity = ClockIdentityOf(mac);

template <WireRecord Record>
std::string HexOf(const Record& record) {
    return ToHex(BytesOf(record));
}

std::string Golden(std::string_view text) {
    return ToHex(FromHex(text));
}

TEST(ClockIdentity, IsTheMacAddressAroundFffe) {
    const ClockIdentity expected{0x00, 0x11, 0x22, 0xFF, 0xFE, 0x33, 0x44, 0x55};

    EXPECT_EQ(identity, expected);
    EXPECT_EQ(ClockNumber(identity), 0x001122FFFE334455U);
}

TEST(MessageBuilder, SyncIsTwoStepWithoutATime) {
    EXPECT_EQ(HexOf(BuildSync(mac, identity)), Golden(R"(
        01 80 c2 00 00 0e 00 11 22 33 44 55   // destination, source
        da da 00 00 00 00 e0 01 88 f7         // tag without a port, EtherType
        10 02 00 2c 00 00 02 08               // Sync, version 2, length 44, domain 0, two-step and PTP timescale
        00 00 00 00 00 00 00 00 00 00 00 00   // correction, reserved
        00 11 22 ff fe 33 44 55 00 01         // clock identity, port number 1
        00 00 00 fd                           // sequence id, control, interval 2^-3 s
        00 00 00 00 00 00 00 00 00 00         // origin time stamp
    )"));
}

TEST(MessageBuilder, FollowUpCarriesTheInformationTlv) {
    EXPECT_EQ(HexOf(BuildFollowUp(mac, identity)), Golden(R"(
        01 80 c2 00 00 0e 00 11 22 33 44 55
        da da 00 00 00 00 e0 01 88 f7
        18 02 00 4c 00 00 00 08               // Follow_Up, length 76, one flag
        00 00 00 00 00 00 00 00 00 00 00 00
        00 11 22 ff fe 33 44 55 00 01
        00 00 02 fd                           // control 2
        00 00 00 00 00 00 00 00 00 00         // precise origin time stamp
        00 03 00 1c 00 80 c2 00 00 01         // organization extension, 28 bytes, 802.1, subtype 1
        00 00 00 00 00 00                     // rate offset, time base
        00 00 00 00 00 00 00 00 00 00 00 00   // phase change
        00 00 00 00                           // frequency change
    )"));
}

TEST(MessageBuilder, PdelayReqIsTwoStepWithoutATime) {
    EXPECT_EQ(HexOf(BuildPdelayReq(mac, identity)), Golden(R"(
        01 80 c2 00 00 0e 00 11 22 33 44 55
        da da 00 00 00 00 e0 01 88 f7
        12 02 00 36 00 00 02 08               // Pdelay_Req, length 54
        00 00 00 00 00 00 00 00 00 00 00 00
        00 11 22 ff fe 33 44 55 00 01
        00 00 05 00                           // control 5, interval 1 s
        00 00 00 00 00 00 00 00 00 00
        00 00 00 00 00 00 00 00 00 00
    )"));
}

TEST(MessageBuilder, PdelayRespHasNoTwoStepFlag) {
    EXPECT_EQ(HexOf(BuildPdelayResp(mac, identity)), Golden(R"(
        01 80 c2 00 00 0e 00 11 22 33 44 55
        da da 00 00 00 00 e0 01 88 f7
        13 02 00 36 00 00 00 08               // Pdelay_Resp, length 54
        00 00 00 00 00 00 00 00 00 00 00 00
        00 11 22 ff fe 33 44 55 00 01
        00 00 05 7f                           // control 5, interval 127
        00 00 00 00 00 00 00 00 00 00         // receipt of the request
        00 00 00 00 00 00 00 00 00 00         // requesting port
    )"));
}

TEST(MessageBuilder, PdelayRespFollowUpIsFiveBytesLongerThanItsMessage) {
    const auto frame = BuildPdelayRespFollowUp(mac, identity);

    EXPECT_EQ(sizeof(frame), 22U + frame.frame.message.header.messageLength + 5U);
    EXPECT_EQ(HexOf(frame), Golden(R"(
        01 80 c2 00 00 0e 00 11 22 33 44 55
        da da 00 00 00 00 e0 01 88 f7
        1a 02 00 36 00 00 00 08               // Pdelay_Resp_Follow_Up, length 54
        00 00 00 00 00 00 00 00 00 00 00 00
        00 11 22 ff fe 33 44 55 00 01
        00 00 05 7f
        00 00 00 00 00 00 00 00 00 00         // origin of the response
        00 00 00 00 00 00 00 00 00 00         // requesting port
        4f 52 4c 41 00                        // the mark of our make
    )"));
}

TEST(MessageBuilder, AnnounceCarriesAPathOfThisClockAlone) {
    EXPECT_EQ(HexOf(BuildAnnounce(mac, identity)), Golden(R"(
        01 80 c2 00 00 0e 00 11 22 33 44 55
        da da 00 00 00 00 e0 01 88 f7
        1b 02 00 4c 00 00 00 08               // Announce, length 76
        00 00 00 00 00 00 00 00 00 00 00 00
        00 11 22 ff fe 33 44 55 00 01
        00 00 05 00
        00 00 00 00 00 00 00 00 00 00         // origin time stamp
        00 00 00                              // UTC offset, reserved
        00 00 00 00 00 00                     // priority1, quality, priority2: from the dataset
        00 00 00 00 00 00 00 00 00 00         // grandmaster, steps removed: from the dataset
        a0                                    // internal oscillator
        00 08 00 08 00 11 22 ff fe 33 44 55   // path trace of one entry
    )"));
}

TEST(PTPTimestamp, DecodesSecondsAndNanoseconds) {
    EXPECT_EQ(DecodeTimestamp({0, 3, 999'999'999}), 3'999'999'999U);
    EXPECT_EQ(DecodeTimestamp({0, 0xFFFFFFFF, 5}), 4'294'967'295'000'000'005U);
}

TEST(PTPTimestamp, UpperBitsOfTheSecondsDecodeAsIfTheyWereZero) {
    EXPECT_EQ(DecodeTimestamp({0xFFFF, 3, 4}), DecodeTimestamp({0, 3, 4}));
}

TEST(PTPTimestamp, CorrectionAddsItsWholeNanoseconds) {
    EXPECT_EQ(DecodeTimestamp({0, 1, 0}, 0x12FFFF), 1'000'000'018U);
    EXPECT_EQ(DecodeTimestamp({0, 1, 0}, -5 * 65536), 999'999'995U);
    EXPECT_EQ(DecodeTimestamp({0, 0, 0}, -65536), std::numeric_limits<uint64_t>::max());
    EXPECT_EQ(DecodeTimestamp({0, 0, 1}, std::numeric_limits<int64_t>::max()), (uint64_t{1} << 47));
}

TEST(PTPTimestamp, EncodesTheLowBitsOfTheSecondsOnly) {
    EXPECT_EQ(HexOf(EncodeTimestamp(3'999'999'999)), Golden("00 00 00 00 00 03 3b 9a c9 ff"));
    EXPECT_EQ(HexOf(EncodeTimestamp(4'294'967'296'000'000'001)), Golden("00 00 00 00 00 00 00 00 00 01"));
    EXPECT_EQ(HexOf(EncodeTimestamp(std::numeric_limits<uint64_t>::max())), Golden("00 00 4b 82 fa 09 2a 4a e5 ff"));
}

TEST(PTPTimestamp, WhatWasEncodedDecodesToTheSameTime) {
    for (const uint64_t ns : {uint64_t{0}, uint64_t{1}, uint64_t{999'999'999}, uint64_t{1'000'000'000},
                              uint64_t{1'700'000'000'123'456'789}, uint64_t{4'294'967'295'999'999'999}}) {
        EXPECT_EQ(DecodeTimestamp(EncodeTimestamp(ns)), ns);
    }
}

TEST(ClockDataset, IsComparedByteByByteInTheOrderOfTheAnnounce) {
    const ClockDataset middle{10, 10, 10, 0x0A0A, 10, {10, 0, 0, 0, 0, 0, 0, 10}, 0x0A0A};
    const size_t size = sizeof(middle);
    for (size_t at = 0; at < size; ++at) {
        auto bytes = std::to_array<uint8_t>({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
        ASSERT_EQ(bytes.size(), size);
        // Worse in every later byte, better in this one: the first difference decides.
        std::copy_n(BytesOf(middle).begin(), size, bytes.begin());
        if (bytes[at] == 0) continue;
        --bytes[at];
        std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(at) + 1, bytes.end(), uint8_t{0xFF});
        const ClockDataset better = *Peek<ClockDataset>(bytes);

        EXPECT_LT(better, middle) << at;
        EXPECT_GT(middle, better) << at;
        EXPECT_NE(middle, better) << at;
    }
    EXPECT_EQ(middle, ClockDataset(middle));
}

}  // namespace

}  // namespace norvad::test
