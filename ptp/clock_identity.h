#pragma once

#include <array>
#include <boost/endian/conversion.hpp>
#include <cstdint>

#include "base/mac_address.h"

namespace norvad {

// The EUI-64 that names a clock, in wire order. Clocks are ranked byte by byte.
using ClockIdentity = std::array<uint8_t, 8>;

// The identity of a clock whose device has this MAC address: its bytes around FF-FE.
constexpr ClockIdentity ClockIdentityOf(const MacAddress& mac) {
    return {mac[0], mac[1], mac[2], 0xFF, 0xFE, mac[3], mac[4], mac[5]};
}

// The identity as a number, its first byte the most significant.
inline uint64_t ClockNumber(const ClockIdentity& identity) {
    return boost::endian::load_big_u64(identity.data());
}

}  // namespace norvad
