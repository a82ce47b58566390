#include "lab/network/credit_based_shaper.h"

#include <gtest/gtest.h>

namespace norvad::test {
namespace {

using network::CreditBasedShaper;

constexpr uint64_t us = 1'000;

// A quarter of 100 Mbit/s: the idle slope is 25 bits a microsecond, the send slope 75 the other way.
class QuarterOfAFastPort : public testing::Test {
protected:
    QuarterOfAFastPort() { shaper.SetIdleSlope(25'000'000); }

    CreditBasedShaper shaper{100'000'000};
};

TEST_F(QuarterOfAFastPort, RestsThreeTimesAsLongAsItSends) {
    shaper.Advance(100 * us, false);
    EXPECT_EQ(shaper.MayBeginNs(), 100 * us);
    shaper.Begin(20 * us);

    EXPECT_EQ(shaper.Credit(), -1'500);
    EXPECT_EQ(shaper.MayBeginNs(), 180 * us);
    shaper.Advance(160 * us, true);
    EXPECT_EQ(shaper.Credit(), -500);
    EXPECT_EQ(shaper.MayBeginNs(), 180 * us);
}

TEST_F(QuarterOfAFastPort, EarnsCreditWhileItsFramesWaitForOthers) {
    shaper.Advance(0, false);
    shaper.Advance(100 * us, true);

    EXPECT_EQ(shaper.Credit(), 2'500);
    shaper.Begin(20 * us);
    EXPECT_EQ(shaper.Credit(), 1'000);
    EXPECT_EQ(shaper.MayBeginNs(), 120 * us);
}

TEST_F(QuarterOfAFastPort, KeepsNoCreditWithNothingToSend) {
    shaper.Advance(100 * us, true);
    shaper.Advance(101 * us, false);

    EXPECT_EQ(shaper.Credit(), 0);
}

TEST_F(QuarterOfAFastPort, ComesBackToZeroAndNoFurtherWithNothingToSend) {
    shaper.Begin(20 * us);
    shaper.Advance(3'600'000'000 * us, false);

    EXPECT_EQ(shaper.Credit(), 0);
    EXPECT_EQ(shaper.MayBeginNs(), 3'600'000'000 * us);
}

TEST(AShaper, WithoutASlopeLetsEverythingPass) {
    CreditBasedShaper shaper(100'000'000);
    shaper.SetIdleSlope(25'000'000);
    shaper.Advance(10 * us, false);
    shaper.Begin(20 * us);
    shaper.SetIdleSlope(0);
    shaper.Begin(20 * us);

    EXPECT_EQ(shaper.Credit(), 0);
    EXPECT_EQ(shaper.MayBeginNs(), 50 * us);
}

TEST(AShaper, HasTheWholePortAtMost) {
    CreditBasedShaper shaper(100'000'000);
    shaper.SetIdleSlope(1'000'000'000);
    shaper.Begin(20 * us);

    EXPECT_EQ(shaper.Credit(), 0);
}

}  // namespace
}  // namespace norvad::test
