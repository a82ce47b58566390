#include "ptp/slave_clock.h"

#include "base/log.h"
#include "ptp/time_arithmetic.h"

namespace norvad {

namespace {

constexpr int64_t integralLimit = int64_t{1} << 24;
constexpr int32_t largestIntegralTerm = 0x40000000;
constexpr int64_t integralGain = 64;
constexpr uint32_t proportionalGain = 512;

constexpr int64_t largestSteeredOffset = 200'000;
constexpr int64_t largestInSyncOffset = 499;
constexpr int32_t acquiringCount = 8;

bool Within(int64_t offset, int64_t limit) {
    return -limit <= offset && offset <= limit;
}

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

void SlaveClock::Follow(const MasterTime& master) {
    log(LogCategory::PTP, 5, "[SW-PTP] delta = %d ns\n", static_cast<int32_t>(master.offset));
    if (!Within(master.offset, largestSteeredOffset)) return TakeBigOffset(master);
    servo.Steer(static_cast<int32_t>(master.offset));
    bigOffsetCount = 0;
    CountInSync(master.offset);
}

// A single one may be a stamp gone wrong and is let pass.
void SlaveClock::TakeBigOffset(const MasterTime& master) {
    const auto offset = static_cast<uint64_t>(master.offset);
    log(LogCategory::PTP, 1, "[SW-PTP] delta = 0x%08x %d SyncSentTime = 0x%08x %08x SyncReceiveTime = 0x%08x %08x\n",
        High(offset), static_cast<int32_t>(Low(offset)), High(master.originTime), Low(master.originTime),
        High(master.syncReceiveTime), Low(master.syncReceiveTime));
    if (++bigOffsetCount <= 1) return;
    servo.ResetClock(master.offset);
    bigOffsetCount = 0;
    inSyncCount = 0;
}

void SlaveClock::CountInSync(int64_t offset) {
    if (!Within(offset, largestInSyncOffset)) {
        if (inSyncCount > acquiringCount) log(LogCategory::PTP, 1, "[SW-PTP] slave sync lost\n");
        inSyncCount = 0;
        return;
    }
    if (inSyncCount == acquiringCount) log(LogCategory::PTP, 1, "[SW-PTP] slave sync acquired\n");
    if (inSyncCount <= acquiringCount) ++inSyncCount;
}

}  // namespace norvad
