#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace norvad::board {

// The board's one clock: what stamps frames, and what the daemon steps and steers. It runs on a reference that the
// board is handed with every event, nanoseconds that never step, and is off that reference's rate by a constant
// error. There is no second, free-running clock: a relay subtracts the first value of a receive stamp from the
// second value of a transmit stamp, so both must be of the same time scale, steps included.
class HardwareClock {
public:
    // startNs: what it shows at referenceNs. errorPpb: how much too fast its oscillator is. steeringUnit: the
    // change of frequency that one count of steering makes. granularityNs: in what steps it stamps, at least 1.
    HardwareClock(uint64_t startNs, int64_t referenceNs, int32_t errorPpb = 0, double steeringUnit = 0x1p-38,
                  uint32_t granularityNs = 1);

    // What the clock shows, or showed, at an instant of the reference. An instant before a step or a change of
    // steering is answered as the clock ran then, as far as the last 16 changes; a stamp may be read late.
    uint64_t At(int64_t referenceNs) const;

    // The same as the hardware stamps a frame: rounded down to its granularity.
    uint64_t Stamp(int64_t referenceNs) const;

    // Steps the clock by offsetNs; the shown value wraps at 2^64.
    void Step(int64_t offsetNs, int64_t referenceNs);

    // Changes the frequency to the oscillator's own, corrected by that many counts; 0: no correction.
    void Steer(int32_t counts, int64_t referenceNs);

    // The oscillator is from now on so much too fast, as when it warms up.
    void Drift(int32_t errorPpb, int64_t referenceNs);

    int32_t Steering() const { return steering; }

    // How fast the clock runs against the reference, less 1.
    double RateOffset() const { return Newest().rateOffset; }

private:
    // A stretch of time at one rate.
    struct Segment {
        int64_t referenceNs;
        uint64_t value;     // at referenceNs, whole nanoseconds
        double fraction;    // and the rest, 0..1
        double rateOffset;  // against the reference, less 1
    };

    const Segment& Newest() const { return segments[newest]; }
    const Segment& SegmentAt(int64_t referenceNs) const;
    static Segment Continue(const Segment& segment, int64_t referenceNs);
    void Append(const Segment& segment);
    double RateOffsetFor(int32_t counts) const;

    int32_t errorPpb;
    double steeringUnit;
    uint32_t granularityNs;
    int32_t steering = 0;
    std::array<Segment, 16> segments;  // a ring
    size_t newest = 0;
};

}  // namespace norvad::board
