#pragma once

#include <algorithm>
#include <cstdint>
#include <ctime>

namespace norvad {

// Lets so many events a second pass on average, and a burst of them at once. It fills up continuously.
class TokenBucket {
public:
    // perSecond divides a second into whole nanoseconds; the bucket is full with burst tokens, as it is at first.
    constexpr TokenBucket(uint32_t perSecond, uint32_t burst)
        : tokenNs(nsPerSecond / perSecond), burstNs(tokenNs * burst) {}

    // Takes a token for an event at a time of the monotonic clock; false, with nothing taken, when there is none.
    bool Take(const timespec& now) {
        const uint64_t nowNs = static_cast<uint64_t>(now.tv_sec) * nsPerSecond + static_cast<uint64_t>(now.tv_nsec);
        const uint64_t fullAfterNs = std::max(fullAtNs, nowNs) + tokenNs;
        if (fullAfterNs - nowNs > burstNs) return false;
        fullAtNs = fullAfterNs;
        return true;
    }

private:
    static constexpr uint64_t nsPerSecond = 1'000'000'000;

    uint64_t tokenNs;       // in which a token comes in
    uint64_t burstNs;       // in which an empty bucket fills up
    uint64_t fullAtNs = 0;  // when it will be full if nothing more is taken
};

}  // namespace norvad
