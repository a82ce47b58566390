#pragma once

#include <cstdint>
#include <unordered_map>

#include "mrp/mrp.h"
#include "msrp/msrp_attributes.h"
#include "msrp/stream_index.h"

namespace norvad {

// The talkers, failed talkers, listeners and SR-class domains of every port, found by key at a cost that does not
// depend on how many there are. A port beyond the table throws std::out_of_range.
class MSRPDB : public MRP {
public:
    // How many values of one type a neighbour gets records for on a port; what it declares beyond is not carried.
    static constexpr uint32_t maxReceived = 16'384;

    MSRPDB(TimerService& timers, uint8_t portCount);

    // Says that an event about the stream comes next.
    void ExpectStream(const StreamID& id) const { streams.Expect(id); }

    // The record on a port, or null. The pointer is valid until the record is removed.
    StreamEntry* FindStream(const StreamID& id) { return streams.Find(id); }
    Talker* FindTalker(const StreamID& id, uint8_t port);
    TalkerFailed* FindTalkerFailed(const StreamID& id, uint8_t port);
    Listener* FindListener(const StreamID& id, uint8_t port);
    Domain* FindDomain(const DomainFirstValue& value, uint8_t port);

    // Feeds an event about a value to its record on the port. An unknown value gets a record only by an event that
    // declares it and, from a neighbour, only while there are fewer than maxReceived; any other is dropped. A talker
    // from the wire gets this bridge's latency added when it is registered, not when it is refreshed. Always true: a
    // dropped event is no failure.
    bool AddTalker(const TalkerFirstValue& value, Event event, uint8_t port);
    bool AddTalkerFailed(const TalkerFailedFirstValue& value, Event event, uint8_t port);
    bool AddListener(const StreamID& id, ListenerDeclaration declaration, Event event, uint8_t port);
    bool AddDomain(const DomainFirstValue& value, Event event, uint8_t port);

    // Puts a new record, which must not be there yet, at the end of the port's list.
    Talker& InsertTalker(const TalkerFirstValue& value, uint8_t port);
    TalkerFailed& InsertTalkerFailed(const TalkerFailedFirstValue& value, uint8_t port);
    Listener& InsertListener(const StreamID& id, uint8_t port);
    Domain& InsertDomain(const DomainFirstValue& value, uint8_t port);

protected:
    // Logs the removal and forgets the record; a type that is not MSRP's is only logged.
    void DeleteAttribute(MRPAttribute& attribute) override;

private:
    template <typename Record, typename Value>
    Record& InsertOfStream(const Value& value, uint8_t port);
    void Forget(StreamAttribute& record);

    StreamIndex streams;
    std::unordered_map<uint64_t, Domain*> domains;  // by port and value
};

}  // namespace norvad
