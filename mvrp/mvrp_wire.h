#pragma once

#include <boost/endian/arithmetic.hpp>
#include <cstdint>

#include "base/mac_address.h"

namespace norvad {

// MVRP as it travels, IEEE 802.1Q, 11.2.3.

inline constexpr MacAddress mvrpGroupAddress = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x21};

inline constexpr uint8_t REGISTER_VLAN = 1;  // the only attribute type

struct VlanFirstValue {
    boost::endian::big_uint16_t vid;
};
static_assert(sizeof(VlanFirstValue) == 2 && alignof(VlanFirstValue) == 1);

}  // namespace norvad
