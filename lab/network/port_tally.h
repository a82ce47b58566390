#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace norvad::network {

// What a port's queues are for.
enum class TrafficClass : uint8_t { STREAMS_A, STREAMS_B, CONTROL, BEST_EFFORT };
inline constexpr size_t trafficClassCount = 4;
inline constexpr std::array<const char*, trafficClassCount> trafficClassNames{"class A", "class B", "control",
                                                                              "best effort"};

// What became of the frames that a port was to send, through all its cables.
struct PortTally {
    struct Queue {
        uint64_t lost = 0;           // found no room
        uint32_t deepest = 0;        // frames that waited in one queue at once
        uint32_t deepestLately = 0;  // since somebody asked last

        void Count(size_t waiting) {
            deepest = std::max(deepest, static_cast<uint32_t>(waiting));
            deepestLately = std::max(deepestLately, static_cast<uint32_t>(waiting));
        }
    };

    uint64_t sent = 0;  // began to leave by a cable
    uint64_t lostOnCable = 0;
    uint64_t cutOff = 0;  // waited or were under way as the cable was pulled out
    std::array<Queue, trafficClassCount> queues;

    Queue& Of(TrafficClass trafficClass) { return queues[static_cast<size_t>(trafficClass)]; }
    // The most that waited since this was asked last, by class.
    std::array<uint32_t, trafficClassCount> TakeDeepest() {
        std::array<uint32_t, trafficClassCount> deepest{};
        for (size_t each = 0; each < trafficClassCount; ++each) {
            deepest[each] = std::exchange(queues[each].deepestLately, 0);
        }
        return deepest;
    }
    uint64_t CrowdedOut() const {
        uint64_t frames = 0;
        for (const Queue& queue : queues) frames += queue.lost;
        return frames;
    }
};

}  // namespace norvad::network
