#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "lab/network/program/scene.h"

namespace norvad::network {

// What a run looked like at one instant.
struct Sample {
    struct BridgeTime {
        std::optional<uint32_t> grandmaster;  // a bridge; nothing while this one follows nobody
        int64_t errorNs = 0;                  // ahead of it
    };

    struct Latency {
        uint64_t mostNs = 0;
        uint64_t promisedNs = 0;
    };

    uint64_t ns = 0;  // since the beginning
    std::vector<BridgeTime> bridges;
    uint32_t reserved = 0;          // subscriptions
    uint64_t lostStreamFrames = 0;  // of all subscriptions, so far
    Losses lost;                    // of all frames, so far
    // Since the look before: the most that waited in a queue of a bridge, and the largest latency on each route, beside
    // the least that MSRP promises now to a stream on it; 0 where no frame came, or nothing is promised.
    std::array<uint32_t, trafficClassCount> waiting{};
    uint32_t waitingForDaemon = 0;  // for one of them
    std::vector<Latency> latencies;
};

// The mean of time errors, in nanoseconds, 0 of none. A clock may be off by centuries, and few of these are more
// together than 64 bits hold.
int64_t MeanNs(const std::vector<int64_t>& errorsNs);

// Looks at a scene at even intervals.
class Recorder {
public:
    explicit Recorder(Scene& scene) : scene(scene) {}

    void Look();

    const std::vector<Sample>& Samples() const { return samples; }

    // How long after each other looks should be: 100 ms, a second in a network where they would cost more than what
    // they look at, and longer where more than 10,000 would come together.
    static uint64_t IntervalNs(uint64_t durationNs, size_t bridges, size_t subscriptions);

private:
    std::vector<Sample::Latency> Latencies();
    Sample::BridgeTime TimeOf(size_t bridge);

    Scene& scene;
    std::vector<Sample> samples;
};

}  // namespace norvad::network
