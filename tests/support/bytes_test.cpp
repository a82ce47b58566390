#include "tests/support/bytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace norvad::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Bytes, AreReadFromAnnotatedText) {
    EXPECT_THAT(FromHex(""), IsEmpty());
    EXPECT_THAT(FromHex("01 80c2  ff"), ElementsAre(0x01, 0x80, 0xC2, 0xFF));
    EXPECT_THAT(FromHex(R"(
        22 ea   // MSRP, at ab
        // nothing
        00)"),
                ElementsAre(0x22, 0xEA, 0x00));
    EXPECT_THAT(FromHex("AB // the last"), ElementsAre(0xAB));
}

TEST(Bytes, AreNotReadFromAnythingElse) {
    for (const char* text : {"1", "01 8", "0x01", "0 1", "+1", "-1", "g0", "0g", "01:02", "01 / 02", "01,02"}) {
        EXPECT_THROW(FromHex(text), std::invalid_argument) << text;
    }
}

TEST(Bytes, AreWrittenAsPairsOfDigits) {
    EXPECT_EQ(ToHex({}), "");
    EXPECT_EQ(ToHex(Bytes{0x00, 0x9A, 0xFF}), "00 9a ff");
    EXPECT_EQ(ToHex(Bytes{0x00, 0x9A, 0xFF}, ":"), "00:9a:ff");
}

TEST(Bytes, ArePartedAndJoined) {
    const Bytes whole = FromHex("01 02 03 04");

    EXPECT_EQ(Part(whole, 1, 2), FromHex("02 03"));
    EXPECT_EQ(Part(whole, 4, 0), Bytes{});
    EXPECT_THROW(Part(whole, 3, 2), std::out_of_range);
    EXPECT_THROW(Part(whole, 5, 0), std::out_of_range);
    EXPECT_EQ(Join({Part(whole, 0, 1), {}, Part(whole, 1, 3)}), whole);
}

TEST(Bytes, HoldNumbersWithTheHighestByteFirst) {
    const Bytes whole = FromHex("ff 01 02 03 04 05 06 07 08");

    EXPECT_EQ(BigEndian(0x0102, 3), FromHex("00 01 02"));
    EXPECT_EQ(BigEndian(0x0102, 1), FromHex("02"));
    EXPECT_EQ(BigEndianAt(whole, 1, 8), 0x0102030405060708U);
    EXPECT_EQ(BigEndianAt(whole, 0, 2), 0xFF01U);
    EXPECT_THROW(BigEndianAt(whole, 8, 2), std::out_of_range);
}

}  // namespace

}  // namespace norvad::test
