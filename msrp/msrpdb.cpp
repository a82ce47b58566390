#include "msrp/msrpdb.h"

#include <bit>
#include <memory>
#include <utility>

#include "base/log.h"
#include "base/memory.h"

namespace norvad {
namespace {

// What a frame may be held up in this bridge, in ns.
constexpr uint32_t hopLatencyNs = 139264;

TalkerFirstValue WithHopLatency(TalkerFirstValue value) {
    value.accumulatedLatency += hopLatencyNs;
    return value;
}

TalkerFailedFirstValue WithHopLatency(TalkerFailedFirstValue value) {
    value.talker = WithHopLatency(value.talker);
    return value;
}

// A record that waits for its removal holds a value of the past; the next registration brings its own.
template <typename Record, typename Value>
void RenewIdle(Record& record, const Value& value, Event event) {
    if (IsCreating(event) && !record.IsRegistered() && !record.IsPropagated()) record.value = WithHopLatency(value);
}

// Whether what the neighbour declares is what this bridge declares to it.
bool IsEcho(const Listener& listener) {
    return listener.IsPropagated() && listener.registeredDeclaration == listener.propagatedDeclaration;
}

void LogAdd(int32_t level, const MRPAttribute& record) {
    if (!IsLogged(LogCategory::MSRP, level)) return;
    log(LogCategory::MSRP, level, "[SW-MSRP] Port(%d) Add:\n     %s \n", record.port, record.Text().c_str());
}

uint64_t DomainKey(const DomainFirstValue& value, uint8_t port) {
    return uint64_t{port} << 32 | std::bit_cast<uint32_t>(value);
}

}  // namespace

MSRPDB::MSRPDB(TimerService& timers, uint8_t portCount) : MRP(timers, portCount), streams(portCount) {}

Talker* MSRPDB::FindTalker(const StreamID& id, uint8_t port) {
    StreamEntry* stream = streams.Find(id);
    return stream ? stream->On(port).talker : nullptr;
}

TalkerFailed* MSRPDB::FindTalkerFailed(const StreamID& id, uint8_t port) {
    StreamEntry* stream = streams.Find(id);
    return stream ? stream->On(port).talkerFailed : nullptr;
}

Listener* MSRPDB::FindListener(const StreamID& id, uint8_t port) {
    StreamEntry* stream = streams.Find(id);
    return stream ? stream->On(port).listener : nullptr;
}

Domain* MSRPDB::FindDomain(const DomainFirstValue& value, uint8_t port) {
    const auto found = domains.find(DomainKey(value, port));
    return found == domains.end() ? nullptr : found->second;
}

bool MSRPDB::AddTalker(const TalkerFirstValue& value, Event event, uint8_t port) {
    StreamEntry* stream = streams.Find(value.streamId);
    const StreamRecords known = stream ? stream->On(port) : StreamRecords{};
    if (!known.talker && !MayIntroduce(event, port, TALKER_ADVERTISE, maxReceived)) return true;

    if (known.talkerFailed) {
        log(LogCategory::MSRP, 1, "[SW-MSRP] Port(%d) Remove Talker failed for talker\n", port);
        RemoveAttribute(*known.talkerFailed);
    }
    if (known.talker) {
        RenewIdle(*known.talker, value, event);
        RunAttributeStateMachines(known.talker, port, event);
        return true;
    }
    Talker& added = InsertTalker(WithHopLatency(value), port);
    Introduced(added, event);
    LogAdd(1, added);
    RunAttributeStateMachines(&added, port, event);
    return true;
}

bool MSRPDB::AddTalkerFailed(const TalkerFailedFirstValue& value, Event event, uint8_t port) {
    if (TalkerFailed* known = FindTalkerFailed(value.talker.streamId, port)) {
        RenewIdle(*known, value, event);
        RunAttributeStateMachines(known, port, event);
        return true;
    }
    if (!MayIntroduce(event, port, TALKER_FAILED, maxReceived)) return true;
    TalkerFailed& added = InsertTalkerFailed(WithHopLatency(value), port);
    Introduced(added, event);
    LogAdd(1, added);
    RunAttributeStateMachines(&added, port, event);
    return true;
}

bool MSRPDB::AddListener(const StreamID& id, ListenerDeclaration declaration, Event event, uint8_t port) {
    Listener* listener = FindListener(id, port);
    if (!listener) {
        if (!MayIntroduce(event, port, LISTENER_VECTOR, maxReceived)) return true;
        listener = &InsertListener(id, port);
        Introduced(*listener, event);
        listener->registeredDeclaration = declaration;
        LogAdd(2, *listener);
    }
    if (std::exchange(listener->registeredDeclaration, declaration) != declaration && !IsEcho(*listener)) {
        log(LogCategory::MSRP, 2, "[SW-MSRP] Port(%d) Listener decl type changed to %s\n", port, Name(declaration));
        RunAttributeStateMachines(listener, port, Event::REPROPAGATE);
    }
    RunAttributeStateMachines(listener, port, event);
    return true;
}

bool MSRPDB::AddDomain(const DomainFirstValue& value, Event event, uint8_t port) {
    Domain* domain = FindDomain(value, port);
    if (!domain) {
        if (!MayIntroduce(event, port, DOMAIN, maxReceived)) return true;
        domain = &InsertDomain(value, port);
        Introduced(*domain, event);
        LogAdd(1, *domain);
    }
    RunAttributeStateMachines(domain, port, event);
    return true;
}

template <typename Record, typename Value>
Record& MSRPDB::InsertOfStream(const Value& value, uint8_t port) {
    auto& record = static_cast<Record&>(Insert(std::make_unique<Record>(value, port)));
    record.stream = &streams.Get(record.Id());
    record.stream->Add(record);
    return record;
}

Talker& MSRPDB::InsertTalker(const TalkerFirstValue& value, uint8_t port) {
    return InsertOfStream<Talker>(value, port);
}

TalkerFailed& MSRPDB::InsertTalkerFailed(const TalkerFailedFirstValue& value, uint8_t port) {
    return InsertOfStream<TalkerFailed>(value, port);
}

Listener& MSRPDB::InsertListener(const StreamID& id, uint8_t port) {
    return InsertOfStream<Listener>(id, port);
}

Domain& MSRPDB::InsertDomain(const DomainFirstValue& value, uint8_t port) {
    auto& record = static_cast<Domain&>(Insert(std::make_unique<Domain>(value, port)));
    domains.emplace(DomainKey(value, port), &record);
    return record;
}

void MSRPDB::DeleteAttribute(MRPAttribute& attribute) {
    if (attribute.type < TALKER_ADVERTISE || attribute.type > DOMAIN) {
        log(LogCategory::MSRP, 0, "DeleteAttribute request for unknown attribute type %d\n", attribute.type);
        return;
    }
    if (IsLogged(LogCategory::MSRP, 1)) {
        log(LogCategory::MSRP, 1, "[SW-MSRP] Port(%d) Remove: %s \n", attribute.port, attribute.Text().c_str());
    }
    if (attribute.type == DOMAIN) {
        domains.erase(DomainKey(static_cast<Domain&>(attribute).value, attribute.port));
        GiveRoomBack(domains);
        return;
    }
    Forget(static_cast<StreamAttribute&>(attribute));
}

void MSRPDB::Forget(StreamAttribute& record) {
    record.stream->Remove(record);
    streams.DropIfEmpty(*record.stream);
    record.stream = nullptr;
}

}  // namespace norvad
