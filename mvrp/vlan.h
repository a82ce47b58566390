#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "base/wire.h"
#include "mrp/mrp_attribute.h"
#include "mvrp/mvrp_wire.h"

namespace norvad {

// A VLAN on one port: registered by the neighbour, declared to it, or both.
class Vlan final : public MRPAttribute {
public:
    static constexpr uint8_t attributeType = 5;  // in the engine's lists; REGISTER_VLAN on the wire

    Vlan(uint16_t vid, uint8_t port) : MRPAttribute(attributeType, port), value{vid} {}

    uint16_t Vid() const { return value.vid; }
    std::span<const uint8_t> FirstValue() const override { return BytesOf(value); }
    std::string Text() const override;  // "[MVRP] Vlan:100"

private:
    const VlanFirstValue value;
};

}  // namespace norvad
