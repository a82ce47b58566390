#include "mvrp/mvrp_receiver.h"

#include <algorithm>

#include "base/log.h"
#include "base/wire.h"

namespace norvad {

namespace {

// What a received message of one attribute length occupies at least: one vector of at most three values.
constexpr size_t LeastMessageSize(uint8_t attributeLength) {
    constexpr size_t threePackedEvents = 1;
    return sizeof(MrpShortMessageHeader) + sizeof(MrpVectorHeader) + attributeLength + threePackedEvents +
           mrpEndMarkSize;
}

}  // namespace

// A message has no length of its own. One whose vectors were read ends where the walk over them did; any other is taken
// for one vector.
void MVRPReceiver::Receive(const ReceivedBytes& pdu) {
    if (pdu.bytes.empty()) return;
    ReceivedLeaveAlls leaveAlls;
    const uint8_t protocolVersion = pdu.bytes[0];
    auto messages = pdu.bytes.subspan(sizeof(protocolVersion));
    while (!messages.empty() && messages[0] != 0) {
        const auto header = Peek<MrpShortMessageHeader>(messages);
        if (header && header->attributeLength == 0) return;
        if (!header || messages.size() < LeastMessageSize(header->attributeLength)) {
            log(LogCategory::MVRP, 0, "[SW-MVRP] MVRP msg: sync is lost\n");
            return;
        }
        size_t bytesRead = 0;
        if (header->attributeType == REGISTER_VLAN) {
            bytesRead = ReadMessage(*header, {pdu.port, messages}, leaveAlls);
        } else {
            log(LogCategory::MVRP, 0, "[SW-MVRP] unsupported attribute type %d\n", header->attributeType);
            // A later version of the protocol may have types that are not known here.
            if (protocolVersion == mrpProtocolVersion) return;
        }
        messages = messages.subspan(std::max(bytesRead, LeastMessageSize(header->attributeLength)));
    }
}

size_t MVRPReceiver::ReadMessage(const MrpShortMessageHeader& header, const ReceivedBytes& message,
                                 ReceivedLeaveAlls& leaveAlls) {
    if (header.attributeLength == sizeof(VlanFirstValue)) return ReadVlans(message, leaveAlls);
    log(LogCategory::MVRP, 0, "[SW-MVRP] REGISTER_VLAN illegal attribute_length %d\n", header.attributeLength);
    return 0;
}

size_t MVRPReceiver::ReadVlans(const ReceivedBytes& message, ReceivedLeaveAlls& leaveAlls) {
    AttributeGetter vector(message.bytes, MessageLayout::WithoutListLength, false);
    if (vector.HasLeaveAllNext()) {
        log(LogCategory::MVRP, 1, "[SW-MVRP] REGISTER_VLAN leave all on port %d\n", message.port);
        leaveAlls.Apply(database, message.port, Vlan::attributeType);
    }
    log(LogCategory::MVRP, 2, "[SW-MVRP] REGISTER_VLAN on port %d\n", message.port);
    bool hasValues = false;
    while (vector.GetNext()) {
        hasValues = hasValues || vector.NumberOfValues() > 0;
        auto value = *Peek<VlanFirstValue>(vector.FirstValue());
        for (uint16_t i = 0; i < vector.NumberOfValues(); ++i, ++value.vid) {
            log(LogCategory::MVRP, 2, "[SW-MVRP] REGISTER_VLAN getting attr event %d\n", i);
            database.AddVlan(value.vid, ReceiveEvent(vector.ThreePackedEvent(i)), message.port);
        }
    }
    return hasValues ? vector.BytesRead() : 0;
}

}  // namespace norvad
