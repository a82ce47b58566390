#include "mrp/place_set.h"

#include <cassert>

namespace norvad {

// Up to the first level where a word has something at or behind the place, and from there down along the first bits.
uint32_t PlaceSet::Next(uint32_t from) const {
    uint32_t place = from;
    size_t level = 0;
    for (;; ++level) {
        if (level == levels.size()) return none;
        const uint32_t word = place / wordBits;
        const uint64_t rest = word < levels[level].size() ? levels[level][word] & ~(Bit(place) - 1) : 0;
        if (rest != 0) {
            place = word * wordBits + static_cast<uint32_t>(std::countr_zero(rest));
            break;
        }
        place = word + 1;
    }
    for (; level > 0; --level) {
        place = place * wordBits + static_cast<uint32_t>(std::countr_zero(levels[level - 1][place]));
    }
    return place;
}

void PlaceSet::Insert(uint32_t place) {
    assert(place < 1u << 24);
    for (Level& level : levels) {
        const uint32_t word = place / wordBits;
        if (word >= level.size()) level.resize(word + 1);
        const bool wasEmpty = level[word] == 0;
        level[word] |= Bit(place);
        if (!wasEmpty) return;
        place = word;
    }
}

void PlaceSet::Erase(uint32_t place) {
    for (Level& level : levels) {
        const uint32_t word = place / wordBits;
        level[word] &= ~Bit(place);
        if (level[word] != 0) return;
        place = word;
    }
}

}  // namespace norvad
