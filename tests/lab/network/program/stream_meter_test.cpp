#include "lab/network/program/stream_meter.h"

#include <gtest/gtest.h>

namespace norvad::test {
namespace {

using network::StreamMeter;

TEST(AStreamMeter, KnowsHowLateFramesAre) {
    StreamMeter meter(2);
    meter.Sent(0, 1'000);
    meter.Sent(1, 2'000);
    meter.Received(0, 0, 1'300);
    meter.Received(0, 1, 2'500);
    meter.Received(1, 1, 2'900);

    EXPECT_EQ(meter.SentFrames(), 2u);
    EXPECT_EQ(meter.Of(0).received, 2u);
    EXPECT_EQ(meter.Of(0).leastLatencyNs, 300u);
    EXPECT_EQ(meter.Of(0).mostLatencyNs, 500u);
    EXPECT_EQ(meter.Of(0).MeanLatencyNs(), 400u);
    EXPECT_EQ(meter.Of(1).mostLatencyNs, 900u);
}

TEST(AStreamMeter, KnowsTheLargestLatencySinceItWasAsked) {
    StreamMeter meter(2);
    for (uint32_t n = 0; n < 3; ++n) meter.Sent(n, 1'000 * n);
    meter.Received(0, 0, 700);
    meter.Received(0, 1, 1'300);

    EXPECT_EQ(meter.TakeMostLatencyNs(0), 700u);
    EXPECT_EQ(meter.TakeMostLatencyNs(0), 0u);
    EXPECT_EQ(meter.TakeMostLatencyNs(1), 0u);
    meter.Received(0, 2, 2'200);
    EXPECT_EQ(meter.TakeMostLatencyNs(0), 200u);
    EXPECT_EQ(meter.Of(0).mostLatencyNs, 700u);
}

TEST(AStreamMeter, MissesFramesThatLaterOnesHaveOvertaken) {
    StreamMeter meter(1);
    for (uint32_t n = 0; n < 5; ++n) meter.Sent(n, n);
    meter.Received(0, 1, 10);
    meter.Received(0, 4, 10);

    EXPECT_EQ(meter.Lost(), 2u);  // the first one that it receives begins the count
}

TEST(AStreamMeter, MissesFramesThatNothingFollowsWhenItIsAskedAgain) {
    StreamMeter meter(1);
    meter.Sent(0, 0);
    meter.Received(0, 0, 1);
    meter.Sent(1, 1'000);

    EXPECT_EQ(meter.Lost(), 0u);  // it may be under way
    EXPECT_EQ(meter.Lost(), 1u);
    EXPECT_EQ(meter.Lost(), 1u);
    meter.Sent(2, 2'000);
    meter.Received(0, 2, 2'001);
    EXPECT_EQ(meter.Lost(), 1u);
}

TEST(AStreamMeter, MissesNothingWhileItsListenerIsAway) {
    StreamMeter meter(1);
    meter.Sent(0, 0);
    meter.Received(0, 0, 1);
    meter.Leave(0);
    for (uint32_t n = 1; n < 9; ++n) meter.Sent(n, n);
    meter.Received(0, 1, 2);
    (void)meter.Lost();

    EXPECT_EQ(meter.Lost(), 0u);
    meter.Come(0);
    meter.Received(0, 8, 10);
    meter.Sent(9, 9);
    (void)meter.Lost();
    EXPECT_EQ(meter.Lost(), 1u);
}

}  // namespace
}  // namespace norvad::test
