#pragma once

#include <cmath>
#include <cstdint>

namespace norvad::test {

// A switch's hardware clock: an oscillator with a constant frequency error that can be steered and stepped. It is
// read with the granularity of the hardware's stamps. Times of the world are true nanoseconds and never step back.
class ModelledPtpClock {
public:
    ModelledPtpClock(double errorPpm, uint64_t startNs, uint64_t granularityNs = 8)
        : frequency(1 + static_cast<long double>(errorPpm) * 1e-6L),
          valueNs(static_cast<long double>(startNs)),
          granularityNs(granularityNs) {}

    // What the clock shows at a true time, with all the fraction it has.
    long double At(uint64_t trueNs) {
        const auto elapsed = static_cast<long double>(trueNs - lastTrueNs);
        valueNs += elapsed * frequency * (1 + std::ldexp(static_cast<long double>(steering), -38));
        lastTrueNs = trueNs;
        return valueNs;
    }
    uint64_t Stamp(uint64_t trueNs) { return static_cast<uint64_t>(At(trueNs)) / granularityNs * granularityNs; }

    void Step(uint64_t trueNs, uint64_t offset) {  // two's complement
        valueNs = At(trueNs) + static_cast<long double>(static_cast<int64_t>(offset));
        ++steps;
    }
    void Steer(uint64_t trueNs, int32_t counts) {  // one count: 2^-38 of frequency
        (void)At(trueNs);
        steering = counts;
    }

    uint32_t Steps() const { return steps; }
    int32_t Steering() const { return steering; }
    double SteeringPpm() const { return std::ldexp(static_cast<double>(steering), -38) * 1e6; }

private:
    long double frequency;
    long double valueNs;
    uint64_t granularityNs;
    uint64_t lastTrueNs = 0;
    int32_t steering = 0;
    uint32_t steps = 0;
};

}  // namespace norvad::test
