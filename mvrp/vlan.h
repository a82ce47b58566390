#pragma once

#include <boost/endian/arithmetic.hpp>
#include <cstdint>
#include <span>
#include <string>

#include "base/mac_address.h"
#include "base/wire.h"
#include "mrp/mrp_attribute.h"

namespace norvad {

// MVRP as it travels, IEEE 802.1Q, 11.2.3.

inline constexpr MacAddress mvrpGroupAddress = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x21};

inline constexpr uint8_t REGISTER_VLAN = 1;  // the only attribute type

struct VlanFirstValue {
    boost::endian::big_uint16_t vid;
};
static_assert(sizeof(VlanFirstValue) == 2 && alignof(VlanFirstValue) == 1);

// A VLAN on one port: registered by the neighbour, declared to it, or both.
class Vlan final : public MRPAttribute {
public:
    static constexpr uint8_t attributeType = 5;  // in the engine's lists; REGISTER_VLAN on the wire

    Vlan(uint16_t vid, uint8_t port) : MRPAttribute(attributeType, port), value{vid} {}

    uint16_t Vid() const { return value.vid; }
    std::span<const uint8_t> FirstValue() const override { return BytesOf(value); }
    std::string Text() const override { return "[MVRP] Vlan:" + std::to_string(Vid()); }

private:
    const VlanFirstValue value;
};

}  // namespace norvad
