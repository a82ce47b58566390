#include "lab/end_station/mrp_participant.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace norvad::station {

MrpParticipant::MrpParticipant(const MrpApplication& application, const Clock& clock, uint32_t seed, Send send,
                               RegistrationObserver& observer)
    : application(application), clock(clock), send(std::move(send)), observer(observer), randomState(seed) {
    StartLeaveAllTimer();
}

void MrpParticipant::Declare(const MrpValue& value) {
    declarations.insert_or_assign(KeyOf(value), Declaration{value, Now()});
}

void MrpParticipant::Withdraw(const MrpValue& value) {
    const auto found = declarations.find(KeyOf(value));
    if (found == declarations.end()) return;
    found->second.leaving = true;
    found->second.dueNs = Now();
}

void MrpParticipant::WithdrawAll() {
    for (auto& [key, declaration] : declarations) {
        declaration.leaving = true;
        declaration.dueNs = Now();
    }
}

void MrpParticipant::Receive(std::span<const uint8_t> pdu) {
    (void)ReadMrpPdu(application, pdu, *this);
}

void MrpParticipant::RunDue() {
    EndLeftRegistrations();
    if (IsTransmissionDue()) Transmit();
}

uint64_t MrpParticipant::DueNs() const {
    uint64_t transmitNs = leaveAllDueNs;
    for (const auto& [key, declaration] : declarations) transmitNs = std::min(transmitNs, declaration.dueNs);
    uint64_t dueNs = std::max(transmitNs, nextTransmitNs);
    for (const auto& [key, registration] : registrations) dueNs = std::min(dueNs, registration.endNs);
    return dueNs;
}

void MrpParticipant::ReceiveLeaveAll(uint8_t type) {
    StartLeaveAllTimer();
    LeaveTypeWithin(type, leaveTimeNs);
    for (auto& [key, declaration] : declarations) {
        if (key.first == type) declaration.dueNs = Now();
    }
}

void MrpParticipant::ReceiveValue(const MrpValue& value, AttributeEvent event) {
    switch (event) {
        case AttributeEvent::NEW:
        case AttributeEvent::JOIN:
            Register(value);
            break;
        case AttributeEvent::JOINMT:
            Register(value);
            RepeatDeclaration(value);
            break;
        case AttributeEvent::IN:
            break;
        case AttributeEvent::MT:
            RepeatDeclaration(value);
            break;
        case AttributeEvent::LV:
            LeaveRegistration(value);
            RepeatDeclaration(value);
            break;
    }
}

MrpParticipant::Key MrpParticipant::KeyOf(const MrpValue& value) const {
    uint64_t number = 0;
    const std::span bytes(value.firstValue);
    for (const uint8_t byte : bytes.first(application.Shape(value.type)->keyLength)) number = number << 8 | byte;
    return {value.type, number};
}

void MrpParticipant::Register(const MrpValue& value) {
    EndOtherTalker(value);
    const auto [place, isNew] = registrations.try_emplace(KeyOf(value), Registration{value});
    auto& known = place->second;
    known.endNs = never;
    if (!isNew && known.value.firstValue == value.firstValue && known.value.declaration == value.declaration) return;
    known.value = value;
    observer.Registered(value);
}

// A stream is advertised or failed, never both: the newer word ends the older one (IEEE 802.1Q, 35.2.6).
void MrpParticipant::EndOtherTalker(const MrpValue& value) {
    if (application.etherType != ETHERTYPE_MSRP || value.type > TALKER_FAILED) return;
    auto key = KeyOf(value);
    key.first = value.type == TALKER_ADVERTISE ? TALKER_FAILED : TALKER_ADVERTISE;
    const auto ended = registrations.extract(key);
    if (!ended.empty()) observer.Withdrawn(ended.mapped().value);
}

void MrpParticipant::LeaveRegistration(const MrpValue& value) {
    const auto found = registrations.find(KeyOf(value));
    if (found != registrations.end()) found->second.endNs = std::min(found->second.endNs, Now() + leaveTimeNs);
}

void MrpParticipant::RepeatDeclaration(const MrpValue& value) {
    const auto found = declarations.find(KeyOf(value));
    if (found != declarations.end()) found->second.dueNs = Now();
}

void MrpParticipant::StartLeaveAllTimer() {
    randomState = randomState * 1'664'525 + 1'013'904'223;  // wraps; a plain congruential sequence is enough
    leaveAllDueNs = Now() + leaveAllNs + leaveAllSpreadNs / 65'536 * (randomState >> 16);
}

void MrpParticipant::EndLeftRegistrations() {
    for (auto at = registrations.begin(); at != registrations.end();) {
        const auto current = at++;
        if (current->second.endNs > Now()) continue;
        const MrpValue value = std::move(current->second.value);
        registrations.erase(current);
        observer.Withdrawn(value);
    }
}

void MrpParticipant::LeaveTypeWithin(uint8_t type, uint64_t delayNs) {
    for (auto& [key, registration] : registrations) {
        if (key.first == type) registration.endNs = std::min(registration.endNs, Now() + delayNs);
    }
}

bool MrpParticipant::HasUnsent() const {
    return std::ranges::any_of(declarations, [now = Now()](const auto& entry) { return entry.second.dueNs <= now; });
}

bool MrpParticipant::IsTransmissionDue() const {
    return Now() >= nextTransmitNs && (leaveAllDueNs <= Now() || HasUnsent());
}

void MrpParticipant::Transmit() {
    const uint64_t now = Now();
    const bool leaveAll = leaveAllDueNs <= now;
    MrpPduWriter writer(application);
    for (const auto& shape : application.shapes) TransmitType(shape, leaveAll, writer);
    SendOut(writer);
    nextTransmitNs = now + transmitGapNs;
    if (!leaveAll) return;
    for (const auto& shape : application.shapes) LeaveTypeWithin(shape.type, leaveTimeNs);
    StartLeaveAllTimer();
}

// Declarations that are due within the gap travel along, so that values declared together stay together. A LeaveAll
// rides on the first value and has a vector of its own only where there is none.
void MrpParticipant::TransmitType(const AttributeShape& shape, bool leaveAll, MrpPduWriter& writer) {
    bool leaveAllIsOpen = leaveAll;
    auto at = declarations.lower_bound({shape.type, 0});
    while (at != declarations.end() && at->first.first == shape.type) {
        const auto current = at++;
        if (!leaveAll && current->second.dueNs > Now() + transmitGapNs) continue;
        WriteDeclaration(current->second, leaveAllIsOpen, writer);
        leaveAllIsOpen = false;
        if (current->second.leaving) declarations.erase(current);
    }
    if (!leaveAllIsOpen || writer.AddLeaveAll(shape)) return;
    SendOut(writer);
    (void)writer.AddLeaveAll(shape);
}

void MrpParticipant::WriteDeclaration(Declaration& declaration, bool leaveAll, MrpPduWriter& writer) {
    const AttributeEvent event = EventFor(declaration);
    if (!writer.AddValue(declaration.value, event, leaveAll)) {
        SendOut(writer);
        (void)writer.AddValue(declaration.value, event, leaveAll);
    }
    declaration.dueNs = Now() + (declaration.isNew ? joinTimeNs : redeclareNs);
    declaration.isNew = false;
}

void MrpParticipant::SendOut(MrpPduWriter& writer) const {
    if (writer.IsEmpty()) return;
    send(application, writer.Finish());
    writer.Restart();
}

AttributeEvent MrpParticipant::EventFor(const Declaration& declaration) const {
    if (declaration.leaving) return AttributeEvent::LV;
    if (declaration.isNew) return AttributeEvent::NEW;
    return registrations.contains(KeyOf(declaration.value)) ? AttributeEvent::JOIN : AttributeEvent::JOINMT;
}

}  // namespace norvad::station
