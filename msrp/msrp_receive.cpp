// How a neighbour's MRPDU is read.

#include <algorithm>
#include <array>

#include "base/log.h"
#include "msrp/msrp_dump.h"
#include "msrp/msrp_handler.h"
#include "msrp/path_filter.h"
#include "switch/cpu_tag.h"
#include "switch/i4_dsa_socket.h"

namespace norvad {

// What the messages of one attribute type have in common.
struct MessageKind {
    uint8_t type;
    uint8_t firstValueLength;
    const char* illegalLength;
    const char* leaveAll;
    const char* onPort;
    const char* gettingEvents;
};

namespace {

constexpr MessageKind talkerMessage = {
    TALKER_ADVERTISE,
    sizeof(TalkerFirstValue),
    "[SW-MSRP] TALKER_ADVERTISE illegal attribute_length %d\n",
    "[SW-MSRP] TALKER_ADVERTISE leave all on port %d\n",
    "[SW-MSRP] TALKER_ADVERTISE on port %d\n",
    "[SW-MSRP] TALKER_ADVERTISE getting attr events %d\n",
};
constexpr MessageKind talkerFailedMessage = {
    TALKER_FAILED,
    sizeof(TalkerFailedFirstValue),
    "[SW-MSRP] TALKER_FAILED illegal attribute_length %d\n",
    "[SW-MSRP] TALKER_FAILED leave all on port %d\n",
    "[SW-MSRP] TALKER_FAILED on port %d\n",
    "[SW-MSRP] TALKER_FAILED getting attr events %d\n",
};
constexpr MessageKind listenerMessage = {
    LISTENER_VECTOR,
    sizeof(ListenerFirstValue),
    "[SW-MSRP] LISTENER_VECTOR illegal attribute_length %d\n",
    "[SW-MSRP] LISTENER_VECTOR leave all on port %d \n",
    "[SW-MSRP] LISTENER_VECTOR on port %d\n",
    "[SW-MSRP] LISTENER_VECTOR getting attr events %d\n",
};
constexpr MessageKind domainMessage = {
    DOMAIN,
    sizeof(DomainFirstValue),
    "[SW-MSRP] DOMAIN illegal attribute_length %d\n",
    "[SW-MSRP] DOMAIN leave all on port %d\n",
    "[SW-MSRP] DOMAIN on port %d\n",
    "[SW-MSRP] DOMAIN getting attr events %d\n",
};

// Counts up the last two bytes, which wrap on their own.
template <size_t size>
void Increment(std::array<uint8_t, size>& bytes) {
    if (++bytes[size - 1] == 0) ++bytes[size - 2];
}

// The next value of a vector.
void Advance(TalkerFirstValue& value) {
    Increment(value.streamId);
    Increment(value.destination);
}
void Advance(TalkerFailedFirstValue& value) {
    Advance(value.talker);
}
void Advance(ListenerFirstValue& value) {
    Increment(value.streamId);
}
void Advance(DomainFirstValue& value) {
    ++value.srClassId;
    ++value.srClassPriority;
}

Event ReceivedEvent(const AttributeGetter& vector, uint16_t index) {
    return ReceiveEvent(vector.ThreePackedEvent(index));
}

void Dump(uint8_t port, const TalkerFirstValue& value, const AttributeGetter& vector) {
    DumpTalker(port, value, vector.ThreePackedEvent(0));
}
void Dump(uint8_t port, const TalkerFailedFirstValue& value, const AttributeGetter& vector) {
    DumpTalkerFailed(port, value, vector.ThreePackedEvent(0));
}
void Dump(uint8_t port, const ListenerFirstValue& value, const AttributeGetter& vector) {
    DumpListener(port, value, vector.ThreePackedEvent(0), vector.FourPackedEvent(0));
}
void Dump(uint8_t, const DomainFirstValue&, const AttributeGetter&) {}

bool NamesAddress(const StreamID& id, const MacAddress& address) {
    return std::equal(address.begin(), address.end(), id.begin());
}

}  // namespace

void MSRPHandler::HandleFrame(std::span<const uint8_t> received, uint16_t) {
    const auto port = TaggedPort(received);
    if (!port || *port >= PortCount() || received.size() < taggedHeaderSize + 1) return;
    currentPort = *port;
    ReadMessages(received.subspan(taggedHeaderSize + 1));  // behind the protocol version
}

void MSRPHandler::ReadMessages(std::span<const uint8_t> messages) {
    while (const auto header = Peek<MrpMessageHeader>(messages)) {
        if (header->attributeType == 0 || header->attributeLength == 0) return;
        if (!ReadMessage(*header, messages)) return;
        const size_t length = sizeof(MrpMessageHeader) + header->attributeListLength;
        if (messages.size() <= length) return;
        messages = messages.subspan(length);
    }
}

// False when the rest of the PDU cannot be understood.
bool MSRPHandler::ReadMessage(const MrpMessageHeader& header, std::span<const uint8_t> message) {
    switch (header.attributeType) {
        case TALKER_ADVERTISE:
            ReadVectors<TalkerFirstValue>(talkerMessage, message, [this](auto& value, auto& vector, uint16_t i) {
                ReadTalker(value, ReceivedEvent(vector, i));
            });
            return true;
        case TALKER_FAILED:
            ReadVectors<TalkerFailedFirstValue>(
                talkerFailedMessage, message,
                [this](auto& value, auto& vector, uint16_t i) { ReadTalkerFailed(value, ReceivedEvent(vector, i)); });
            return true;
        case LISTENER_VECTOR:
            ReadVectors<ListenerFirstValue>(listenerMessage, message, [this](auto& value, auto& vector, uint16_t i) {
                const auto declaration = static_cast<ListenerDeclaration>(vector.FourPackedEvent(i));
                ReadListener(value, declaration, ReceivedEvent(vector, i));
            });
            return true;
        case DOMAIN:
            ReadVectors<DomainFirstValue>(domainMessage, message, [this](auto& value, auto& vector, uint16_t i) {
                AddDomain(value, ReceivedEvent(vector, i), currentPort);
            });
            return true;
        default:
            log(LogCategory::MSRP, 0, "[SW-MSRP] unsupported attribute type %d\n", header.attributeType);
            return false;
    }
}

// step(value, vector, index) is called for each value, in the order in which they arrived.
template <typename FirstValue, typename Step>
void MSRPHandler::ReadVectors(const MessageKind& kind, std::span<const uint8_t> message, Step step) {
    const uint8_t attributeLength = message[1];
    if (attributeLength != kind.firstValueLength) {
        log(LogCategory::MSRP, 0, kind.illegalLength, attributeLength);
        return;
    }
    AttributeGetter vector(message, MessageLayout::WithListLength, kind.type == LISTENER_VECTOR);
    auto header = vector.GetNext();
    if (header && (header->value & mrpLeaveAllEvent) != 0) {
        log(LogCategory::MSRP, 2, kind.leaveAll, currentPort);
        ApplyToType(currentPort, kind.type, Event::RLA);
    }
    log(LogCategory::MSRP, 1, kind.onPort, currentPort);
    for (; header; header = vector.GetNext()) {
        auto value = *Peek<FirstValue>(vector.FirstValue());
        if (vector.NumberOfValues() > 0 && IsLogged(LogCategory::MSRP, 3)) Dump(currentPort, value, vector);
        for (uint16_t i = 0; i < vector.NumberOfValues(); ++i, Advance(value)) {
            log(LogCategory::MSRP, 2, kind.gettingEvents, i);
            step(value, vector, i);
        }
    }
}

// The switch's own streams come back only where a neighbour mirrors them.
void MSRPHandler::ReadTalker(const TalkerFirstValue& value, Event event) {
    if (!IsLocalPort(currentPort) && NamesAddress(value.streamId, macAddress)) {
        if (!IsLogged(LogCategory::MSRP, 2)) return;
        log(LogCategory::MSRP, 2, "[SW-MSRP] Talker for local stream %s on external port %d\n",
            StreamIdText(value.streamId).c_str(), currentPort);
        return;
    }
    AddTalker(value, event, currentPort);
}

void MSRPHandler::ReadTalkerFailed(const TalkerFailedFirstValue& value, Event event) {
    if (!IsLocalPort(currentPort) && NamesAddress(value.talker.streamId, macAddress)) {
        log(LogCategory::MSRP, 2, "[SW-MSRP] Talker failed for local stream on external port\n");
        return;
    }
    AddTalkerFailed(value, event, currentPort);
}

void MSRPHandler::ReadListener(const ListenerFirstValue& value, ListenerDeclaration declaration, Event event) {
    if (declaration == ListenerDeclaration::IGNORE) return;
    if (currentPort == cpuPort && NamesAddress(value.streamId, macAddress)) {
        log(LogCategory::MSRP, 2, "[SW-MSRP] Listener for local stream on local port\n");
        return;
    }
    AddListener(value.streamId, declaration, event, currentPort);
}

}  // namespace norvad
