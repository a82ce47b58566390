#include "ptp/clock_servo.h"

#include "base/log.h"

namespace norvad {

namespace {

constexpr int64_t integralLimit = int64_t{1} << 24;
constexpr int32_t largestIntegralTerm = 0x40000000;
constexpr int64_t integralGain = 64;
constexpr uint32_t proportionalGain = 512;

}  // namespace

void ClockServo::Steer(int32_t offsetNs) {
    Filter(offsetNs);
    const int32_t term = IntegralTerm(offsetNs);
    // Unsigned, so that it wraps around at 32 bits.
    clock.SetClockSteering(
        static_cast<int32_t>(static_cast<uint32_t>(offsetNs) * proportionalGain + static_cast<uint32_t>(term)));
}

// A mean of 0 starts anew with the next offset. The square is 32-bit arithmetic that wraps around, hence unsigned
// up to the division.
void ClockServo::Filter(int32_t offsetNs) {
    filteredOffset =
        filteredOffset == 0 ? offsetNs : static_cast<int32_t>((31 * int64_t{filteredOffset} + offsetNs) / 32);
    const uint32_t square = static_cast<uint32_t>(offsetNs) * static_cast<uint32_t>(offsetNs);
    filteredSquare = filteredSquare == 0
                         ? static_cast<int32_t>(square)
                         : static_cast<int32_t>(31U * static_cast<uint32_t>(filteredSquare) + square) / 32;
}

int32_t ClockServo::IntegralTerm(int32_t offsetNs) {
    integral += offsetNs;
    if (integral > integralLimit) {
        integral = integralLimit;
        return largestIntegralTerm;
    }
    if (integral < -integralLimit) {
        integral = -integralLimit;
        return -largestIntegralTerm;
    }
    return static_cast<int32_t>(integral * integralGain);
}

void ClockServo::ResetClock(int64_t offsetNs) {
    log(LogCategory::PTP, 1, "[SW-PTP] ResetClock\n");
    integral = 0;
    clock.SetClockSteering(0);
    clock.SetClock(static_cast<uint64_t>(offsetNs));
}

}  // namespace norvad
