#include "mvrp/mvrp_receiver.h"

#include "base/log.h"
#include "base/wire.h"

namespace norvad {

namespace {

// What a received message of one attribute length is taken to occupy: one vector of at most three values.
constexpr size_t MessageSize(uint8_t attributeLength) {
    constexpr size_t threePackedEvents = 1;
    return sizeof(MrpShortMessageHeader) + sizeof(MrpVectorHeader) + attributeLength + threePackedEvents +
           mrpEndMarkSize;
}

}  // namespace

// A message has no length of its own and is taken for one vector. One of several vectors, such as this bridge sends
// too, is read whole; what the walk then finds in the middle of it is rarely a message, and never behind the frame.
void MVRPReceiver::Receive(const ReceivedBytes& pdu) {
    if (pdu.bytes.empty()) return;
    const uint8_t protocolVersion = pdu.bytes[0];
    auto messages = pdu.bytes.subspan(sizeof(protocolVersion));
    while (!messages.empty() && messages[0] != 0) {
        const auto header = Peek<MrpShortMessageHeader>(messages);
        if (header && header->attributeLength == 0) return;
        if (!header || messages.size() < MessageSize(header->attributeLength)) {
            log(LogCategory::MVRP, 0, "[SW-MVRP] MVRP msg: sync is lost\n");
            return;
        }
        // A later version of the protocol may have types that are not known here.
        if (!ReadMessage(*header, {pdu.port, messages}) && protocolVersion == mrpProtocolVersion) return;
        messages = messages.subspan(MessageSize(header->attributeLength));
    }
}

// The message reaches to the end of what arrived. False for an attribute type that is not known.
bool MVRPReceiver::ReadMessage(const MrpShortMessageHeader& header, const ReceivedBytes& message) {
    if (header.attributeType != REGISTER_VLAN) {
        log(LogCategory::MVRP, 0, "[SW-MVRP] unsupported attribute type %d\n", header.attributeType);
        return false;
    }
    if (header.attributeLength == sizeof(VlanFirstValue)) {
        ReadVlans(message);
    } else {
        log(LogCategory::MVRP, 0, "[SW-MVRP] REGISTER_VLAN illegal attribute_length %d\n", header.attributeLength);
    }
    return true;
}

void MVRPReceiver::ReadVlans(const ReceivedBytes& message) {
    AttributeGetter vector(message.bytes, MessageLayout::WithoutListLength, false);
    auto header = vector.GetNext();
    if (header && (header->value & mrpLeaveAllEvent) != 0) {
        log(LogCategory::MVRP, 1, "[SW-MVRP] REGISTER_VLAN leave all on port %d\n", message.port);
        database.ApplyToType(message.port, Vlan::attributeType, Event::RLA);
    }
    log(LogCategory::MVRP, 2, "[SW-MVRP] REGISTER_VLAN on port %d\n", message.port);
    for (; header; header = vector.GetNext()) {
        auto value = *Peek<VlanFirstValue>(vector.FirstValue());
        for (uint16_t i = 0; i < vector.NumberOfValues(); ++i, ++value.vid) {
            log(LogCategory::MVRP, 2, "[SW-MVRP] REGISTER_VLAN getting attr event %d\n", i);
            database.AddVlan(value.vid, ReceiveEvent(vector.ThreePackedEvent(i)), message.port);
        }
    }
}

}  // namespace norvad
