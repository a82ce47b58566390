#include <gtest/gtest.h>

#include "lab/common/clock_mapping.h"

namespace norvad::lab {
namespace {

constexpr int64_t second = 1'000'000'000;

TEST(ClockMapping, KnowsNothingBeforeTheFirstSample) {
    EXPECT_FALSE(ClockMapping().Map(5));
}

TEST(ClockMapping, OneSampleGivesTheDistance) {
    ClockMapping mapping;
    mapping.Sample(100, 1'000'100);

    EXPECT_EQ(mapping.Map(150), 1'000'150);
    EXPECT_EQ(mapping.Map(50), 1'000'050);
}

TEST(ClockMapping, TwoSamplesGiveTheRateToo) {
    ClockMapping mapping;
    mapping.Sample(0, 0);
    mapping.Sample(second, second + 50'000);

    EXPECT_EQ(mapping.Map(second), second + 50'000);
    EXPECT_EQ(mapping.Map(2 * second), 2 * second + 100'000);
    EXPECT_EQ(mapping.Map(second / 2), second / 2 + 25'000);
}

TEST(ClockMapping, StepOfEitherClockStartsAnew) {
    ClockMapping mapping;
    mapping.Sample(0, 0);
    mapping.Sample(second, second + 50'000);
    mapping.Sample(2 * second, 7 * second);
    EXPECT_EQ(mapping.Map(2 * second + 100), 7 * second + 100);

    mapping.Sample(second, 8 * second);
    EXPECT_EQ(mapping.Map(second + 100), 8 * second + 100);
}

TEST(ClockMapping, RateUpToAThousandthIsBelieved) {
    ClockMapping mapping;
    mapping.Sample(0, 0);
    mapping.Sample(second, second + 1'000'000);
    EXPECT_EQ(mapping.Map(2 * second), 2 * second + 2'000'000);

    ClockMapping stepped;
    stepped.Sample(0, 0);
    stepped.Sample(second, second + 1'000'001);
    EXPECT_EQ(stepped.Map(2 * second), 2 * second + 1'000'001);
}

}  // namespace
}  // namespace norvad::lab
