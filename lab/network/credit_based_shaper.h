#pragma once

#include <cstdint>

namespace norvad::network {

// The credit of one shaped traffic class at a port (IEEE 802.1Q, 8.6.8.2). It grows with the idle slope while frames
// wait, or while it is below zero, and shrinks with the send slope, which is the idle slope less the port's rate, while
// one of its frames is sent; a frame may begin while it is not below zero. An empty queue keeps no credit.
class CreditBasedShaper {
public:
    explicit CreditBasedShaper(uint64_t portBitsPerSecond) : portRate(static_cast<int64_t>(portBitsPerSecond)) {}

    // Comes before anything changes at the queue. waits: frames were waiting since the change before.
    void Advance(uint64_t nowNs, bool waits);

    // Bits per second, at most the port's rate; 0: frames are not shaped.
    void SetIdleSlope(uint64_t bitsPerSecond);

    // The earliest instant, as things stood at Advance, at which a frame may begin.
    uint64_t MayBeginNs() const;

    // A frame begins at the instant of Advance and keeps the port busy so long.
    void Begin(uint64_t durationNs);

    // Bits, rounded down.
    int64_t Credit() const;

private:
    uint64_t NsToZero() const;

    int64_t portRate;
    int64_t idleSlope = 0;
    int64_t credit = 0;    // billionths of a bit: bits per second times nanoseconds
    uint64_t sinceNs = 0;  // when it was so; the end of the frame that is being sent
};

}  // namespace norvad::network
