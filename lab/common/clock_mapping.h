#pragma once

#include <cstdint>
#include <optional>

namespace norvad::lab {

// Maps the time of one free clock to that of another through pairs of readings taken at the same instants; between
// and behind the last two it goes on at the rate that they show.
class ClockMapping {
public:
    // Two readings of one instant, later than the one before.
    void Sample(int64_t fromNs, int64_t toNs);

    // Nothing before the first sample.
    std::optional<int64_t> Map(int64_t fromNs) const;

private:
    struct Pair {
        int64_t fromNs;
        int64_t toNs;
    };

    std::optional<Pair> latest;
    double rate = 1;  // of the target against the source
};

}  // namespace norvad::lab
