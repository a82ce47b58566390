#include "base/hex.h"

#include <gtest/gtest.h>

#include <array>

namespace norvad::test {
namespace {

constexpr std::array<uint8_t, 3> bytes = {0x00, 0x9A, 0xF0};

TEST(HexPairs, AreWrittenInLowerCaseWithTheSeparatorBetweenThem) {
    EXPECT_EQ(HexText(bytes), "00:9a:f0");
    EXPECT_EQ(HexText(bytes, ""), "009af0");
    EXPECT_EQ(HexText(bytes, "-"), "00-9a-f0");
    EXPECT_EQ(HexText(std::span(bytes).first(1)), "00");
    EXPECT_EQ(HexText({}), "");
}

TEST(HexPairs, AreReadInEitherCase) {
    for (const char* text : {"00:9a:f0", "00:9A:F0", "00:9a:F0"}) {
        std::array<uint8_t, 3> read{};
        EXPECT_TRUE(ReadHexPairs(text, read)) << text;
        EXPECT_EQ(read, bytes);
    }
}

TEST(HexPairs, AreReadOnlyWhenTheTextIsExactlyThem) {
    for (const char* text : {"", "00:9a", "00:9a:f0:", "00:9a:f0:00", "0:9a:f0", "00-9a-f0", "00:9a:g0", "00:9a: f",
                             "00:9a:+f", "0x:9a:f0", "00 9a f0"}) {
        std::array<uint8_t, 3> read{};
        EXPECT_FALSE(ReadHexPairs(text, read)) << text;
    }
}

}  // namespace
}  // namespace norvad::test
