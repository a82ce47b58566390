#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <utility>

#include "base/clock.h"
#include "lab/common/time.h"
#include "lab/end_station/mrp_pdu.h"

namespace norvad::station {

using lab::never;
using lab::NowNs;
using lab::nsPerMs;

// Hears which attributes the neighbour has registered with us.
class RegistrationObserver {
public:
    virtual ~RegistrationObserver() = default;
    virtual void Registered(const MrpValue& value) = 0;  // new, or its value changed
    virtual void Withdrawn(const MrpValue& value) = 0;
};

// An end station's half of MRP on one link: machines and PDU codec of its own, apart from the bridge's on purpose, so
// that neither can hide the other's mistakes. Only layouts and constants are the same (mrp/mrp_wire.h, mrp/mrp_types.h,
// msrp/msrp_wire.h): what is wrong there is wrong at both ends, and only a foreign dissector notices. What it declares
// it sends as New, again after joinTime and from then on every second; a LeaveAll, or an event that says the neighbour
// lost a declaration, has it sent at once. A registration that is left ends after leaveTime unless it is joined again.
// It sends LeaveAll of its own, so that what a silent neighbour registered ends too.
class MrpParticipant final : private MrpReceiver {
public:
    using Send = std::function<void(const MrpApplication&, std::span<const uint8_t> pdu)>;

    static constexpr uint64_t transmitGapNs = 100 * nsPerMs;  // between two transmit opportunities
    static constexpr uint64_t joinTimeNs = 200 * nsPerMs;
    static constexpr uint64_t redeclareNs = 1'000 * nsPerMs;
    static constexpr uint64_t leaveTimeNs = 1'000 * nsPerMs;
    static constexpr uint64_t leaveAllNs = 10'000 * nsPerMs;  // plus up to half of it
    static constexpr uint64_t leaveAllSpreadNs = 5'000 * nsPerMs;

    // seed decides the spread of the LeaveAll timer. The application, the clock and the observer outlive this.
    MrpParticipant(const MrpApplication& application, const Clock& clock, uint32_t seed, Send send,
                   RegistrationObserver& observer);

    // Declares the value, in the place of one with the same key.
    void Declare(const MrpValue& value);
    // Leaves the declaration with this value's key, if there is one.
    void Withdraw(const MrpValue& value);
    void WithdrawAll();

    // Takes a received PDU, from the protocol version on.
    void Receive(std::span<const uint8_t> pdu);

    void RunDue();           // sends and ends what is due
    uint64_t DueNs() const;  // when that is next, on the monotonic clock
    bool HasUnsent() const;  // a declaration or a leave is due and waits for the next opportunity

private:
    using Key = std::pair<uint8_t, uint64_t>;  // type, the first value's leading bytes as one number

    struct Declaration {
        MrpValue value;
        uint64_t dueNs;
        bool isNew = true;  // not sent yet
        bool leaving = false;
    };
    struct Registration {
        MrpValue value;
        uint64_t endNs = never;  // set while it is leaving
    };

    void ReceiveLeaveAll(uint8_t type) override;
    void ReceiveValue(const MrpValue& value, AttributeEvent event) override;

    Key KeyOf(const MrpValue& value) const;
    void Register(const MrpValue& value);
    void EndOtherTalker(const MrpValue& value);
    void LeaveRegistration(const MrpValue& value);
    void RepeatDeclaration(const MrpValue& value);
    void StartLeaveAllTimer();
    void EndLeftRegistrations();
    void LeaveTypeWithin(uint8_t type, uint64_t delayNs);

    bool IsTransmissionDue() const;
    void Transmit();
    void TransmitType(const AttributeShape& shape, bool leaveAll, MrpPduWriter& writer);
    void WriteDeclaration(Declaration& declaration, bool leaveAll, MrpPduWriter& writer);
    void SendOut(MrpPduWriter& writer) const;
    AttributeEvent EventFor(const Declaration& declaration) const;
    uint64_t Now() const { return NowNs(clock); }

    const MrpApplication& application;
    const Clock& clock;
    Send send;
    RegistrationObserver& observer;
    std::map<Key, Declaration> declarations;
    std::map<Key, Registration> registrations;
    uint32_t randomState;
    uint64_t leaveAllDueNs = never;
    uint64_t nextTransmitNs = 0;  // not before
};

}  // namespace norvad::station
