#include "ptp/peer_delay_evaluation.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/ptp/ptp_fixture.h"

namespace norvad::test {

namespace {

constexpr int32_t runningWindow = 0;
constexpr int32_t increasingWindow = 1;

// Puts an exchange into the port: asked at t1 by our clock, received and answered at t2 and t3 by the neighbour's.
void PutExchange(PTPPortData& data, uint64_t t1, uint64_t t2, uint64_t t3, uint64_t t4) {
    data.localPDelayReqSentTime = t1;
    data.foreignPDelayReqReceiveTime = t2;
    data.foreignPDelayRespSentTime = t3;
    data.localPDelayRespReceiveTime = t4;
}

// An exchange whose stamps give just this delay: the neighbour answers after 1 ms.
void PutDelay(PTPPortData& data, int64_t delay, uint64_t start = 1'000'000'000) {
    PutExchange(data, start, 5'000'000, 6'000'000, start + 1'000'000 + static_cast<uint64_t>(2 * delay));
}

// Evaluates an exchange that ends at these two times and has a delay of 100 ns at a ratio of 1.
void EvaluateResponse(PTPPortData& data, uint64_t sent, uint64_t received, int32_t windowMode) {
    PutExchange(data, received - 200, sent, sent, received);
    EvaluateExchange(0, data, windowMode);
}

struct DelayCase {
    int64_t delay;
    bool accepted;
};

class DelayRange : public testing::TestWithParam<DelayCase> {};

TEST_P(DelayRange, IsMinus3000To15000Ns) {
    PTPPortData data;
    data.meanLinkDelay = 64;
    PutDelay(data, GetParam().delay);

    CapturedLog capture(LogCategory::PTP);
    EvaluateExchange(0, data, runningWindow);
    const std::string text = capture.Text();

    ASSERT_EQ(MeasuredDelay(data), GetParam().delay);
    EXPECT_EQ(data.rateWindowStarted, GetParam().accepted);
    EXPECT_EQ(data.meanLinkDelay != 64, GetParam().accepted);
    EXPECT_EQ(text.find("Unreasonable PTP PDELAY result") == std::string::npos, GetParam().accepted);
}

INSTANTIATE_TEST_SUITE_P(Edges, DelayRange,
                         testing::Values(DelayCase{15000, true}, DelayCase{15001, false}, DelayCase{-3000, true},
                                         DelayCase{-3001, false}, DelayCase{0, true}));

TEST(PeerDelayEvaluation, DelayIsTruncatedTowardZero) {
    PTPPortData data;
    PutExchange(data, 1000, 0, 0, 1003);
    EXPECT_EQ(MeasuredDelay(data), 1);
    PutExchange(data, 1003, 0, 0, 1000);
    EXPECT_EQ(MeasuredDelay(data), -1);
}

TEST(PeerDelayEvaluation, OwnTimeIsScaledByTheNeighboursRate) {
    PTPPortData data;
    data.neighborRateRatio = 1.0005;
    PutExchange(data, 0, 0, 1'000'000, 1'000'000);
    EXPECT_EQ(MeasuredDelay(data), 250);
}

TEST(PeerDelayEvaluation, StampsMayWrapAround) {
    PTPPortData data;
    PutExchange(data, ~uint64_t{0} - 99, ~uint64_t{0} - 49, 50, 1100);
    EXPECT_EQ(MeasuredDelay(data), (1200 - 100) / 2);
}

TEST(PeerDelayEvaluation, NoStampsWhateverEscapeAsAnInteger) {
    constexpr uint64_t low = 0, high = ~uint64_t{0}, middle = uint64_t{1} << 63;
    for (const uint64_t t1 : {low, high, middle}) {
        for (const uint64_t t2 : {low, high, middle}) {
            for (const uint64_t t3 : {low, high, middle}) {
                for (const uint64_t t4 : {low, high, middle}) {
                    PTPPortData data;
                    data.rateWindowStarted = true;
                    data.neighborRateRatio = 1.0009;
                    PutExchange(data, t1, t2, t3, t4);
                    EvaluateExchange(0, data, runningWindow);

                    EXPECT_GE(data.meanLinkDelay, -3000);
                    EXPECT_LE(data.meanLinkDelay, 15000);
                    EXPECT_LE(std::fabs(data.neighborRateRatio - 1), 0.000974);
                }
            }
        }
    }
}

TEST(PeerDelayEvaluation, FilterStartsWithTheFirstDelayAndTakesASixteenthOfEachNext) {
    PTPPortData data;
    PutDelay(data, 1000);
    EvaluateExchange(0, data, runningWindow);
    EXPECT_EQ(data.meanLinkDelay, 1000);

    data.neighborRateRatio = 1.0;
    data.rateWindowStarted = false;
    PutDelay(data, 1100);
    EvaluateExchange(0, data, runningWindow);
    EXPECT_EQ(data.meanLinkDelay, 1006);  // 16100 / 16, truncated
}

TEST(PeerDelayEvaluation, FilterTruncatesTowardZeroAndStartsAnewAtZero) {
    PTPPortData data;
    data.meanLinkDelay = -1;
    PutDelay(data, 14);
    EvaluateExchange(0, data, runningWindow);
    EXPECT_EQ(data.meanLinkDelay, 0);  // (-15 + 14) / 16

    data.rateWindowStarted = false;
    PutDelay(data, 640);
    EvaluateExchange(0, data, runningWindow);
    EXPECT_EQ(data.meanLinkDelay, 640);
}

TEST(PeerDelayEvaluation, RatioIsComputedFromTheSecondGoodExchangeOn) {
    PTPPortData data;
    EvaluateResponse(data, 10'000'000'000, 20'000'000'000, runningWindow);
    EXPECT_EQ(data.neighborRateRatio, 1.0);
    EXPECT_TRUE(data.rateWindowStarted);
    EXPECT_EQ(data.firstResponse.sent, 10'000'000'000U);
    EXPECT_EQ(data.firstResponse.received, 20'000'000'000U);

    EvaluateResponse(data, 11'000'100'000, 21'000'000'000, runningWindow);
    EXPECT_DOUBLE_EQ(data.neighborRateRatio, 1.0001);
    EXPECT_EQ(data.firstResponse.sent, 10'000'000'000U);
    EXPECT_EQ(data.previousResponse.sent, 11'000'100'000U);
}

TEST(PeerDelayEvaluation, RunningWindowSpansTheLastInterval) {
    PTPPortData data;
    EvaluateResponse(data, 0, 0, runningWindow);
    EvaluateResponse(data, 1'000'100'000, 1'000'000'000, runningWindow);
    EvaluateResponse(data, 2'000'100'000, 2'000'000'000, runningWindow);
    EXPECT_DOUBLE_EQ(data.neighborRateRatio, 1.0);
}

TEST(PeerDelayEvaluation, IncreasingWindowSpansAllSinceItsFirstExchange) {
    PTPPortData data;
    EvaluateResponse(data, 0, 0, increasingWindow);
    EvaluateResponse(data, 1'000'100'000, 1'000'000'000, increasingWindow);
    EvaluateResponse(data, 2'000'100'000, 2'000'000'000, increasingWindow);
    EXPECT_DOUBLE_EQ(data.neighborRateRatio, 1.00005);
}

struct RatioCase {
    uint64_t neighbourInterval;  // of a second by our clock
    bool kept;
};

class RateRatio : public testing::TestWithParam<RatioCase> {};

TEST_P(RateRatio, BeyondItsRangeRestartsTheWindow) {
    PTPPortData data;
    EvaluateResponse(data, 0, 0, runningWindow);

    CapturedLog capture(LogCategory::PTP);
    EvaluateResponse(data, GetParam().neighbourInterval, 1'000'000'000, runningWindow);
    const std::string text = capture.Text();

    EXPECT_EQ(data.rateWindowStarted, GetParam().kept);
    EXPECT_EQ(data.neighborRateRatio != 1.0, GetParam().kept);
    EXPECT_EQ(text.find("[SW-PTP] RateRatio (0) = ") == std::string::npos, GetParam().kept);
    EXPECT_EQ(data.previousResponse.sent, GetParam().neighbourInterval) << "the pair is kept either way";
    EXPECT_EQ(data.meanLinkDelay, 100) << "the delay counts either way";
}

INSTANTIATE_TEST_SUITE_P(Edges, RateRatio,
                         testing::Values(RatioCase{1'000'900'000, true}, RatioCase{1'001'000'000, false},
                                         RatioCase{1'000'973'999, true}, RatioCase{1'000'974'001, false},
                                         RatioCase{999'026'001, true}, RatioCase{999'025'999, false}));

TEST(PeerDelayEvaluation, ImplausibleRatioIsReportedAsItsDistanceFromOne) {
    PTPPortData data;
    EvaluateResponse(data, 0, 0, runningWindow);

    CapturedLog capture(LogCategory::PTP);
    EvaluateResponse(data, 1'001'000'000, 1'000'000'000, runningWindow);

    EXPECT_THAT(capture.Text(), testing::HasSubstr("[SW-PTP] RateRatio (0) = 0.001 : resetting !!!\n"));
}

TEST(PeerDelayEvaluation, QuotientOfZeroIntervalsIsImplausible) {
    PTPPortData data;
    EvaluateResponse(data, 5000, 9000, runningWindow);
    EvaluateResponse(data, 5000, 9000, runningWindow);
    EXPECT_EQ(data.neighborRateRatio, 1.0);
    EXPECT_FALSE(data.rateWindowStarted);
}

TEST(PeerDelayEvaluation, UnreasonableResultIsReportedInFullAndChangesNothing) {
    PTPPortData data;
    data.meanLinkDelay = 300;
    data.rateWindowStarted = true;
    data.firstResponse = {1, 2};
    data.previousResponse = {3, 4};
    PutExchange(data, 0x1'0000'0001, 0x2'0000'0002, 0x2'0000'0003, 0x1'0000'0001 + 7'999'999);

    CapturedLog capture(LogCategory::PTP, 1);
    EvaluateExchange(1, data, runningWindow);
    const std::string text = capture.Text();

    EXPECT_THAT(text, testing::HasSubstr("[SW-PTP] Port 1 Unreasonable PTP PDELAY result:\n"));
    EXPECT_THAT(text, testing::HasSubstr("\tDelta = 3999999 ns\n\tRateRatio = 1 + 0.000000\n\tResponse after 7 ms\n"
                                         "\tlocalPDelayReqSentTime = 0x00000001:0x00000001\n"
                                         "\tlocalPDelayRespReceiveTime = 0x00000001:0x007a1200\n"
                                         "\tforeignPDelayReqReceiveTime = 0x00000002:0x00000002\n"
                                         "\tforeignPDelayRespSentTime = 0x00000002:0x00000003\n"));
    EXPECT_THAT(text, testing::HasSubstr("[SW-PTP] Port 1 PDelay = 300 ns\n"));
    EXPECT_EQ(data.meanLinkDelay, 300);
    EXPECT_EQ(data.firstResponse.sent, 1U);
    EXPECT_EQ(data.previousResponse.received, 4U);
    EXPECT_TRUE(data.rateWindowStarted);
}

// The distance from one is -0.000124499997, which by itself is -0.000124 with six digits. Single precision knows
// multiples of 2^-36 there, and 8555574.65 of them become 8555575, which is -0.00012450000213 and so -0.000125.
TEST(PeerDelayEvaluation, UnreasonableResultIsReportedWithTheRateInSinglePrecision) {
    PTPPortData data;
    data.neighborRateRatio = 0.999875500003;
    PutExchange(data, 0, 0, 0, 40'000);

    CapturedLog capture(LogCategory::PTP);
    EvaluateExchange(0, data, runningWindow);

    EXPECT_THAT(capture.Text(), testing::HasSubstr("\n\tRateRatio = 1 + -0.000125\n"));
}

}  // namespace

}  // namespace norvad::test
