#include "ptp/token_bucket.h"

#include <gtest/gtest.h>

namespace norvad::test {
namespace {

timespec At(uint64_t ns) {
    return {static_cast<time_t>(ns / 1'000'000'000), static_cast<long>(ns % 1'000'000'000)};
}

class Bucket : public testing::Test {
protected:
    int TakeAll(uint64_t ns) {
        int taken = 0;
        while (bucket.Take(At(ns))) ++taken;
        return taken;
    }

    TokenBucket bucket{128, 32};
    static constexpr uint64_t start = 5'000'000'000;
    static constexpr uint64_t tokenNs = 7'812'500;
};

TEST_F(Bucket, HoldsABurstAndNoMore) {
    EXPECT_EQ(TakeAll(start), 32);
    EXPECT_EQ(TakeAll(start + 3'600'000'000'000), 32);
}

TEST_F(Bucket, GivesATokenWhenItHasWhollyComeIn) {
    TakeAll(start);

    EXPECT_FALSE(bucket.Take(At(start + tokenNs - 1)));
    EXPECT_TRUE(bucket.Take(At(start + tokenNs)));
    EXPECT_FALSE(bucket.Take(At(start + tokenNs)));
}

TEST_F(Bucket, IsFullAgainAfterTheTimeOfABurst) {
    TakeAll(start);
    EXPECT_EQ(TakeAll(start + 32 * tokenNs - 1), 31);

    EXPECT_EQ(TakeAll(start + 63 * tokenNs), 32);
}

TEST_F(Bucket, LosesNothingOfWhatComesInBetweenAttempts) {
    TakeAll(start);
    int taken = 0;
    for (uint64_t ns = start; ns < start + 10'000'000'000; ns += 333'333) taken += bucket.Take(At(ns));

    EXPECT_EQ(taken, 1'279);
}

TEST_F(Bucket, IsNeverEmptyForWhoTakesAtItsRate) {
    for (uint64_t n = 0; n < 1'000; ++n) EXPECT_TRUE(bucket.Take(At(start + n * tokenNs)));

    EXPECT_EQ(TakeAll(start + 1'000 * tokenNs), 32);
}

TEST_F(Bucket, IsFullFromTheBeginningOfTime) {
    EXPECT_EQ(TakeAll(0), 32);
}

}  // namespace
}  // namespace norvad::test
