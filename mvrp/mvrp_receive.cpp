// How a neighbour's MRPDU is read.

#include "base/log.h"
#include "mvrp/mvrp_handler.h"
#include "switch/cpu_tag.h"

namespace norvad {

void MVRPHandler::HandleFrame(std::span<const uint8_t> received, uint16_t) {
    const auto header = Peek<TaggedHeader>(received);
    const auto port = TaggedPort(received);
    if (!header || !port || *port >= PortCount() || header->destination != mvrpGroupAddress) return;
    currentPort = *port;
    auto payload = received.subspan(taggedHeaderSize);
    if (!payload.empty()) ReadMessages(payload[0], payload.subspan(1));
}

// A message has no length of its own and is taken for one vector. One of several vectors, such as this bridge sends
// too, is read whole; what the walk then finds in the middle of it is rarely a message, and never behind the frame.
void MVRPHandler::ReadMessages(uint8_t protocolVersion, std::span<const uint8_t> messages) {
    while (!messages.empty() && messages[0] != 0) {
        const auto header = Peek<MrpShortMessageHeader>(messages);
        if (header && header->attributeLength == 0) return;
        if (!header || messages.size() < MvrpMessageSize(header->attributeLength)) {
            log(LogCategory::MVRP, 0, "[SW-MVRP] MVRP msg: sync is lost\n");
            return;
        }
        // A later version of the protocol may have types that are not known here.
        if (!ReadMessage(*header, messages) && protocolVersion == mrpProtocolVersion) return;
        messages = messages.subspan(MvrpMessageSize(header->attributeLength));
    }
}

// False for an attribute type that is not known.
bool MVRPHandler::ReadMessage(const MrpShortMessageHeader& header, std::span<const uint8_t> message) {
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

void MVRPHandler::ReadVlans(std::span<const uint8_t> message) {
    AttributeGetter vector(message, MessageLayout::WithoutListLength, false);
    auto header = vector.GetNext();
    if (header && (header->value & mrpLeaveAllEvent) != 0) {
        log(LogCategory::MVRP, 1, "[SW-MVRP] REGISTER_VLAN leave all on port %d\n", currentPort);
        ApplyToType(currentPort, Vlan::attributeType, Event::RLA);
    }
    log(LogCategory::MVRP, 2, "[SW-MVRP] REGISTER_VLAN on port %d\n", currentPort);
    for (; header; header = vector.GetNext()) {
        auto value = *Peek<VlanFirstValue>(vector.FirstValue());
        for (uint16_t i = 0; i < vector.NumberOfValues(); ++i, ++value.vid) {
            log(LogCategory::MVRP, 2, "[SW-MVRP] REGISTER_VLAN getting attr event %d\n", i);
            AddVlan(value.vid, ReceiveEvent(vector.ThreePackedEvent(i)), currentPort);
        }
    }
}

}  // namespace norvad
