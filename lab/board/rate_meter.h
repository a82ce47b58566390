#pragma once

#include <cstdint>

namespace norvad::board {

// Bytes per second, measured over stretches of at least one second.
class RateMeter {
public:
    void Count(uint64_t bytes, int64_t nowNs) {
        Close(nowNs);
        windowBytes += bytes;
    }

    // Of the last whole stretch, which ends now when a second has passed since the one before.
    uint64_t BytesPerSecond(int64_t nowNs) {
        Close(nowNs);
        return lastRate;
    }

private:
    static constexpr int64_t windowNs = 1'000'000'000;

    void Close(int64_t nowNs) {
        const int64_t elapsed = nowNs - windowStartNs;
        if (elapsed < windowNs) return;
        lastRate = static_cast<uint64_t>(static_cast<double>(windowBytes) * 1e9 / static_cast<double>(elapsed));
        windowStartNs = nowNs;
        windowBytes = 0;
    }

    int64_t windowStartNs = 0;
    uint64_t windowBytes = 0;
    uint64_t lastRate = 0;
};

}  // namespace norvad::board
