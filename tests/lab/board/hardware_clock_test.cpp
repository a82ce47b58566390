#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "lab/board/hardware_clock.h"

namespace norvad::board {
namespace {

constexpr int64_t second = 1'000'000'000;
constexpr int64_t start = 5 * second;

TEST(HardwareClock, WithoutErrorRunsWithTheReference) {
    const HardwareClock clock(100, start);

    EXPECT_EQ(clock.At(start), 100u);
    EXPECT_EQ(clock.At(start + 1), 101u);
    EXPECT_EQ(clock.At(start + 86'400 * second), 100u + 86'400 * second);
}

TEST(HardwareClock, ErrorOfTheOscillatorIsInPartsPerBillion) {
    const HardwareClock fast(0, 0, 50'000);
    const HardwareClock slow(0, 0, -50'000);

    EXPECT_EQ(fast.At(10 * second), 10'000'500'000u);
    EXPECT_EQ(slow.At(10 * second), 9'999'500'000u);
    EXPECT_DOUBLE_EQ(fast.RateOffset(), 50e-6);
}

TEST(HardwareClock, KeepsNanosecondsOverADayFromAnEpochTime) {
    constexpr uint64_t epoch = 1'795'257'939'331'412'894;
    const HardwareClock clock(epoch, start, 1);

    EXPECT_EQ(clock.At(start + 86'400 * second) - epoch, 86'400u * second + 86'400u);
}

TEST(HardwareClock, StampsInStepsOfItsGranularity) {
    const HardwareClock clock(1'000, 0, 0, 0x1p-38, 8);

    EXPECT_EQ(clock.Stamp(0), 1'000u);
    EXPECT_EQ(clock.Stamp(7), 1'000u);
    EXPECT_EQ(clock.Stamp(8), 1'008u);
    EXPECT_EQ(clock.At(7), 1'007u);
}

TEST(HardwareClock, StampsEveryNanosecondUnlessToldOtherwise) {
    const HardwareClock clock(1'000, 0);

    EXPECT_EQ(clock.Stamp(7), 1'007u);
}

TEST(HardwareClock, StepMovesItForwardAndBack) {
    HardwareClock clock(1'000, 0);

    clock.Step(500, 100);
    EXPECT_EQ(clock.At(100), 1'600u);
    clock.Step(-700, 200);
    EXPECT_EQ(clock.At(200), 1'000u);
}

TEST(HardwareClock, StepBelowZeroWraps) {
    HardwareClock clock(10, 0);

    clock.Step(-11, 0);

    EXPECT_EQ(clock.At(0), std::numeric_limits<uint64_t>::max());
    EXPECT_EQ(clock.At(1), 0u);
}

TEST(HardwareClock, LargestStepsAreTakenWhole) {
    HardwareClock clock(0, 0);

    clock.Step(std::numeric_limits<int64_t>::min(), 0);
    EXPECT_EQ(clock.At(0), uint64_t{1} << 63);
    clock.Step(std::numeric_limits<int64_t>::max(), 0);
    EXPECT_EQ(clock.At(0), std::numeric_limits<uint64_t>::max());
}

TEST(HardwareClock, OneCountOfSteeringIsTwoToTheMinus38) {
    HardwareClock clock(0, 0);

    clock.Steer(1 << 20, 0);  // 2^-18

    EXPECT_EQ(clock.Steering(), 1 << 20);
    EXPECT_EQ(clock.At(int64_t{1} << 40), (uint64_t{1} << 40) + (uint64_t{1} << 22));
}

TEST(HardwareClock, SteeringUnitCanBeChosen) {
    HardwareClock clock(0, 0, 0, 0x1p-32);

    clock.Steer(-1, 0);

    EXPECT_EQ(clock.At(int64_t{1} << 40), (uint64_t{1} << 40) - 256u);
}

TEST(HardwareClock, SteeringActsOnTopOfTheError) {
    HardwareClock clock(0, 0, -1'000);

    clock.Steer(274'878, 0);  // 274878 / 2^38 is 1.000 ppm

    EXPECT_NEAR(static_cast<double>(clock.At(1'000 * second)), 1'000e9, 10);
}

TEST(HardwareClock, ZeroSteeringGivesTheOscillatorBack) {
    HardwareClock clock(0, 0, 1'000);

    clock.Steer(1'000'000, 0);
    clock.Steer(0, 0);

    EXPECT_DOUBLE_EQ(clock.RateOffset(), 1e-6);
    EXPECT_EQ(clock.At(second), 1'000'001'000u);
}

TEST(HardwareClock, ChangeOfSteeringIsNoStep) {
    HardwareClock clock(0, 0, 333);

    for (int64_t now = second; now < 20 * second; now += second / 8) {
        const auto before = clock.At(now);
        clock.Steer(static_cast<int32_t>(now % 1'000'003) - 500'000, now);
        EXPECT_EQ(clock.At(now), before);
    }
}

TEST(HardwareClock, ManySmallSteersLoseNoFractions) {
    HardwareClock often(0, 0);
    HardwareClock once(0, 0);
    once.Steer(12'345, 0);

    for (int64_t now = 0; now < second; now += 1'000'003) often.Steer(12'345, now);

    EXPECT_EQ(often.At(1'000 * second), once.At(1'000 * second));
}

TEST(HardwareClock, InstantBeforeAStepIsReadAsItWasThen) {
    HardwareClock clock(0, 0);

    clock.Steer(0, 1'000);
    clock.Step(1'000'000, 1'001);

    EXPECT_EQ(clock.At(999), 999u);
    EXPECT_EQ(clock.At(1'000), 1'000u);
    EXPECT_EQ(clock.At(1'001), 1'001'001u);
}

TEST(HardwareClock, KeepsItsSteeringWhenItsOscillatorDrifts) {
    HardwareClock clock(0, 0, 1'000);
    clock.Steer(1 << 20, 0);
    const double before = clock.RateOffset();

    clock.Drift(3'000, 10 * second);

    EXPECT_NEAR(clock.RateOffset() - before, 2e-6, 1e-11);
    EXPECT_EQ(clock.Steering(), 1 << 20);
}

TEST(HardwareClock, RemembersSixteenStretches) {
    HardwareClock clock(0, 0);

    for (int64_t now = 1; now <= 16; ++now) clock.Step(1'000, now * 100);

    EXPECT_EQ(clock.At(150), 1'150u);
    EXPECT_EQ(clock.At(99), 1'099u);  // the first stretch is forgotten and the second answers for it
}

}  // namespace
}  // namespace norvad::board
