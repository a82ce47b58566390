#include "ptp/peer_delay_evaluation.h"

#include <cmath>

#include "base/log.h"
#include "ptp/time_arithmetic.h"

namespace norvad {

namespace {

// Lopsided: long cables and slow PHYs make the delay large, only jitter makes it negative.
constexpr int64_t smallestDelay = -3000;
constexpr int64_t largestDelay = 15000;

constexpr double largestRateOffset = 0.000974;

// Stamps wrap around; the difference of two is signed.
double Elapsed(uint64_t from, uint64_t to) {
    return static_cast<double>(static_cast<int64_t>(to - from));
}

void UpdateRateRatio(uint8_t port, PTPPortData& data, const ResponseTimes& response, int32_t windowMode) {
    const ResponseTimes& reference = windowMode == 0 ? data.previousResponse : data.firstResponse;
    data.neighborRateRatio = Elapsed(reference.sent, response.sent) / Elapsed(reference.received, response.received);
    // Written so that the quotient of two zero intervals, which is no number, counts as implausible too.
    if (std::fabs(data.neighborRateRatio - 1) <= largestRateOffset) return;
    log(LogCategory::PTP, 0, "[SW-PTP] RateRatio (%d) = %g : resetting !!!\n", port, data.neighborRateRatio - 1);
    data.RestartRateWindow();
}

void UpdateRateWindow(uint8_t port, PTPPortData& data, int32_t windowMode) {
    const ResponseTimes response{data.foreignPDelayRespSentTime, data.localPDelayRespReceiveTime};
    if (data.rateWindowStarted) {
        UpdateRateRatio(port, data, response, windowMode);
    } else {
        data.rateWindowStarted = true;
        data.firstResponse = response;
    }
    data.previousResponse = response;
}

void FilterDelay(PTPPortData& data, int64_t delay) {
    const int64_t filtered = data.meanLinkDelay == 0 ? delay : (15 * int64_t{data.meanLinkDelay} + delay) / 16;
    data.meanLinkDelay = static_cast<int32_t>(filtered);
}

void ReportUnreasonable(uint8_t port, const PTPPortData& data, int64_t delay) {
    const auto turnaround =
        static_cast<int64_t>(data.localPDelayRespReceiveTime - data.localPDelayReqSentTime) / 1'000'000;
    log(LogCategory::PTP, 0, "[SW-PTP] Port %d Unreasonable PTP PDELAY result:\n", port);
    log(LogCategory::PTP, 0,
        "\tDelta = %d ns\n\tRateRatio = 1 + %f\n\tResponse after %d ms\n\tlocalPDelayReqSentTime = "
        "0x%08x:0x%08x\n\tlocalPDelayRespReceiveTime = 0x%08x:0x%08x\n\tforeignPDelayReqReceiveTime = "
        "0x%08x:0x%08x\n\tforeignPDelayRespSentTime = 0x%08x:0x%08x\n",
        static_cast<int32_t>(delay), static_cast<double>(static_cast<float>(data.neighborRateRatio - 1)),
        static_cast<int32_t>(turnaround), High(data.localPDelayReqSentTime), Low(data.localPDelayReqSentTime),
        High(data.localPDelayRespReceiveTime), Low(data.localPDelayRespReceiveTime),
        High(data.foreignPDelayReqReceiveTime), Low(data.foreignPDelayReqReceiveTime),
        High(data.foreignPDelayRespSentTime), Low(data.foreignPDelayRespSentTime));
}

}  // namespace

int64_t MeasuredDelay(const PTPPortData& data) {
    const double roundTrip = Elapsed(data.localPDelayReqSentTime, data.localPDelayRespReceiveTime);
    const double turnaround = Elapsed(data.foreignPDelayReqReceiveTime, data.foreignPDelayRespSentTime);
    return TruncateTo<int64_t>((roundTrip * data.neighborRateRatio - turnaround) * 0.5);
}

void EvaluateExchange(uint8_t port, PTPPortData& data, int32_t windowMode) {
    const int64_t delay = MeasuredDelay(data);
    if (smallestDelay <= delay && delay <= largestDelay) {
        UpdateRateWindow(port, data, windowMode);
        FilterDelay(data, delay);
    } else {
        ReportUnreasonable(port, data, delay);
    }
    log(LogCategory::PTP, 1, "[SW-PTP] Port %d PDelay = %d ns\n", port, data.meanLinkDelay);
}

}  // namespace norvad
