#pragma once

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

    uint64_t ns = 0;  // since the beginning
    std::vector<BridgeTime> bridges;
    uint32_t reserved = 0;          // subscriptions
    uint64_t lostStreamFrames = 0;  // of all subscriptions, so far
    size_t mostWaiting = 0;         // frames at one port of a bridge
    uint64_t crowdedOut = 0;        // of queues that were full, so far
    uint64_t lostOnCables = 0;      // so far
};

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
    Sample::BridgeTime TimeOf(size_t bridge);

    Scene& scene;
    std::vector<Sample> samples;
};

}  // namespace norvad::network
