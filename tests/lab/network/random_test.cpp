#include "lab/network/random.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace norvad::test {
namespace {

using network::Random;
using testing::ElementsAre;

// SplitMix64 from the offset basis of FNV-1a, its first number thrown away.
TEST(RandomNumbers, AreTheSameOnEveryMachine) {
    Random random(0);

    EXPECT_THAT((std::vector{random.Next(), random.Next()}), ElementsAre(0x100CDAACC0BC9316u, 0x54C3A569ECF61B1Bu));
}

TEST(RandomNumbers, DifferBySeedAndBySubject) {
    EXPECT_NE(Random(1).Next(), Random(2).Next());
    EXPECT_NE(Random(1, "a").Next(), Random(1, "b").Next());
    EXPECT_EQ(Random(1, "a").Next(), Random(1, "a").Next());
}

TEST(RandomNumbers, HappenAsOftenAsAsked) {
    Random random(1);
    int happened = 0;
    for (int i = 0; i < 100'000; ++i) happened += random.Happens(10'000);

    EXPECT_NEAR(happened, 1'000, 150);
    EXPECT_FALSE(random.Happens(0));
    EXPECT_TRUE(random.Happens(1'000'000));
}

TEST(RandomNumbers, StepUpAsOftenAsDown) {
    Random random(1);
    std::array<int, 3> steps{};
    for (int i = 0; i < 40'000; ++i) ++steps.at(static_cast<size_t>(random.Step() + 1));

    EXPECT_NEAR(steps[0], 10'000, 500);
    EXPECT_NEAR(steps[1], 20'000, 500);
    EXPECT_NEAR(steps[2], 10'000, 500);
}

}  // namespace
}  // namespace norvad::test
