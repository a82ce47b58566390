#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "base/wire.h"
#include "mrp/mrp_attribute.h"
#include "msrp/msrp_wire.h"

namespace norvad {

class StreamEntry;

// The stream id as operators know it: the talker's address, a colon, the unique id.
std::string StreamIdText(const StreamID& id);

// The failure code in words; " Unknown" for one without a meaning.
const char* FailureText(uint8_t failureCode);

// A record that belongs to a stream. The records of one stream on all ports find one another through its entry.
class StreamAttribute : public MRPAttribute {
public:
    using MRPAttribute::MRPAttribute;
    virtual const StreamID& Id() const = 0;

    StreamEntry* stream = nullptr;  // set while the record is listed
};

// A stream that is offered. The latency of a value from the wire already includes this bridge.
class Talker final : public StreamAttribute {
public:
    Talker(const TalkerFirstValue& value, uint8_t port) : StreamAttribute(TALKER_ADVERTISE, port), value(value) {}

    std::span<const uint8_t> FirstValue() const override { return BytesOf(value); }
    std::string Text() const override;
    const StreamID& Id() const override { return value.streamId; }

    TalkerFirstValue value;
};

// A stream that is offered but cannot be had, and why.
class TalkerFailed final : public StreamAttribute {
public:
    TalkerFailed(const TalkerFailedFirstValue& value, uint8_t port)
        : StreamAttribute(TALKER_FAILED, port), value(value) {}

    std::span<const uint8_t> FirstValue() const override { return BytesOf(value); }
    std::string Text() const override;
    const StreamID& Id() const override { return value.talker.streamId; }

    TalkerFailedFirstValue value;
};

// What a listener holds of the switch on the port where it is registered.
struct Reservation {
    bool active = false;
    uint16_t vid = 0;
    uint32_t bandwidth = 0;  // in the unit of the egress limit
    MacAddress destination{};
};

// A stream that is asked for. A neighbour may echo what this bridge declares to it, so what is registered and what
// is declared on the port are kept apart.
class Listener final : public StreamAttribute {
public:
    Listener(const StreamID& streamId, uint8_t port) : StreamAttribute(LISTENER_VECTOR, port), streamId(streamId) {}

    std::span<const uint8_t> FirstValue() const override { return streamId; }
    std::optional<uint8_t> FourPackedEvent() const override { return static_cast<uint8_t>(Declared()); }
    std::string Text() const override;  // with what is registered, or else with what is declared
    const StreamID& Id() const override { return streamId; }

    // READY and READY_FAILED: some listener behind this port receives the stream.
    bool IsReady() const {
        return registeredDeclaration == ListenerDeclaration::READY ||
               registeredDeclaration == ListenerDeclaration::READY_FAILED;
    }

    const StreamID streamId;
    ListenerDeclaration registeredDeclaration = ListenerDeclaration::IGNORE;  // what the neighbour declares
    ListenerDeclaration propagatedDeclaration = ListenerDeclaration::IGNORE;  // what this bridge declares
    Reservation reservation;

private:
    ListenerDeclaration Declared() const;
};

// An SR class and the priority and VLAN that its streams use.
class Domain final : public MRPAttribute {
public:
    Domain(const DomainFirstValue& value, uint8_t port) : MRPAttribute(DOMAIN, port), value(value) {}

    std::span<const uint8_t> FirstValue() const override { return BytesOf(value); }
    std::string Text() const override;

    const DomainFirstValue value;
};

}  // namespace norvad
