#pragma once

#include <cstdint>
#include <random>

namespace norvad {

// The randomness of one bridge; the same seed gives the same sequence.
class RandomSource {
public:
    void Seed(uint32_t seed) { generator.seed(seed); }

    // A number in [0, range), range above 0: 31 random bits scaled down.
    uint32_t Below(uint32_t range) { return Draw() / (largest / range + 1); }

private:
    static constexpr uint32_t largest = 0x7FFF'FFFF;

    uint32_t Draw() { return static_cast<uint32_t>(generator()) >> 1; }

    std::mt19937 generator;
};

}  // namespace norvad
