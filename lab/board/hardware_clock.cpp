#include "lab/board/hardware_clock.h"

#include <cmath>

namespace norvad::board {

HardwareClock::HardwareClock(uint64_t startNs, int64_t referenceNs, int32_t errorPpb, double steeringUnit,
                             uint32_t granularityNs)
    : errorPpb(errorPpb), steeringUnit(steeringUnit), granularityNs(granularityNs) {
    segments.fill({referenceNs, startNs, 0.0, RateOffsetFor(0)});
}

uint64_t HardwareClock::At(int64_t referenceNs) const {
    return Continue(SegmentAt(referenceNs), referenceNs).value;
}

uint64_t HardwareClock::Stamp(int64_t referenceNs) const {
    const uint64_t value = At(referenceNs);
    return value - value % granularityNs;
}

void HardwareClock::Step(int64_t offsetNs, int64_t referenceNs) {
    Segment segment = Continue(Newest(), referenceNs);
    segment.value += static_cast<uint64_t>(offsetNs);  // wraps: the offset is signed
    Append(segment);
}

void HardwareClock::Steer(int32_t counts, int64_t referenceNs) {
    Segment segment = Continue(Newest(), referenceNs);
    segment.rateOffset = RateOffsetFor(counts);
    steering = counts;
    Append(segment);
}

void HardwareClock::Drift(int32_t newErrorPpb, int64_t referenceNs) {
    errorPpb = newErrorPpb;
    Steer(steering, referenceNs);
}

const HardwareClock::Segment& HardwareClock::SegmentAt(int64_t referenceNs) const {
    const Segment* segment = &Newest();
    for (size_t age = 1; age < segments.size() && referenceNs < segment->referenceNs; ++age) {
        segment = &segments[(newest + segments.size() - age) % segments.size()];
    }
    return *segment;
}

HardwareClock::Segment HardwareClock::Continue(const Segment& segment, int64_t referenceNs) {
    // Only the deviation goes through floating point: it stays small where the time itself would lose digits.
    const int64_t elapsed = referenceNs - segment.referenceNs;
    const double deviation = static_cast<double>(elapsed) * segment.rateOffset + segment.fraction;
    const double whole = std::floor(deviation);
    const auto advance = static_cast<uint64_t>(elapsed) + static_cast<uint64_t>(static_cast<int64_t>(whole));
    return {referenceNs, segment.value + advance, deviation - whole, segment.rateOffset};
}

void HardwareClock::Append(const Segment& segment) {
    newest = (newest + 1) % segments.size();
    segments[newest] = segment;
}

double HardwareClock::RateOffsetFor(int32_t counts) const {
    const double error = errorPpb * 1e-9;
    const double correction = counts * steeringUnit;
    return error + correction + error * correction;
}

}  // namespace norvad::board
