#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "lab/end_station/mrp_application.h"
#include "mrp/mrp_types.h"

namespace norvad::station {

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
