#include "mrp/mrp_types.h"

#include <array>

#include "base/log.h"

namespace norvad {

namespace {

constexpr std::array eventNames = {"RNEW",          "RJOIN_IN",    "RIN",      "RJOINMT", "RMT",   "RLV",
                                   "RLA",           "BEGIN",       "NEW",      "JOIN",    "LV",    "REDECLARE",
                                   "PERIODIC",      "TX",          "TX_LA",    "TX_LAF",  "FLUSH", "LEAVETIMER",
                                   "LEAVEALLTIMER", "REPROPAGATE", "UNDEFINED"};
constexpr std::array attributeEventNames = {"NEW", "JOIN", "IN", "JOINMT", "MT", "LV"};
constexpr std::array applicantNames = {"VO", "VP", "VN", "AN", "AA", "QA", "LA", "AO", "QO", "AP", "QP", "LO"};
constexpr std::array registrarNames = {"IN", "LV", "MT"};
constexpr std::array leaveAllNames = {"ACTIVE", "PASSIVE"};
constexpr std::array actionNames = {"NEW", "JOIN", "IN", "LEAVE", "TX_LA", "NONE"};
constexpr std::array declarationNames = {"IGNORE", "ASKING_FAILED", "READY", "READY_FAILED"};

static_assert(eventNames.size() == eventCount);
static_assert(attributeEventNames.size() == static_cast<size_t>(AttributeEvent::LV) + 1);
static_assert(applicantNames.size() == applicantStateCount);
static_assert(registrarNames.size() == registrarStateCount);
static_assert(leaveAllNames.size() == static_cast<size_t>(LeaveAllState::PASSIVE) + 1);
static_assert(actionNames.size() == static_cast<size_t>(TxAction::NONE) + 1);
static_assert(declarationNames.size() == static_cast<size_t>(ListenerDeclaration::READY_FAILED) + 1);

// The value's name in a table that has one for every value of the enum.
template <typename Enum, size_t count>
const char* NameIn(const std::array<const char*, count>& names, Enum value) {
    return names.at(static_cast<size_t>(value));
}

bool IsReceivable(uint8_t value) {
    const auto inRange = [value](Event first, Event last) {
        return value >= static_cast<uint8_t>(first) && value <= static_cast<uint8_t>(last);
    };
    return inRange(Event::RNEW, Event::RLV) || inRange(Event::NEW, Event::LV);
}

}  // namespace

const char* Name(Event event) {
    return NameIn(eventNames, event);
}
const char* Name(AttributeEvent event) {
    return NameIn(attributeEventNames, event);
}
const char* Name(ApplicantState state) {
    return NameIn(applicantNames, state);
}
const char* Name(RegistrarState state) {
    return NameIn(registrarNames, state);
}
const char* Name(LeaveAllState state) {
    return NameIn(leaveAllNames, state);
}
const char* Name(TxAction action) {
    return NameIn(actionNames, action);
}

const char* Name(ListenerDeclaration declaration) {
    const auto index = static_cast<size_t>(declaration);
    return index < declarationNames.size() ? declarationNames[index] : "UNKNOWN";
}

Event ReceiveEvent(uint8_t value) {
    if (IsReceivable(value)) return static_cast<Event>(value);
    log(LogCategory::MRP, 0, "Error, invalid RX EVENT %d\n", value);
    return Event::UNDEFINED;
}

bool IsCreating(Event event) {
    using enum Event;
    return event == RNEW || event == RJOIN_IN || event == RIN || event == RJOINMT || event == NEW || event == JOIN;
}

}  // namespace norvad
