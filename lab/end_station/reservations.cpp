#include "lab/end_station/reservations.h"

#include <fmt/format.h>

#include <array>
#include <string>
#include <utility>

#include "base/wire.h"
#include "lab/end_station/text.h"

namespace norvad::station {

namespace {

constexpr uint16_t srVid = 2;
const std::array<DomainFirstValue, 2> domains{{{6, 3, srVid}, {5, 2, srVid}}};

template <WireRecord Record>
MrpValue ValueOf(uint8_t type, const Record& record, ListenerDeclaration declaration = ListenerDeclaration::IGNORE) {
    const auto bytes = BytesOf(record);
    return {type, Bytes(bytes.begin(), bytes.end()), declaration};
}

// A value's first value is always as long as its type asks.
template <WireRecord Record>
Record FirstValue(const MrpValue& value) {
    return Peek<Record>(value.firstValue).value_or(Record{});
}

TalkerFirstValue FirstValueOf(const TalkerSettings& talker) {
    constexpr uint8_t ordinaryRank = 0x10;
    TalkerFirstValue value{};
    value.streamId = talker.id;
    value.destination = talker.destination;
    value.vid = talker.tag.vid;
    value.maxFrameSize = talker.maxFrameSize;
    value.maxIntervalFrames = talker.intervalFrames;
    value.priorityAndRank = static_cast<uint8_t>(talker.tag.priority << 5 | ordinaryRank);
    return value;
}

std::string DomainText(const DomainFirstValue& domain) {
    return fmt::format("domain class {} priority {} vid {}", domain.srClassId, domain.srClassPriority,
                       domain.srClassVid.value());
}

// What reads alike of a stream's own declaration and of one from the neighbour.
std::string TalkerText(const TalkerFirstValue& talker) {
    return fmt::format("latency {} ns vid {} priority {} destination {} max-frame-size {} interval-frames {}",
                       talker.accumulatedLatency.value(), talker.vid.value(), talker.DataFramePriority(),
                       HexText(talker.destination), talker.maxFrameSize.value(), talker.maxIntervalFrames.value());
}

std::string FailedText(const TalkerFailedFirstValue& failed) {
    return fmt::format("talker failed {} code {} ({}) bridge {}", HexText(failed.talker.streamId), failed.failureCode,
                       FailureText(failed.failureCode), HexText(failed.bridgeId));
}

std::string ListenerText(const StreamID& id, ListenerDeclaration declaration) {
    return fmt::format("listener {} {}", HexText(id), DeclarationText(declaration));
}

MrpValue ValueOf(const ListenerSettings& listener) {
    return ValueOf(LISTENER_VECTOR, ListenerFirstValue{listener.id}, listener.declaration);
}

std::string WithdrawnText(const MrpValue& value) {
    if (value.type == DOMAIN) return DomainText(FirstValue<DomainFirstValue>(value)) + " withdrawn";
    const auto id = HexText(FirstValue<ListenerFirstValue>(value).streamId);
    if (value.type == TALKER_ADVERTISE) return "talker " + id + " withdrawn";
    if (value.type == TALKER_FAILED) return "talker failed " + id + " withdrawn";
    return "listener " + id + " withdrawn";
}

}  // namespace

Reservations::Reservations(const Clock& clock, uint32_t seed, MrpParticipant::Send send, EventLog log)
    : log(std::move(log)), participant(msrpApplication, clock, seed, std::move(send), *this) {}

void Reservations::DeclareDomains() {
    for (const auto& domain : domains) {
        participant.Declare(ValueOf(DOMAIN, domain));
        log("declares " + DomainText(domain));
    }
}

void Reservations::Declare(const TalkerSettings& talker) {
    const auto value = FirstValueOf(talker);
    participant.Declare(ValueOf(TALKER_ADVERTISE, value));
    log(fmt::format("declares talker {} {}", HexText(talker.id), TalkerText(value)));
}

void Reservations::Declare(const ListenerSettings& listener) {
    participant.Declare(ValueOf(listener));
    log("declares " + ListenerText(listener.id, listener.declaration));
}

void Reservations::Withdraw(const TalkerSettings& talker) {
    participant.Withdraw(ValueOf(TALKER_ADVERTISE, FirstValueOf(talker)));
    log("withdraws talker " + HexText(talker.id));
}

void Reservations::Withdraw(const ListenerSettings& listener) {
    participant.Withdraw(ValueOf(listener));
    log("withdraws listener " + HexText(listener.id));
}

void Reservations::WithdrawAll() {
    participant.WithdrawAll();
    log("withdraws everything");
}

bool Reservations::HasReadyListener(const StreamID& id) const {
    return readyListeners.contains(id);
}

std::optional<VlanTag> Reservations::TagOf(const StreamID& id) const {
    const auto found = talkers.find(id);
    if (found == talkers.end()) return {};
    return found->second.tag;
}

std::optional<uint32_t> Reservations::PromisedLatencyNs(const StreamID& id) const {
    const auto found = talkers.find(id);
    if (found == talkers.end()) return {};
    return found->second.latencyNs;
}

void Reservations::Registered(const MrpValue& value) {
    if (value.type == DOMAIN) return log(DomainText(FirstValue<DomainFirstValue>(value)) + " registered");
    if (value.type == LISTENER_VECTOR) {
        return ListenerRegistered(FirstValue<ListenerFirstValue>(value).streamId, value.declaration);
    }
    if (value.type == TALKER_FAILED) return log(FailedText(FirstValue<TalkerFailedFirstValue>(value)));

    const auto talker = FirstValue<TalkerFirstValue>(value);
    const VlanTag tag{talker.vid, talker.DataFramePriority()};
    talkers.insert_or_assign(talker.streamId, RegisteredTalker{tag, talker.accumulatedLatency});
    log(fmt::format("talker {} registered {}", HexText(talker.streamId), TalkerText(talker)));
}

void Reservations::ListenerRegistered(const StreamID& id, ListenerDeclaration declaration) {
    if (declaration == ListenerDeclaration::READY || declaration == ListenerDeclaration::READY_FAILED) {
        readyListeners.insert(id);
    } else {
        readyListeners.erase(id);
    }
    log(ListenerText(id, declaration));
}

void Reservations::Withdrawn(const MrpValue& value) {
    const auto id = FirstValue<ListenerFirstValue>(value).streamId;
    if (value.type == LISTENER_VECTOR) readyListeners.erase(id);
    if (value.type == TALKER_ADVERTISE) talkers.erase(id);
    log(WithdrawnText(value));
}

}  // namespace norvad::station
