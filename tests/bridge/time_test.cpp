#include <gtest/gtest.h>

#include <cstdlib>

#include "ptp/ptp_messages.h"
#include "tests/bridge/clock_row.h"

namespace norvad::test {

namespace {

constexpr uint64_t delayNs = 520;
constexpr uint64_t periodMs = 1050;  // of peer delay, with the jitter at its longest

// Two bridges 200 ppm apart, port 0 of the first cabled to port 1 of the second.
class TwoClocks : public testing::Test {
protected:
    TwoClocks() {
        row.Add(+100);
        row.Add(-100);
        row.world.Connect(row[0], 0, row[1], 1, delayNs);
    }

    // The link stays up, but nothing gets through any more between the two.
    void LoseEverything() {
        row.world.filter = [this](const network::Node& from, uint8_t port, std::span<const uint8_t>) {
            return !(&from == &row[0] && port == 0) && !(&from == &row[1] && port == 1);
        };
    }
    // Returns when the first bridge has sent so many more requests.
    void RunRequests(int count) {
        const auto others = row.world.filter;
        row.world.filter = [&](const network::Node& from, uint8_t port, std::span<const uint8_t> frame) {
            if (&from == &row[0] && frame[14] == static_cast<uint8_t>(PTPMessage::PDELAY_REQ)) --count;
            return !others || others(from, port, frame);
        };
        EXPECT_TRUE(row.world.RunUntil([&] { return count <= 0; }, 60'000));
        row.world.filter = others;
    }

    ClockRow row;
};

TEST_F(TwoClocks, MakeTheirPortsAsCapableAndKnowEachOtherAsOfOneMake) {
    row.world.RunMs(periodMs);
    EXPECT_FALSE(row[0].Model().IsAvbUp(0)) << "asked, but not evaluated yet";

    row.world.RunMs(periodMs);
    EXPECT_TRUE(row[0].Model().IsAvbUp(0));
    EXPECT_TRUE(row[0].Model().GetPeerIsSameMake(0));
    EXPECT_TRUE(row[1].Model().IsAvbUp(1));
    EXPECT_TRUE(row[1].Model().GetPeerIsSameMake(1));
}

TEST_F(TwoClocks, FourthSilentPeriodTakesAsCapabilityFromThePort) {
    row.world.RunMs(2 * periodMs + 500);
    ASSERT_TRUE(row[0].Model().IsAvbUp(0));
    LoseEverything();

    // Each request comes right after the evaluation of the period before it. The first one evaluates the exchange
    // that was complete before the cut, the next three find silence.
    RunRequests(1 + 3);
    EXPECT_TRUE(row[0].Model().IsAvbUp(0));
    RunRequests(1);
    EXPECT_FALSE(row[0].Model().IsAvbUp(0));
    EXPECT_TRUE(row[0].Model().IsPortUp(0)) << "the link is up all the while";

    row.world.filter = {};
    row.world.RunMs(2 * periodMs);
    EXPECT_TRUE(row[0].Model().IsAvbUp(0));
}

TEST_F(TwoClocks, TheBetterOneBecomesGrandmasterAndTheOtherFollows) {
    row.world.RunMs(15'000);
    EXPECT_EQ(row.State(0), "MASTER");
    EXPECT_EQ(row.State(1), "SLAVE");
    ASSERT_FALSE(row[1].Grandmasters().identities.empty());
    EXPECT_EQ(row[1].Grandmasters().identities.back(), row[0].Grandmasters().identities.back());

    row.world.RunMs(30'000);
    EXPECT_LT(std::llabs(row[1].AheadNs(row[0])), 100);
}

TEST_F(TwoClocks, TheSurvivorTakesOverWhenItsMasterFallsSilentAndAnotherNeighbourAnswers) {
    row.Add(0);
    row.world.Connect(row[1], 0, row[2], 0, delayNs);
    row.world.RunMs(30'000);
    ASSERT_EQ(row.State(1), "SLAVE");
    ASSERT_EQ(row.State(2), "SLAVE");
    LoseEverything();

    row.world.RunMs(60'000);
    EXPECT_EQ(row.State(1), "MASTER");
    EXPECT_EQ(row.State(2), "SLAVE");
    EXPECT_EQ(row[2].Grandmasters().identities.back(), row[1].Grandmasters().identities.back());
    EXPECT_LT(std::llabs(row[2].AheadNs(row[1])), 1000);
}

TEST(TwoFreeClocks, MeasureTheCableAndTheNeighboursRate) {
    // Without a right to be grandmaster nobody steers, so the oscillators stay 200 ppm apart.
    ClockRow row;
    row.Add(+100, {250, true});
    row.Add(-100, {250, true});
    row.world.Connect(row[0], 0, row[1], 1, delayNs);

    row.world.RunMs(100 * periodMs);

    EXPECT_NEAR(row.Shown(0, "RR0:"), -200e-6, 1e-7);
    EXPECT_NEAR(row.Shown(1, "RR1:"), +200e-6, 1e-7);
    // The granularity of the stamps, and what a filter loses that truncates at every step.
    EXPECT_NEAR(row.Shown(0, "PD0:"), delayNs, 8 + 15);
    EXPECT_NEAR(row.Shown(1, "PD1:"), delayNs, 8 + 15);
}

// Three bridges, port 1 of each to port 0 of the next. The first has the best priority1; the clocks run 20 ppm apart
// and start far from one another.
class ThreeClocks : public testing::Test {
protected:
    ThreeClocks() {
        for (unsigned n = 0; n < 3; ++n) row.Add(20.0 * n - 20, {100 + n, false}, 5'000'000'000 * (n + 1));
        row.world.Connect(row[0], 1, row[1], 0);
        row.world.Connect(row[1], 1, row[2], 0);
    }

    ClockRow row;
};

TEST_F(ThreeClocks, FollowTheBestOfThem) {
    row.world.RunMs(20'000);

    EXPECT_EQ(row.State(0), "MASTER");
    EXPECT_EQ(row.State(1), "SLAVE");
    EXPECT_EQ(row.State(2), "SLAVE");
    ASSERT_FALSE(row[2].Grandmasters().identities.empty());
    EXPECT_EQ(row[2].Grandmasters().identities.back(), row[0].Grandmasters().identities.back());
}

TEST_F(ThreeClocks, AgreeWithinAMicrosecondAfterAMinute) {
    row.world.RunMs(60'000);

    for (int second = 0; second < 60; ++second) {
        row.world.RunMs(1'000);
        EXPECT_LT(std::llabs(row[1].AheadNs(row[0])), 1'000) << "second " << second;
        EXPECT_LT(std::llabs(row[2].AheadNs(row[0])), 1'000) << "second " << second;
    }
}

TEST_F(ThreeClocks, TheNextBestTakesOverWhenTheFirstIsGoneAndYieldsWhenItIsBack) {
    row.world.RunMs(20'000);
    row.world.Disconnect(row[0], 1);

    EXPECT_TRUE(row.world.RunUntil([&] { return row.State(1) == "MASTER" && row.State(2) == "SLAVE"; }, 60'000));

    row.world.Connect(row[0], 1, row[1], 0);
    EXPECT_TRUE(row.world.RunUntil([&] { return row.State(1) == "SLAVE" && row.State(2) == "SLAVE"; }, 60'000));
}

}  // namespace

}  // namespace norvad::test
