#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "base/ethertypes.h"
#include "base/mac_address.h"
#include "mrp/mrp_types.h"
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

using Bytes = std::vector<uint8_t>;

// One attribute value as it travels.
struct MrpValue {
    uint8_t type = 0;
    Bytes firstValue;
    ListenerDeclaration declaration = ListenerDeclaration::IGNORE;  // where the type is four-packed
};

// Takes what a PDU says, in its order.
class MrpReceiver {
public:
    virtual ~MrpReceiver() = default;
    virtual void ReceiveLeaveAll(uint8_t type) = 0;
    virtual void ReceiveValue(const MrpValue& value, AttributeEvent event) = 0;
};

// Reads one PDU, which starts at the protocol version. Values in front of a malformed message still count; false
// when there was one. Types that the application lacks are stepped over where the layout tells their length.
bool ReadMrpPdu(const MrpApplication& application, std::span<const uint8_t> pdu, MrpReceiver& receiver);

// Builds one PDU, each value a vector of its own. Values come in the order of their types.
class MrpPduWriter {
public:
    explicit MrpPduWriter(const MrpApplication& application);

    // False, and nothing written, when the PDU is full.
    bool AddValue(const MrpValue& value, AttributeEvent event, bool leaveAll);
    bool AddLeaveAll(const AttributeShape& shape);  // a vector without values

    bool IsEmpty() const { return length == 1; }
    std::span<const uint8_t> Finish();  // valid until Restart
    void Restart();                     // an empty PDU again

private:
    bool BeginVector(const AttributeShape& shape, uint16_t header, size_t vectorLength);
    void EndMessage();
    void Append(std::span<const uint8_t> bytes);

    static constexpr size_t capacity = 1400;

    const MrpApplication& application;
    std::array<uint8_t, 1500> buffer{};
    size_t length = 1;  // the protocol version is written
    size_t messageStart = 0;
    const AttributeShape* open = nullptr;  // the message being written
};

}  // namespace norvad::station
