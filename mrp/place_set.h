#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace norvad {

// Places 0..2^24-1 of a row, as bits in four levels: a bit of a level says that the word of 64 bits below it is not
// empty, so that finding the next place takes a few reads however many there are and however far apart.
class PlaceSet {
public:
    static constexpr uint32_t none = std::numeric_limits<uint32_t>::max();

    bool Contains(uint32_t place) const {
        const Level& places = levels[0];
        const size_t word = place / wordBits;
        return word < places.size() && (places[word] & Bit(place)) != 0;
    }
    bool IsEmpty() const { return levels.back().empty() || levels.back()[0] == 0; }

    // The first place that is not below from, or none.
    uint32_t Next(uint32_t from) const;

    // Puts the place in or takes it out.
    void Set(uint32_t place, bool belongs) {
        if (Contains(place) == belongs) return;
        if (belongs) {
            Insert(place);
        } else {
            Erase(place);
        }
    }

private:
    using Level = std::vector<uint64_t>;
    static constexpr uint32_t wordBits = 64;
    static constexpr uint64_t Bit(uint32_t place) { return uint64_t{1} << place % wordBits; }

    void Insert(uint32_t place);
    void Erase(uint32_t place);

    std::array<Level, 4> levels;
};

}  // namespace norvad
