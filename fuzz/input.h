#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "tests/support/bytes.h"

namespace norvad::fuzz {

// What must hold whatever is received; the target dies when it does not.
inline void Require(bool holds) {
    if (!holds) std::abort();
}

// Takes what it is asked for off the front of an input. One that is used up gives zeros and no more bytes.
class Input {
public:
    explicit Input(std::span<const uint8_t> bytes) : rest(bytes) {}

    bool IsEmpty() const { return rest.empty(); }
    uint8_t Byte() {
        if (rest.empty()) return 0;
        const uint8_t byte = rest.front();
        rest = rest.subspan(1);
        return byte;
    }
    uint64_t Number(size_t size) {
        uint64_t number = 0;
        for (size_t byte = 0; byte < size; ++byte) number = number << 8 | Byte();
        return number;
    }
    uint16_t Short() { return static_cast<uint16_t>(Number(2)); }
    test::Bytes Bytes(size_t wanted) {
        const auto taken = rest.first(std::min(wanted, rest.size()));
        rest = rest.subspan(taken.size());
        return test::Copy(taken);
    }

private:
    std::span<const uint8_t> rest;
};

}  // namespace norvad::fuzz
