#include "lab/network/program/units.h"

#include <gtest/gtest.h>

#include <optional>

namespace norvad::test {
namespace {

using namespace network;

TEST(Units, OfTimeAreCountedInNanoseconds) {
    EXPECT_EQ(ParseDurationNs("200ns"), 200);
    EXPECT_EQ(ParseDurationNs("1.5ms"), 1'500'000);
    EXPECT_EQ(ParseDurationNs("60s"), 60'000'000'000);
    EXPECT_EQ(ParseDurationNs("2min"), 120'000'000'000);
    EXPECT_EQ(ParseDurationNs("1h"), 3'600'000'000'000);
    EXPECT_EQ(ParseDurationNs("-40us"), -40'000);
    EXPECT_EQ(ParseDurationNs("0s"), 0);
}

TEST(Units, LetDecimalsEndWhereTheUnitDoes) {
    EXPECT_EQ(ParseDurationNs("0.123456789s"), 123'456'789);
    EXPECT_EQ(ParseDurationNs("0.1234567899s"), 123'456'789);
    EXPECT_EQ(ParseDurationNs("1.9ns"), 1);
    EXPECT_EQ(ParseSharePerMillion("0.01%"), 100);
    EXPECT_EQ(ParseSharePerMillion("100%"), 1'000'000);
}

TEST(Units, OfRatesAndFrequenciesAreDecimal) {
    EXPECT_EQ(ParseBitsPerSecond("64k"), 64'000);
    EXPECT_EQ(ParseBitsPerSecond("100M"), 100'000'000);
    EXPECT_EQ(ParseBitsPerSecond("1G"), 1'000'000'000);
    EXPECT_EQ(ParseFrequencyPpb("-50ppm"), -50'000);
    EXPECT_EQ(ParseFrequencyPpb("20ppb"), 20);
    EXPECT_EQ(ParseRampPpb("1.5ppm/s"), 1'500);
}

TEST(Units, RefuseWhatIsNoQuantity) {
    for (const char* text : {"", "s", "1", "1 s", "1.s", ".5s", "1,5s", "--1s", "1e3s", "1S", "1ms ", "x1s", "100%"}) {
        EXPECT_EQ(ParseDurationNs(text), std::nullopt) << text;
    }
}

TEST(Units, RefuseWhatSixtyFourBitsDoNotHold) {
    EXPECT_EQ(ParseDurationNs("9223372035s"), 9'223'372'035'000'000'000);
    EXPECT_EQ(ParseDurationNs("9223372036s"), std::nullopt);
    EXPECT_EQ(ParseDurationNs("99999999999999999999ns"), std::nullopt);
}

TEST(Units, OfTimesHaveFourDigits) {
    EXPECT_EQ(TimeText(0), "0 ns");
    EXPECT_EQ(TimeText(-999), "-999 ns");
    EXPECT_EQ(TimeText(1'000), "1 us");
    EXPECT_EQ(TimeText(-1'234'567), "-1.235 ms");
    EXPECT_EQ(TimeText(70'002'099'866), "70 s");
}

}  // namespace
}  // namespace norvad::test
