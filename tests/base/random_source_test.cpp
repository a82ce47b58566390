#include "base/random_source.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace norvad::test {
namespace {

TEST(Randomness, ANumberIsThirtyOneBitsScaledDown) {
    for (const uint32_t range : {1u, 2u, 7u, 200u, 5'000u, 0x7FFFFFFFu}) {
        std::mt19937 generator(42);
        const uint32_t expected = static_cast<uint32_t>(generator() >> 1) / (0x7FFFFFFFu / range + 1);
        RandomSource random;
        random.Seed(42);

        EXPECT_EQ(random.Below(range), expected) << range;
        for (int i = 0; i < 1000; ++i) EXPECT_LT(random.Below(range), range);
    }
}

TEST(Randomness, ReachesEveryNumberOfItsRange) {
    RandomSource random;
    std::set<uint32_t> drawn;
    for (int i = 0; i < 1000; ++i) drawn.insert(random.Below(10));

    EXPECT_EQ(drawn.size(), 10u);
}

TEST(Randomness, OfOneBridgeIsNotMovedByAnothers) {
    RandomSource first, second;
    first.Seed(1);
    second.Seed(1);
    (void)second.Below(5'000);

    EXPECT_NE(first.Below(5'000), second.Below(5'000));
    first.Seed(1);
    second.Seed(1);
    EXPECT_EQ(first.Below(5'000), second.Below(5'000));
}

}  // namespace
}  // namespace norvad::test
