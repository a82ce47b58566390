#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "mrp/mrp_types.h"

namespace norvad {

// The machines of one attribute on one port.
struct MRPAttributeState {
    ApplicantState applicant = ApplicantState::VO;
    RegistrarState registrar = RegistrarState::MT;
    TxAction action = TxAction::NONE;     // set by every Applicant step
    Event indication = Event::UNDEFINED;  // NEW, JOIN, LV or none; set by every Registrar step
    bool pointToPoint = false;            // the Applicant takes the link for point-to-point
    bool periodic = false;                // PERIODIC acts
    int8_t leaveTimer = -1;               // ticks left; -1: stopped
    uint32_t transmitMark = 0;            // cleared by every Applicant step
};

// One attribute on one port: the value of the application, derived from this, and its machines. A value has at
// most one record on a port, which holds what the neighbour registered there, what this bridge declares there, or
// both. The engine owns the records and keeps them in the order in which they came.
class MRPAttribute {
public:
    MRPAttribute(uint8_t type, uint8_t port) : type(type), port(port) {}
    MRPAttribute(const MRPAttribute&) = delete;
    MRPAttribute& operator=(const MRPAttribute&) = delete;
    virtual ~MRPAttribute() = default;

    virtual std::span<const uint8_t> FirstValue() const = 0;               // as it travels
    virtual std::optional<uint8_t> FourPackedEvent() const { return {}; }  // only types that send one
    virtual std::string Text() const = 0;                                  // for logs and listings

    bool IsRegistered() const { return state.registrar != RegistrarState::MT; }
    bool IsPropagated() const { return !sources.IsEmpty(); }

    const uint8_t type;  // 1..5, numbered by the applications
    const uint8_t port;
    bool madeByReception = false;  // set by the engine, which counts such records
    MRPAttributeState state;
    PortSet sources;  // the ports from which the value is propagated to this one; declared while not empty

private:
    friend class MRP;
    friend class AttributeLists;

    uint32_t place = 0;  // in the port's row
};

// Whether there is a record and the neighbour's registration in it.
inline bool IsRegistered(const MRPAttribute* record) {
    return record && record->IsRegistered();
}

}  // namespace norvad
