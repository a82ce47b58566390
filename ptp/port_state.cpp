#include "ptp/port_state.h"

#include <array>
#include <optional>

#include "base/log.h"

namespace norvad {

namespace {

constexpr std::array<const char*, portStateCount> stateNames{"PTP_INITIALIZING", "PTP_LISTENING", "PTP_ANNOUNCE",
                                                             "PTP_SLAVE", "PTP_MASTER"};

enum class Right : uint8_t { ANY, GRANDMASTER };  // who may take the row: any device, or none with noGM

using Next = std::optional<PortState>;

struct PortStateRow {
    PortStateEvent event;
    Right right;
    std::array<Next, portStateCount> next;
};

constexpr auto portStateTable = [] {
    constexpr Next Listening = PortState::LISTENING, Announce = PortState::ANNOUNCE, Slave = PortState::SLAVE,
                   Master = PortState::MASTER, Stay = std::nullopt;
    constexpr auto Any = Right::ANY, Gm = Right::GRANDMASTER;
    using enum PortStateEvent;
    // clang-format off
    return std::array<PortStateRow, portStateEventCount>{{
        // event               right  in INITIALIZING  LISTENING  ANNOUNCE   SLAVE      MASTER
        {START,                Any,  {Listening,       Stay,      Stay,      Stay,      Stay}},
        {NEIGHBOUR_FOUND,      Gm,   {Stay,            Announce,  Stay,      Stay,      Stay}},
        {NEW_PRIORITY,         Gm,   {Announce,        Announce,  Announce,  Announce,  Announce}},
        {FOREIGN_IS_WORSE,     Gm,   {Stay,            Master,    Master,    Stay,      Stay}},
        {FOREIGN_IS_BETTER,    Any,  {Slave,           Slave,     Slave,     Slave,     Slave}},
        {LOCAL_IS_BETTER,      Gm,   {Master,          Master,    Master,    Master,    Master}},
        {NO_BETTER_ANNOUNCED,  Gm,   {Stay,            Stay,      Master,    Stay,      Stay}},
        {SYNC_STOPPED,         Any,  {Stay,            Stay,      Stay,      Listening, Stay}},
    }};
    // clang-format on
}();

constexpr bool RowsAreInEventOrder() {
    for (size_t row = 0; row < portStateTable.size(); ++row) {
        if (static_cast<size_t>(portStateTable[row].event) != row) return false;
    }
    return true;
}
static_assert(RowsAreInEventOrder());

// Where the event leads; nothing where it is not heeded.
Next Lookup(PortStateEvent event, PortState state, bool noGM) {
    const PortStateRow& row = portStateTable[static_cast<size_t>(event)];
    if (row.right == Right::GRANDMASTER && noGM) return {};
    return row.next[static_cast<size_t>(state)];
}

}  // namespace

bool PortStateMachine::Heeds(PortStateEvent event) const {
    return Lookup(event, state, noGM).has_value();
}

bool PortStateMachine::Step(PortStateEvent event) {
    const Next next = Lookup(event, state, noGM);
    if (next) SwitchTo(*next);
    return next.has_value();
}

void PortStateMachine::SwitchTo(PortState next) {
    log(LogCategory::PTP, 1, "[SW-PTP] switching to state %s\n", stateNames[static_cast<size_t>(next)]);
    onSwitch();
    state = next;
}

}  // namespace norvad
