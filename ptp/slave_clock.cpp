#include "ptp/slave_clock.h"

#include "base/log.h"

namespace norvad {

namespace {

constexpr int64_t largestSteeredOffset = 200'000;
constexpr int64_t largestInSyncOffset = 499;
constexpr int32_t acquiringCount = 8;

uint32_t High(uint64_t value) {
    return static_cast<uint32_t>(value >> 32);
}
uint32_t Low(uint64_t value) {
    return static_cast<uint32_t>(value);
}

bool Within(int64_t offset, int64_t limit) {
    return -limit <= offset && offset <= limit;
}

}  // namespace

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
