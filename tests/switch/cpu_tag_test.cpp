#include "switch/cpu_tag.h"

#include <gtest/gtest.h>

#include "tests/support/bytes.h"

namespace norvad {
namespace {

using test::FromHex;
using test::ToHex;

TEST(CpuTag, FromTheCpuNamesThePortInTheUpperFiveBits) {
    EXPECT_EQ(ToHex(BytesOf(FromCpuTag(0))), "da da 00 00 40 00 e0 01");
    EXPECT_EQ(ToHex(BytesOf(FromCpuTag(1))), "da da 00 00 40 08 e0 01");
    EXPECT_EQ(ToHex(BytesOf(FromCpuTag(6))), "da da 00 00 40 30 e0 01");
    EXPECT_EQ(ToHex(BytesOf(FromCpuTag(31))), "da da 00 00 40 f8 e0 01");
    EXPECT_EQ(ToHex(BytesOf(FromCpuTag(33))), "da da 00 00 40 08 e0 01");
}

TEST(CpuTag, PortOfAReceivedFrameIgnoresTheLowerThreeBits) {
    auto frame = FromHex(
        "01 80 c2 00 00 0e 02 00 00 00 00 01"  // addresses
        "  da da 00 00 00 0f 00 00"            // to the CPU, port 1
        "  22 ea");                            // EtherType

    EXPECT_EQ(TaggedPort(frame), 1);
    frame[17] = 0xFF;
    EXPECT_EQ(TaggedPort(frame), 31);
}

TEST(CpuTag, FrameShorterThanItsHeaderHasNoPort) {
    const auto frame = FromHex("01 80 c2 00 00 0e 02 00 00 00 00 01 da da 00 00 00 08 00 00 22 ea");
    ASSERT_EQ(frame.size(), taggedHeaderSize);

    for (size_t length = 0; length < taggedHeaderSize; ++length) {
        EXPECT_EQ(TaggedPort(std::span(frame).first(length)), std::nullopt) << length;
    }
    EXPECT_EQ(TaggedPort(frame), 1);
}

}  // namespace
}  // namespace norvad
