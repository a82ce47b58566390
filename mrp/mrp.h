#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "base/timer_service.h"
#include "mrp/attribute_lists.h"
#include "mrp/leave_all.h"
#include "mrp/mrp_attribute.h"
#include "mrp/mrp_types.h"
#include "mrp/per_port_timers.h"

namespace norvad {

class MRPDUWriter;

// A message that a PDU may hold: its attribute type and the bytes of one first value.
struct MessageForm {
    uint8_t type;
    uint8_t firstValueLength;
};

// One MRP participant for every port of the bridge: the attributes of each port, the machines that run on them,
// the port's LeaveAll machine and the scheduling of its transmissions. An application derives from it.
class MRP {
public:
    static constexpr uint8_t maxAttributeType = AttributeLists::typeCount;

    MRP(TimerService& timers, uint8_t portCount);
    MRP(const MRP&) = delete;
    MRP& operator=(const MRP&) = delete;
    virtual ~MRP() = default;

    uint8_t PortCount() const { return static_cast<uint8_t>(ports.size()); }

    // Puts an attribute at the end of its port's list. periodic: PERIODIC makes it declare itself again. A port beyond
    // the list, here and in what follows, or a type other than 1..5 throws std::out_of_range.
    MRPAttribute& Insert(std::unique_ptr<MRPAttribute> attribute, bool periodic = false);

    // Whether an event about a value without a record may make one: it declares the value, and, when a neighbour does
    // so, the port has fewer than bound records of the type that reception made. A refusal at the bound is logged, at
    // most once a second for each port.
    bool MayIntroduce(Event event, uint8_t port, uint8_t type, uint32_t bound);
    // The record that such an event made counts towards the bound until it is removed.
    void Introduced(MRPAttribute& attribute, Event event);

    // Tells the application through DeleteAttribute, then unlinks and frees the attribute.
    void RemoveAttribute(MRPAttribute& attribute);

    // Runs one event through the port's LeaveAll machine and, when an attribute is given, through its Registrar
    // and Applicant; requests a transmission and calls Propagate, which may remove the attribute, as they ask.
    void RunAttributeStateMachines(MRPAttribute* attribute, uint8_t port, Event event);

    // RunAttributeStateMachines for every attribute of the port, in list order, or for those of one type, whose
    // number is returned.
    void ApplyToPort(uint8_t port, Event event);
    size_t ApplyToType(uint8_t port, uint8_t type, Event event);

    // Calls visit(MRPAttribute&) for every attribute of the port, or for those of one type, in list order. visit may
    // insert attributes and remove any, the visited one too.
    template <typename Visitor>
    void ForEach(uint8_t port, Visitor visit) {
        ports.at(port).attributes.ForEach(visit);
    }
    template <typename Visitor>
    void ForEach(uint8_t port, uint8_t type, Visitor visit) {
        ports.at(port).attributes.ForEach(type, visit);
    }

    // Asks for a transmit opportunity of the port; nothing happens when one is pending or the port is beyond the list.
    void RequestTransmit(uint8_t port);

    // Runs TX through the port's LeaveAll machine; true when the PDU under construction must carry a LeaveAll.
    bool TxLeaveAll(uint8_t port);

    // Runs the transmit event through the attribute's machines; true when the attribute must be encoded.
    bool TxAttribute(MRPAttribute& attribute, uint8_t port, bool leaveAll, bool pduFull);

    // The attribute event to encode for the attribute's pending action.
    static AttributeEvent EventToSend(const MRPAttribute& attribute);

    // Adds to pdu one message with what the port has to send of one attribute type (firstValueLength bytes each), in
    // list order, a vector for each value. With leaveAll the first vector carries the LeaveAll; when there is no value
    // to send, a vector without values does. Returns the number of values.
    size_t AddMessage(MRPDUWriter& pdu, uint8_t port, uint8_t type, uint8_t firstValueLength, bool leaveAll) {
        return AddMessage(pdu, port, type, type, firstValueLength, leaveAll);
    }
    // The same where the type has another number on the wire.
    size_t AddMessage(MRPDUWriter& pdu, uint8_t port, uint8_t type, uint8_t typeOnWire, uint8_t firstValueLength,
                      bool leaveAll);

    // Called for a message, by its place in the PDU, with the number of its values.
    using MessageAdded = std::function<void(size_t place, size_t values)>;

    // Adds to pdu, which is empty, the messages that have something to say, in this order. Types that do not all find
    // room take turns: the types are asked cyclically, from the one on that waited longest, and added is called for
    // each as it was asked. A port's PDUs are all made of the same messages.
    void AddMessages(MRPDUWriter& pdu, uint8_t port, std::span<const MessageForm> messages, bool leaveAll,
                     const MessageAdded& added);

    // Counts every running leave timer down, and removes what is neither registered nor declared: of each port some
    // thousand at a time. After many removals the memory goes back to the system. Runs every 200 ms.
    void LeaveTimerTick();

protected:
    // A registration came, came again, or went: indication is NEW, JOIN or LV.
    virtual void Propagate(MRPAttribute& attribute, Event indication, uint8_t port) = 0;
    // The port's transmit opportunity: build its PDU and send it.
    virtual void TransmitPdu(uint8_t port) = 0;
    // The attribute is about to be freed.
    virtual void DeleteAttribute(MRPAttribute& attribute) = 0;

private:
    struct PortRecord {
        AttributeLists attributes;
        LeaveAll leaveAll;
        TransmitPacing pacing;
        ScopedTimer transmitTimer;  // runs while a transmit opportunity is pending
        size_t firstAsked = 0;      // place of the message whose type the next PDU asks first
        LogPause refusals;
    };

    bool IsWaiting(uint8_t port, uint8_t type, bool leaveAll);
    void RunLeaveAll(uint8_t port, Event event);
    void RunAttribute(MRPAttribute& attribute, Event event);
    void TransmitTimerExpired(uint8_t port);
    void LeaveAllTimerExpired(uint8_t port);
    void TickAttribute(MRPAttribute& attribute, bool mayRemove);
    void TrimMemory();

    TimerService& timers;
    std::vector<PortRecord> ports;
    PerPortTimers portTimers;
    ScopedTimer leaveTick;
    uint32_t removals = 0;  // since the memory was trimmed
};

}  // namespace norvad
