#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mrp/mrpdu.h"
#include "tests/support/bytes.h"
#include "tests/support/captured_log.h"

namespace norvad::test {
namespace {

constexpr auto withList = MessageLayout::WithListLength;
constexpr auto withoutList = MessageLayout::WithoutListLength;

struct Vector {
    bool leaveAll;
    Bytes firstValue;
    Bytes threePacked;
    Bytes fourPacked;
    bool operator==(const Vector&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Vector& vector) {
    return out << (vector.leaveAll ? "LeaveAll " : "") << testing::PrintToString(vector.firstValue) << " three "
               << testing::PrintToString(vector.threePacked) << " four " << testing::PrintToString(vector.fourPacked);
}

// Everything the getter finds in exactly these bytes, which end where memory ends for the sanitizers.
std::vector<Vector> Walk(std::span<const uint8_t> bytes, MessageLayout layout, bool fourPacked) {
    const Bytes message = Copy(bytes);
    AttributeGetter getter(message, layout, fourPacked);
    std::vector<Vector> vectors;
    while (const auto header = getter.GetNext()) {
        Vector vector{header->LeaveAll(), Copy(getter.FirstValue()), {}, {}};
        for (uint16_t i = 0; i < getter.NumberOfValues(); ++i) {
            vector.threePacked.push_back(getter.ThreePackedEvent(i));
            if (fourPacked) vector.fourPacked.push_back(getter.FourPackedEvent(i));
        }
        vectors.push_back(vector);
    }
    EXPECT_EQ(getter.NumberOfValues(), 0);
    return vectors;
}

TEST(AttributeGetter, TakesTheMostSignificantEventFirst) {
    const Bytes message = FromHex("01 01 00 06 00 03 aa 28 00 00");

    EXPECT_THAT(Walk(message, withList, false), testing::ElementsAre(Vector{false, {0xaa}, {1, 0, 4}, {}}));
}

// All that a walk reads of these bytes.
size_t BytesRead(const Bytes& bytes, MessageLayout layout) {
    AttributeGetter getter(bytes, layout, false);
    while (getter.GetNext()) continue;
    return getter.BytesRead();
}

TEST(AttributeGetter, CountsTheEndMarkIntoWhatItHasRead) {
    EXPECT_EQ(BytesRead(FromHex("01 01 00 06 00 03 aa 28 00 00 99 99"), withList), 10u);
    EXPECT_EQ(BytesRead(FromHex("01 01 00 03 aa 28 00 03 bb 28 00 00 99 99"), withoutList), 12u);
    EXPECT_EQ(BytesRead(FromHex("01 01 00 00 99 99"), withoutList), 4u);
}

TEST(AttributeGetter, HasNotReadAVectorThatIsCutOffNorAnEndMarkThatIsNotThere) {
    EXPECT_EQ(BytesRead(FromHex("01 01 00 03 aa 28"), withoutList), 6u);
    EXPECT_EQ(BytesRead(FromHex("01 01 00 03 aa 28 00"), withoutList), 6u);
    EXPECT_EQ(BytesRead(FromHex("01 01 00 03 aa 28 00 04 bb 28"), withoutList), 6u);
    EXPECT_EQ(BytesRead(FromHex("01 01"), withoutList), 2u);
}

TEST(AttributeGetter, FourValuesTakeTwoThreePackedBytesAndOneFourPacked) {
    const Bytes message = FromHex("03 02 00 0d 00 04 ab cd 28 24 6c 20 00 12 34 00 00");

    EXPECT_THAT(Walk(message, withList, true),
                testing::ElementsAre(Vector{false, {0xab, 0xcd}, {1, 0, 4, 1}, {1, 2, 3, 0}},
                                     Vector{true, {0x12, 0x34}, {}, {}}));
}

TEST(AttributeGetter, AVectorWithoutValuesHasNoEventBytes) {
    const Bytes message = FromHex("03 02 00 0b 20 00 00 00 00 01 ab cd b4 00 00");

    EXPECT_THAT(Walk(message, withList, false),
                testing::ElementsAre(Vector{true, {0, 0}, {}, {}}, Vector{false, {0xab, 0xcd}, {5}, {}}));
}

TEST(AttributeGetter, AListOfTheEndMarkAloneIsEmpty) {
    EXPECT_THAT(Walk(FromHex("01 02 00 02 00 00 00 01 aa bb 24"), withList, false), testing::IsEmpty());
}

TEST(AttributeGetter, AListLengthBelowTheEndMarkIsEmpty) {
    EXPECT_THAT(Walk(FromHex("01 01 00 00 00 01 aa 24 00 00"), withList, false), testing::IsEmpty());
    EXPECT_THAT(Walk(FromHex("01 01 00 01 00 01 aa 24 00 00"), withList, false), testing::IsEmpty());
}

TEST(AttributeGetter, TheListLengthEndsTheWalkBeforeTheNextMessage) {
    const Bytes message = FromHex(
        "01 01 00 06 00 01 aa 24 00 00 "
        "02 01 00 06 00 01 bb 24 00 00");

    EXPECT_THAT(Walk(message, withList, false), testing::ElementsAre(Vector{false, {0xaa}, {1}, {}}));
}

TEST(AttributeGetter, WithAListLengthAZeroVectorHeaderIsAVector) {
    const Bytes message = FromHex("01 01 00 09 00 00 aa 00 01 bb 24 00 00");

    EXPECT_THAT(Walk(message, withList, false),
                testing::ElementsAre(Vector{false, {0xaa}, {}, {}}, Vector{false, {0xbb}, {1}, {}}));
}

TEST(AttributeGetter, WithoutAListLengthTheEndMarkEndsTheWalk) {
    const Bytes message = FromHex("01 02 00 01 00 05 24 20 00 00 06 00 00 00 01 00 07 24");

    EXPECT_THAT(Walk(message, withoutList, false),
                testing::ElementsAre(Vector{false, {0, 5}, {1}, {}}, Vector{true, {0, 6}, {}, {}}));
}

TEST(AttributeGetter, WithoutAnEndMarkTheReceivedBytesEndTheWalk) {
    EXPECT_THAT(Walk(FromHex("01 02 00 01 00 05 24"), withoutList, false),
                testing::ElementsAre(Vector{false, {0, 5}, {1}, {}}));
    EXPECT_THAT(Walk(FromHex("01 02 00 01 00 05 24 00"), withoutList, false),
                testing::ElementsAre(Vector{false, {0, 5}, {1}, {}}));
}

TEST(AttributeGetter, AListLengthBeyondTheReceivedBytesIsOnlyAClaim) {
    EXPECT_THAT(Walk(FromHex("01 01 ff ff 00 01 aa 24"), withList, false),
                testing::ElementsAre(Vector{false, {0xaa}, {1}, {}}));
}

TEST(AttributeGetter, MoreValuesThanArrivedEndTheWalk) {
    EXPECT_THAT(Walk(FromHex("01 01 00 06 00 04 aa 24"), withList, false), testing::IsEmpty());
    EXPECT_THAT(Walk(FromHex("01 01 00 06 1f ff aa 24 00 00"), withList, false), testing::IsEmpty());
    EXPECT_THAT(Walk(FromHex("01 01 1f ff aa 24 00 00"), withoutList, false), testing::IsEmpty());
}

TEST(AttributeGetter, GivesAllOf8191Values) {
    Bytes message = FromHex("01 01 ff ff 1f ff aa");
    message.resize(message.size() + 2731 + 2048, 0xd7);  // ceil(8191 / 3) and ceil(8191 / 4)

    const auto vectors = Walk(message, withList, true);

    ASSERT_EQ(vectors.size(), 1u);
    EXPECT_EQ(vectors[0].threePacked.size(), 8191u);
    EXPECT_EQ(vectors[0].threePacked.back(), 0xd7 / 36 % 6);
    EXPECT_EQ(vectors[0].fourPacked.back(), 0xd7 / 4 % 4);

    message.pop_back();
    EXPECT_THAT(Walk(message, withList, true), testing::IsEmpty());
}

TEST(AttributeGetter, AnEventByteAboveItsRangeIsTakenModulo) {
    const Bytes message = FromHex("01 01 00 06 00 03 aa ff 00 00");

    EXPECT_THAT(Walk(message, withList, false), testing::ElementsAre(Vector{false, {0xaa}, {1, 0, 3}, {}}));
}

TEST(AttributeGetter, AnyLeaveAllEventButZeroIsLeaveAll) {
    for (const std::string event : {"20", "40", "60", "80", "a0", "c0", "e0"}) {
        EXPECT_THAT(Walk(FromHex("01 01 " + event + " 00 aa 00 00"), withoutList, false),
                    testing::ElementsAre(Vector{true, {0xaa}, {}, {}}));
    }
}

TEST(AttributeGetter, TheFirstValueIsReadWhereItArrived) {
    const Bytes message = FromHex("01 02 00 02 00 05 24 00 00");
    AttributeGetter getter(message, withoutList, false);

    ASSERT_TRUE(getter.GetNext());

    EXPECT_EQ(getter.FirstValue().data(), &message[4]);
}

TEST(AttributeGetter, NoTruncationGivesMoreThanWhatIsWhollyThere) {
    const Bytes listed = FromHex("03 02 00 0d 00 04 ab cd 28 24 6c 20 00 12 34 00 00");
    for (size_t length = 0; length < listed.size(); ++length) {
        const size_t whole = length >= 15 ? 2 : length >= 11 ? 1 : 0;
        EXPECT_EQ(Walk(Part(listed, 0, length), withList, true).size(), whole) << length;
    }

    const Bytes unlisted = FromHex("01 02 00 01 00 05 24 20 00 00 06 00 00");
    for (size_t length = 0; length < unlisted.size(); ++length) {
        const size_t whole = length >= 11 ? 2 : length >= 7 ? 1 : 0;
        EXPECT_EQ(Walk(Part(unlisted, 0, length), withoutList, false).size(), whole) << length;
    }
}

TEST(AttributeGetter, StepsAreLoggedAtLevelSix) {
    CapturedLog captured(LogCategory::MRP, 6);
    Walk(FromHex("01 01 00 06 00 03 aa 28 00 00"), withList, true);
    Walk(FromHex("01 01 00 03 aa 28 00 00"), withoutList, false);

    EXPECT_THAT(captured.Lines(), testing::ElementsAre("AttributeGetter::GetNext total len=6 offset=0 attr_len=1",
                                                       "AttributeGetter::GetNext offset = 4 , num_of_events = 3",
                                                       "AttributeGetter::GetNext total len=6 offset=5 attr_len=1",
                                                       "AttributeGetter::GetNext offset=0 attr_len=1",
                                                       "AttributeGetter::GetNext offset = 4 , num_of_events = 3",
                                                       "AttributeGetter::GetNext offset=4 attr_len=1"));
}

}  // namespace
}  // namespace norvad::test
