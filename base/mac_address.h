#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

namespace norvad {

using MacAddress = std::array<uint8_t, 6>;

// The address that stands in the 6 bytes at bytes.
inline MacAddress MacAddressAt(const uint8_t* bytes) {
    MacAddress address;
    std::copy_n(bytes, address.size(), address.begin());
    return address;
}

}  // namespace norvad
