#pragma once

#include <cstdint>
#include <string_view>

namespace norvad::network {

// Random numbers that are the same on every machine. Each subject of a world draws from a sequence of its own, so that
// one more of them leaves the others as they are.
class Random {
public:
    explicit Random(uint64_t seed, std::string_view subject = {});

    uint64_t Next();                    // 64 bits
    uint64_t Below(uint64_t range);     // 0..range - 1, range above 0
    bool Happens(uint32_t perMillion);  // so many times out of a million
    int32_t Step();                     // -1, 0 or 1: one step of a walk, 0 every other time

private:
    uint64_t state;
};

}  // namespace norvad::network
