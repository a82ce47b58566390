#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "base/ethertypes.h"
#include "base/mac_address.h"
#include "msrp/msrp_wire.h"

namespace norvad::station {

// One attribute type of an MRP application.
struct AttributeShape {
    uint8_t type;
    uint8_t length;     // bytes of a first value
    uint8_t keyLength;  // of them the leading ones that tell two attributes apart, 8 at most
    bool fourPacked;    // a listener declaration travels with every value
};

// What the station's MRP participant has to know of the application it serves.
struct MrpApplication {
    uint16_t etherType;
    MacAddress group;
    bool hasListLength;       // messages carry an AttributeListLength
    bool oneValuePerMessage;  // a bridge may read nothing behind a message's first vector
    std::span<const AttributeShape> shapes;

    const AttributeShape* Shape(uint8_t type) const {
        for (const auto& shape : shapes) {
            if (shape.type == type) return &shape;
        }
        return nullptr;
    }
};

inline constexpr uint8_t vlanAttribute = 1;
inline constexpr MacAddress vlanGroupAddress{0x01, 0x80, 0xC2, 0x00, 0x00, 0x21};

inline constexpr std::array<AttributeShape, 4> msrpShapes{{
    {TALKER_ADVERTISE, sizeof(TalkerFirstValue), sizeof(StreamID), false},
    {TALKER_FAILED, sizeof(TalkerFailedFirstValue), sizeof(StreamID), false},
    {LISTENER_VECTOR, sizeof(ListenerFirstValue), sizeof(StreamID), true},
    {DOMAIN, sizeof(DomainFirstValue), sizeof(DomainFirstValue), false},
}};
inline constexpr std::array<AttributeShape, 1> mvrpShapes{{{vlanAttribute, 2, 2, false}}};

inline constexpr MrpApplication msrpApplication{ETHERTYPE_MSRP, msrpGroupAddress, true, false, msrpShapes};
inline constexpr MrpApplication mvrpApplication{ETHERTYPE_MVRP, vlanGroupAddress, false, true, mvrpShapes};

}  // namespace norvad::station
