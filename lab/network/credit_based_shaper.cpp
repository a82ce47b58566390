#include "lab/network/credit_based_shaper.h"

#include <algorithm>

namespace norvad::network {

// A long rest in the red is left in two steps, so that no product outgrows its type: to zero, and what is beyond it.
void CreditBasedShaper::Advance(uint64_t nowNs, bool waits) {
    if (nowNs <= sinceNs) return;
    uint64_t elapsedNs = nowNs - sinceNs;
    sinceNs = nowNs;
    if (idleSlope == 0) return;
    if (credit < 0) {
        const uint64_t recoveryNs = std::min(NsToZero(), elapsedNs);
        credit += idleSlope * static_cast<int64_t>(recoveryNs);
        elapsedNs -= recoveryNs;
    }
    if (waits) credit += idleSlope * static_cast<int64_t>(elapsedNs);
    if (!waits && credit > 0) credit = 0;
}

void CreditBasedShaper::SetIdleSlope(uint64_t bitsPerSecond) {
    idleSlope = std::min(static_cast<int64_t>(bitsPerSecond), portRate);
    if (idleSlope == 0) credit = 0;
}

uint64_t CreditBasedShaper::MayBeginNs() const {
    return sinceNs + (credit < 0 ? NsToZero() : 0);
}

void CreditBasedShaper::Begin(uint64_t durationNs) {
    sinceNs += durationNs;
    if (idleSlope > 0) credit -= (portRate - idleSlope) * static_cast<int64_t>(durationNs);
}

int64_t CreditBasedShaper::Credit() const {
    constexpr int64_t parts = 1'000'000'000;
    return credit >= 0 ? credit / parts : -((parts - 1 - credit) / parts);
}

uint64_t CreditBasedShaper::NsToZero() const {
    return static_cast<uint64_t>((-credit + idleSlope - 1) / idleSlope);
}

}  // namespace norvad::network
