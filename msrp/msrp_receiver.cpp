#include "msrp/msrp_receiver.h"

#include <algorithm>
#include <array>

#include "base/log.h"
#include "base/wire.h"
#include "mrp/received_leave_alls.h"
#include "msrp/msrp_dump.h"
#include "switch/ports.h"

namespace norvad {
namespace {

// Where the values of a PDU go, where they came in, and how many may yet come.
struct Reception {
    MSRPDB& database;
    const MacAddress& switchAddress;
    const uint8_t port;
    size_t valuesLeft;
    ReceivedLeaveAlls leaveAlls{};

    bool IsOwnStream(const StreamID& id) const {
        return std::equal(switchAddress.begin(), switchAddress.end(), id.begin());
    }
};

Event EventOf(const AttributeGetter& vector, uint16_t index) {
    return ReceiveEvent(vector.ThreePackedEvent(index));
}

// Counts up the last two bytes, which wrap on their own.
template <size_t size>
void Increment(std::array<uint8_t, size>& bytes) {
    if (++bytes[size - 1] == 0) ++bytes[size - 2];
}

// What tells the messages of the four attribute types apart: their texts, how a vector's next value follows from the
// one before, how a vector is written out, and what becomes of the value at an index.

struct TalkerMessage {
    using FirstValue = TalkerFirstValue;
    static constexpr uint8_t type = TALKER_ADVERTISE;
    static constexpr const char* illegalLength = "[SW-MSRP] TALKER_ADVERTISE illegal attribute_length %d\n";
    static constexpr const char* leaveAll = "[SW-MSRP] TALKER_ADVERTISE leave all on port %d\n";
    static constexpr const char* onPort = "[SW-MSRP] TALKER_ADVERTISE on port %d\n";
    static constexpr const char* gettingEvents = "[SW-MSRP] TALKER_ADVERTISE getting attr events %d\n";

    static void Advance(FirstValue& value) {
        Increment(value.streamId);
        Increment(value.destination);
    }
    static void Dump(uint8_t port, const FirstValue& value, const AttributeGetter& vector) {
        DumpTalker(port, value, vector.ThreePackedEvent(0));
    }
    // The switch's own streams come back only where a neighbour mirrors them.
    static void Take(const Reception& to, const FirstValue& value, const AttributeGetter& vector, uint16_t index) {
        if (!IsLocalPort(to.port) && to.IsOwnStream(value.streamId)) {
            if (!IsLogged(LogCategory::MSRP, 2)) return;
            log(LogCategory::MSRP, 2, "[SW-MSRP] Talker for local stream %s on external port %d\n",
                StreamIdText(value.streamId).c_str(), to.port);
            return;
        }
        to.database.AddTalker(value, EventOf(vector, index), to.port);
    }
};

struct TalkerFailedMessage {
    using FirstValue = TalkerFailedFirstValue;
    static constexpr uint8_t type = TALKER_FAILED;
    static constexpr const char* illegalLength = "[SW-MSRP] TALKER_FAILED illegal attribute_length %d\n";
    static constexpr const char* leaveAll = "[SW-MSRP] TALKER_FAILED leave all on port %d\n";
    static constexpr const char* onPort = "[SW-MSRP] TALKER_FAILED on port %d\n";
    static constexpr const char* gettingEvents = "[SW-MSRP] TALKER_FAILED getting attr events %d\n";

    static void Advance(FirstValue& value) { TalkerMessage::Advance(value.talker); }
    static void Dump(uint8_t port, const FirstValue& value, const AttributeGetter& vector) {
        DumpTalkerFailed(port, value, vector.ThreePackedEvent(0));
    }
    static void Take(const Reception& to, const FirstValue& value, const AttributeGetter& vector, uint16_t index) {
        if (!IsLocalPort(to.port) && to.IsOwnStream(value.talker.streamId)) {
            log(LogCategory::MSRP, 2, "[SW-MSRP] Talker failed for local stream on external port\n");
            return;
        }
        to.database.AddTalkerFailed(value, EventOf(vector, index), to.port);
    }
};

struct ListenerMessage {
    using FirstValue = ListenerFirstValue;
    static constexpr uint8_t type = LISTENER_VECTOR;
    static constexpr const char* illegalLength = "[SW-MSRP] LISTENER_VECTOR illegal attribute_length %d\n";
    static constexpr const char* leaveAll = "[SW-MSRP] LISTENER_VECTOR leave all on port %d \n";
    static constexpr const char* onPort = "[SW-MSRP] LISTENER_VECTOR on port %d\n";
    static constexpr const char* gettingEvents = "[SW-MSRP] LISTENER_VECTOR getting attr events %d\n";

    static void Advance(FirstValue& value) { Increment(value.streamId); }
    static void Dump(uint8_t port, const FirstValue& value, const AttributeGetter& vector) {
        DumpListener(port, value, vector.ThreePackedEvent(0), vector.FourPackedEvent(0));
    }
    static void Take(const Reception& to, const FirstValue& value, const AttributeGetter& vector, uint16_t index) {
        const auto declaration = static_cast<ListenerDeclaration>(vector.FourPackedEvent(index));
        if (declaration == ListenerDeclaration::IGNORE) return;
        if (to.port == cpuPort && to.IsOwnStream(value.streamId)) {
            log(LogCategory::MSRP, 2, "[SW-MSRP] Listener for local stream on local port\n");
            return;
        }
        to.database.AddListener(value.streamId, declaration, EventOf(vector, index), to.port);
    }
};

struct DomainMessage {
    using FirstValue = DomainFirstValue;
    static constexpr uint8_t type = DOMAIN;
    static constexpr const char* illegalLength = "[SW-MSRP] DOMAIN illegal attribute_length %d\n";
    static constexpr const char* leaveAll = "[SW-MSRP] DOMAIN leave all on port %d\n";
    static constexpr const char* onPort = "[SW-MSRP] DOMAIN on port %d\n";
    static constexpr const char* gettingEvents = "[SW-MSRP] DOMAIN getting attr events %d\n";

    static void Advance(FirstValue& value) {
        ++value.srClassId;
        ++value.srClassPriority;
    }
    static void Dump(uint8_t, const FirstValue&, const AttributeGetter&) {}
    static void Take(const Reception& to, const FirstValue& value, const AttributeGetter& vector, uint16_t index) {
        to.database.AddDomain(value, EventOf(vector, index), to.port);
    }
};

template <typename Message>
void ReadVectors(Reception& to, uint8_t attributeLength, std::span<const uint8_t> message) {
    if (attributeLength != sizeof(typename Message::FirstValue)) {
        log(LogCategory::MSRP, 0, Message::illegalLength, attributeLength);
        return;
    }
    AttributeGetter vector(message, MessageLayout::WithListLength, Message::type == LISTENER_VECTOR);
    if (vector.HasLeaveAllNext()) {
        log(LogCategory::MSRP, 2, Message::leaveAll, to.port);
        to.leaveAlls.Apply(to.database, to.port, Message::type);
    }
    log(LogCategory::MSRP, 1, Message::onPort, to.port);
    while (vector.GetNext()) {
        if (vector.NumberOfValues() > to.valuesLeft) return;
        to.valuesLeft -= vector.NumberOfValues();
        // With thousands of streams the next one is cold, and can be fetched while this one is handled.
        if constexpr (Message::type != DOMAIN) {
            if (const auto next = Peek<StreamID>(vector.NextFirstValue())) to.database.ExpectStream(*next);
        }
        auto value = *Peek<typename Message::FirstValue>(vector.FirstValue());
        if (vector.NumberOfValues() > 0 && IsLogged(LogCategory::MSRP, 3)) Message::Dump(to.port, value, vector);
        for (uint16_t i = 0; i < vector.NumberOfValues(); ++i, Message::Advance(value)) {
            log(LogCategory::MSRP, 2, Message::gettingEvents, i);
            Message::Take(to, value, vector, i);
        }
    }
}

// The message reaches to the end of what arrived. False when the rest of the PDU cannot be understood.
bool ReadMessage(Reception& to, const MrpMessageHeader& header, std::span<const uint8_t> message) {
    switch (header.attributeType) {
        case TALKER_ADVERTISE:
            ReadVectors<TalkerMessage>(to, header.attributeLength, message);
            return true;
        case TALKER_FAILED:
            ReadVectors<TalkerFailedMessage>(to, header.attributeLength, message);
            return true;
        case LISTENER_VECTOR:
            ReadVectors<ListenerMessage>(to, header.attributeLength, message);
            return true;
        case DOMAIN:
            ReadVectors<DomainMessage>(to, header.attributeLength, message);
            return true;
        default:
            log(LogCategory::MSRP, 0, "[SW-MSRP] unsupported attribute type %d\n", header.attributeType);
            return false;
    }
}

}  // namespace

void MSRPReceiver::Receive(const ReceivedBytes& pdu) {
    if (pdu.bytes.empty()) return;
    constexpr size_t valuesInAByte = 3;
    Reception to{database, switchAddress, pdu.port, valuesInAByte * pdu.bytes.size()};
    auto messages = pdu.bytes.subspan(sizeof(mrpProtocolVersion));
    while (const auto header = Peek<MrpMessageHeader>(messages)) {
        if (header->attributeType == 0 || header->attributeLength == 0) return;
        if (!ReadMessage(to, *header, messages)) return;
        const size_t length = sizeof(MrpMessageHeader) + header->attributeListLength;
        if (messages.size() <= length) return;
        messages = messages.subspan(length);
    }
}

}  // namespace norvad
