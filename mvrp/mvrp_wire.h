#pragma once

#include <boost/endian/arithmetic.hpp>
#include <cstddef>
#include <cstdint>

#include "base/mac_address.h"
#include "mrp/mrp_wire.h"

namespace norvad {

// MVRP as it travels, IEEE 802.1Q, 11.2.3.

inline constexpr MacAddress mvrpGroupAddress = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x21};

inline constexpr uint8_t REGISTER_VLAN = 1;  // the only attribute type

struct VlanFirstValue {
    boost::endian::big_uint16_t vid;
};
static_assert(sizeof(VlanFirstValue) == 2 && alignof(VlanFirstValue) == 1);

// What a received message of one attribute length is taken to occupy: one vector of at most three values.
constexpr size_t MvrpMessageSize(uint8_t attributeLength) {
    constexpr size_t threePackedEvents = 1;
    return sizeof(MrpShortMessageHeader) + sizeof(MrpVectorHeader) + attributeLength + threePackedEvents +
           mrpEndMarkSize;
}

}  // namespace norvad
