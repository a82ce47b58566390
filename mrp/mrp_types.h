#pragma once

#include <cstddef>
#include <cstdint>

namespace norvad {

// Events of all three machines, in one numbering; the names are also the log texts.
enum class Event : uint8_t {
    RNEW,           // received New
    RJOIN_IN,       // received JoinIn
    RIN,            // received In
    RJOINMT,        // received JoinMt
    RMT,            // received Mt
    RLV,            // received Leave
    RLA,            // received LeaveAll
    BEGIN,          // initialise
    NEW,            // the application declares anew
    JOIN,           // the application declares
    LV,             // the application withdraws
    REDECLARE,      // the port came up again
    PERIODIC,       // periodic transmission timer
    TX,             // transmit opportunity
    TX_LA,          // transmit opportunity with LeaveAll
    TX_LAF,         // transmit opportunity with LeaveAll, the PDU is full
    FLUSH,          // flush registrations
    LEAVETIMER,     // leave timer expired
    LEAVEALLTIMER,  // leave-all timer expired
    REPROPAGATE,    // propagate registrations again
    UNDEFINED,      // none
};
inline constexpr size_t eventCount = 21;

// Whether the rows of a machine's table stand in the order of the events that they name, so that an event is the
// index of its row.
template <typename Table>
constexpr bool RowsAreInEventOrder(const Table& table) {
    if (table.size() != eventCount) return false;
    for (size_t row = 0; row < table.size(); ++row) {
        if (static_cast<size_t>(table[row].event) != row) return false;
    }
    return true;
}

// Attribute events as they travel, three to a byte (IEEE 802.1Q, 10.8.1.2).
enum class AttributeEvent : uint8_t { NEW, JOIN, IN, JOINMT, MT, LV };

// IEEE 802.1Q, 10.7.6.1: the first letter is Very anxious, Anxious, Quiet or Leaving, the second Observer,
// Passive, New, or Active member.
enum class ApplicantState : uint8_t { VO, VP, VN, AN, AA, QA, LA, AO, QO, AP, QP, LO };
inline constexpr size_t applicantStateCount = 12;

enum class RegistrarState : uint8_t { IN, LV, MT };
inline constexpr size_t registrarStateCount = 3;

enum class LeaveAllState : uint8_t { ACTIVE, PASSIVE };

enum class TxAction : uint8_t { NEW, JOIN, IN, LEAVE, TX_LA, NONE };

// What a listener declares, four to a byte (IEEE 802.1Q, 35.2.2.7.2).
enum class ListenerDeclaration : uint8_t { IGNORE, ASKING_FAILED, READY, READY_FAILED };

// Names for the log; "UNDEFINED" for Event::UNDEFINED.
const char* Name(Event event);
const char* Name(AttributeEvent event);
const char* Name(ApplicantState state);
const char* Name(RegistrarState state);
const char* Name(LeaveAllState state);
const char* Name(TxAction action);
const char* Name(ListenerDeclaration declaration);  // "UNKNOWN" beyond the four

// The event of a value from the wire, by identity for 0..5 and 8..10 (the application's own NEW, JOIN and LV);
// anything else logs an error and becomes UNDEFINED, which has no effect.
Event ReceiveEvent(uint8_t value);

// Whether the event, received or our own, declares a value and so may introduce one that is not known yet.
bool IsCreating(Event event);

// Whether the event is of a neighbour's, not of our own.
constexpr bool IsReceived(Event event) {
    return event <= Event::RLA;
}

// Ports 0..31 as bits.
class PortSet {
public:
    bool Contains(uint8_t port) const { return port < 32 && (bits >> port & 1u) != 0; }
    bool IsEmpty() const { return bits == 0; }
    void Add(uint8_t port) { bits |= Bit(port); }
    void Remove(uint8_t port) { bits &= ~Bit(port); }
    void Clear() { bits = 0; }

private:
    static constexpr uint32_t Bit(uint8_t port) { return port < 32 ? 1u << port : 0; }
    uint32_t bits = 0;
};

}  // namespace norvad
