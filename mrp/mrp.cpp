#include "mrp/mrp.h"

#include <utility>

#include "base/log.h"
#include "base/memory.h"
#include "mrp/applicant.h"
#include "mrp/mrpdu.h"
#include "mrp/registrar.h"

namespace norvad {

namespace {

constexpr uint32_t leaveTickMs = 200;

// Of one port at one tick. Whoever takes tens of thousands of values back at once has them removed over some seconds.
constexpr uint32_t removalsPerTick = 4096;

// Fewer records than this are worth less than half a megabyte.
constexpr uint32_t removalsWorthATrim = 1024;

AttributeEvent EventFor(TxAction action, bool registered) {
    switch (action) {
        case TxAction::NEW:
            return AttributeEvent::NEW;
        case TxAction::LEAVE:
            return AttributeEvent::LV;
        case TxAction::IN:
            return registered ? AttributeEvent::IN : AttributeEvent::MT;
        case TxAction::JOIN:
            return registered ? AttributeEvent::JOIN : AttributeEvent::JOINMT;
        case TxAction::TX_LA:
        case TxAction::NONE:
            break;
    }
    return registered ? AttributeEvent::JOIN : AttributeEvent::MT;
}

}  // namespace

MRP::MRP(TimerService& timers, uint8_t portCount)
    : timers(timers),
      ports(portCount),
      portTimers(
          timers, portCount, [this](uint32_t port) { LeaveAllTimerExpired(static_cast<uint8_t>(port)); },
          [this](uint32_t port) { ApplyToPort(static_cast<uint8_t>(port), Event::PERIODIC); }),
      leaveTick(Every(timers, leaveTickMs, 0, [this](uint32_t) { LeaveTimerTick(); })) {}

MRPAttribute& MRP::Insert(std::unique_ptr<MRPAttribute> attribute, bool periodic) {
    attribute->state.periodic = periodic;
    AttributeLists& attributes = ports.at(attribute->port).attributes;
    return attributes.Append(std::move(attribute));
}

bool MRP::MayIntroduce(Event event, uint8_t port, uint8_t type, uint32_t bound) {
    if (!IsCreating(event)) return false;
    PortRecord& record = ports.at(port);
    if (!IsReceived(event) || record.attributes.Received(type) < bound) return true;
    if (record.refusals.IsOver(timers.Monotonic())) {
        log(LogCategory::MRP, 0, "[SW-MRP] Port(%d) refuses attributes of type %d beyond %d\n", port, type,
            static_cast<int>(bound));
    }
    return false;
}

void MRP::Introduced(MRPAttribute& attribute, Event event) {
    if (IsReceived(event)) ports.at(attribute.port).attributes.CountAsReceived(attribute);
}

void MRP::RemoveAttribute(MRPAttribute& attribute) {
    AttributeLists& attributes = ports.at(attribute.port).attributes;
    DeleteAttribute(attribute);
    attributes.Remove(attribute);
    ++removals;
}

void MRP::RunAttributeStateMachines(MRPAttribute* attribute, uint8_t port, Event event) {
    if (IsLogged(LogCategory::MRP, 2)) {
        log(LogCategory::MRP, 2, "[SW-MRP] RunAttributeStateMachines: Event %s\n", Name(event));
    }
    RunLeaveAll(port, event);
    if (ports.at(port).leaveAll.state == LeaveAllState::ACTIVE) RequestTransmit(port);
    if (attribute == nullptr) return;

    RunAttribute(*attribute, event);
    if (HasSomethingToSend(attribute->state.applicant)) RequestTransmit(port);
    if (attribute->state.indication != Event::UNDEFINED) Propagate(*attribute, attribute->state.indication, port);
}

void MRP::ApplyToPort(uint8_t port, Event event) {
    ForEach(port, [&](MRPAttribute& attribute) { RunAttributeStateMachines(&attribute, port, event); });
}

size_t MRP::ApplyToType(uint8_t port, uint8_t type, Event event) {
    size_t reached = 0;
    ForEach(port, type, [&](MRPAttribute& attribute) {
        RunAttributeStateMachines(&attribute, port, event);
        ++reached;
    });
    return reached;
}

void MRP::RequestTransmit(uint8_t port) {
    if (port >= ports.size() || ports[port].transmitTimer.IsRunning()) return;
    PortRecord& record = ports[port];
    const uint32_t delayMs = record.pacing.Request(timers.Monotonic());
    const auto expired = [this](uint32_t argument) { TransmitTimerExpired(static_cast<uint8_t>(argument)); };
    record.transmitTimer = {timers, timers.addTimer(delayMs, expired, port)};
}

bool MRP::TxLeaveAll(uint8_t port) {
    RunLeaveAll(port, Event::TX);
    return ports.at(port).leaveAll.action == TxAction::TX_LA;
}

bool MRP::TxAttribute(MRPAttribute& attribute, uint8_t, bool leaveAll, bool pduFull) {
    if (leaveAll) {
        RunAttribute(attribute, pduFull ? Event::TX_LAF : Event::TX_LA);
    } else if (pduFull) {
        return false;
    } else {
        RunAttribute(attribute, Event::TX);
    }
    return attribute.state.action != TxAction::NONE;
}

AttributeEvent MRP::EventToSend(const MRPAttribute& attribute) {
    const AttributeEvent event = EventFor(attribute.state.action, attribute.state.registrar == RegistrarState::IN);
    log(LogCategory::MRP, 2, "sending attribute %s\n", Name(event));
    return event;
}

size_t MRP::AddMessage(MRPDUWriter& pdu, uint8_t port, uint8_t type, uint8_t typeOnWire, uint8_t firstValueLength,
                       bool leaveAll) {
    size_t values = 0;
    const auto addIfDue = [&](MRPAttribute& attribute) {
        if (!TxAttribute(attribute, port, leaveAll, pdu.IsFull())) return;
        if (values == 0) pdu.BeginMessage(typeOnWire, firstValueLength);
        const bool withLeaveAll = leaveAll && values == 0;
        pdu.AddFirstValue(withLeaveAll, attribute.FirstValue(), EventToSend(attribute), attribute.FourPackedEvent());
        ++values;
    };

    AttributeLists& attributes = ports.at(port).attributes;
    if (leaveAll) {
        attributes.ForEach(type, addIfDue);
    } else {
        attributes.ForEachPending(type, [&](MRPAttribute& attribute) {
            addIfDue(attribute);
            return !pdu.IsFull();
        });
    }

    if (values == 0 && !leaveAll) return 0;
    if (values == 0) {
        pdu.BeginMessage(typeOnWire, firstValueLength);
        pdu.AddLeaveAll(firstValueLength);
    }
    pdu.EndMessage();
    return values;
}

// The first type in the order of asking that found no room is asked first next time. It and those behind it are older
// than those that the wrap-around brings, which have just had their turn.
void MRP::AddMessages(MRPDUWriter& pdu, uint8_t port, std::span<const MessageForm> messages, bool leaveAll,
                      const MessageAdded& added) {
    size_t& firstAsked = ports.at(port).firstAsked;
    const size_t first = std::exchange(firstAsked, 0);
    bool someWait = false;
    size_t wrappedAt = pdu.Length();
    for (size_t asked = 0; asked < messages.size(); ++asked) {
        const size_t place = (first + asked) % messages.size();
        if (place == 0) wrappedAt = pdu.Length();
        const auto [type, firstValueLength] = messages[place];
        const size_t values = AddMessage(pdu, port, type, firstValueLength, leaveAll);
        added(place, values);
        if (someWait || values > 0 || !IsWaiting(port, type, leaveAll)) continue;
        someWait = true;
        firstAsked = place;
    }
    pdu.MoveToFront(wrappedAt);
}

// Of a type without a value in the PDU: whether it had one to send. A LeaveAll leaves what is declared in VP or VN, and
// what is not in LO.
bool MRP::IsWaiting(uint8_t port, uint8_t type, bool leaveAll) {
    bool waiting = false;
    ports.at(port).attributes.ForEachPending(type, [&](const MRPAttribute& attribute) {
        waiting = !leaveAll || attribute.state.applicant != ApplicantState::LO;
        return !waiting;
    });
    return waiting;
}

void MRP::RunLeaveAll(uint8_t port, Event event) {
    if (StepLeaveAll(ports.at(port).leaveAll, event)) portTimers.RestartLeaveAll(port);
}

void MRP::RunAttribute(MRPAttribute& attribute, Event event) {
    MRPAttributeState& state = attribute.state;
    const RegistrarState registrar = StepRegistrar(state, event);
    state.applicant = StepApplicant(state, event);  // sees the registrar as it was before the event
    state.registrar = registrar;
    ports.at(attribute.port).attributes.Refresh(attribute);
}

void MRP::TransmitTimerExpired(uint8_t port) {
    PortRecord& record = ports.at(port);
    record.transmitTimer.Fired();
    TransmitPdu(port);
    if (record.attributes.HasPending()) RequestTransmit(port);
}

void MRP::LeaveAllTimerExpired(uint8_t port) {
    RunAttributeStateMachines(nullptr, port, Event::LEAVEALLTIMER);
}

void MRP::LeaveTimerTick() {
    const uint32_t before = removals;
    for (PortRecord& record : ports) {
        const uint32_t limit = removals + removalsPerTick;
        record.attributes.ForEachTicking(
            [this, limit](MRPAttribute& attribute) { TickAttribute(attribute, removals < limit); });
    }
    if (removals == before && removals >= removalsWorthATrim) TrimMemory();
}

// Left to itself the allocator keeps what a flood of values took, as a few records live on between the freed ones.
void MRP::TrimMemory() {
    removals = 0;
    GiveMemoryBack();
}

void MRP::TickAttribute(MRPAttribute& attribute, bool mayRemove) {
    const AttributeLists& attributes = ports.at(attribute.port).attributes;
    const uint32_t place = attribute.place;
    if (attribute.state.leaveTimer > 0 && --attribute.state.leaveTimer == 0) {
        RunAttributeStateMachines(&attribute, attribute.port, Event::LEAVETIMER);
    }
    // The application may have removed the attribute on the way; then it no longer waits for a tick.
    if (mayRemove && attributes.IsTicking(place) && IsForgotten(attribute.state)) RemoveAttribute(attribute);
}

}  // namespace norvad
