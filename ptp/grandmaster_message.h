#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace norvad {

inline constexpr size_t grandmasterPathCapacity = 32;

// What a companion program on this machine learns of the grandmaster; it travels in host byte order. Clocks are
// given by their numbers.
struct GrandmasterMessage {
    uint64_t clockNumber = 0;  // 0: no grandmaster selected yet
    uint32_t fixed = 200;      // readers expect this value
    uint8_t domainNumber = 0;
    uint8_t spare = 0;
    uint16_t pathCount = 0;                                // 0..32
    std::array<uint64_t, grandmasterPathCapacity> path{};  // from the grandmaster to this bridge, which is the last
};
static_assert(sizeof(GrandmasterMessage) == 272 && offsetof(GrandmasterMessage, fixed) == 8 &&
              offsetof(GrandmasterMessage, domainNumber) == 12 && offsetof(GrandmasterMessage, pathCount) == 14 &&
              offsetof(GrandmasterMessage, path) == 16);

}  // namespace norvad
