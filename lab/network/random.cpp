#include "lab/network/random.h"

namespace norvad::network {

// FNV-1a over the name, on top of the seed.
Random::Random(uint64_t seed, std::string_view subject) : state(0xCBF29CE484222325 ^ seed) {
    for (const char letter : subject) {
        state ^= static_cast<uint8_t>(letter);
        state *= 0x100000001B3;
    }
    (void)Next();
}

// SplitMix64: a counter whose steps are mixed until every bit depends on every other.
uint64_t Random::Next() {
    state += 0x9E3779B97F4A7C15;
    uint64_t mixed = state;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
    return mixed ^ (mixed >> 31);
}

// What a remainder prefers is less than one part in 2^64 / range.
uint64_t Random::Below(uint64_t range) {
    return Next() % range;
}

bool Random::Happens(uint32_t perMillion) {
    return Below(1'000'000) < perMillion;
}

int32_t Random::Step() {
    constexpr int32_t steps[] = {-1, 0, 0, 1};
    return steps[Next() >> 62];
}

}  // namespace norvad::network
