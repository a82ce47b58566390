#pragma once

#include <cstddef>
#include <cstdint>

namespace norvad::network {

// The way from a bridge's switch to its daemon, which handles one frame after the other.
struct CpuPort {
    uint64_t bitsPerSecond = 0;  // 0: frames take no time
    size_t queueFrames = 64;     // that find room before the daemon
};

}  // namespace norvad::network
