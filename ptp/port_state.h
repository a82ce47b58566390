#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ptp/port_data.h"

namespace norvad {

// One state for the whole device.
enum class PortState : int32_t { INITIALIZING, LISTENING, ANNOUNCE, SLAVE, MASTER };
inline constexpr size_t portStateCount = 5;

// What moves the device from state to state.
enum class PortStateEvent : uint8_t {
    START,                // the handler is built
    NEIGHBOUR_FOUND,      // a neighbour answers peer delay requests, or an operator says that there is one
    NEW_PRIORITY,         // an operator gave the local clock a new priority1
    FOREIGN_IS_WORSE,     // an announced clock is worse than the best one known
    FOREIGN_IS_BETTER,    // an announced clock is the best one, the local clock included
    LOCAL_IS_BETTER,      // an announced clock is better than the best one known, and the local clock better still
    NO_BETTER_ANNOUNCED,  // the time to wait for a better clock is over
    SYNC_STOPPED,         // the master sends no time any more
};
inline constexpr size_t portStateEventCount = 8;

// The state and the counters that every switch starts anew.
class PortStateMachine {
public:
    // With noGM the device never bids to become grandmaster.
    PortStateMachine(std::vector<PTPPortData>& ports, bool noGM) : ports(ports), noGM(noGM) {}

    PortState State() const { return state; }
    bool MayBecomeGrandmaster() const { return !noGM; }

    // Whether the event would switch the state, be it to the same one.
    bool Heeds(PortStateEvent event) const;

    // Does what the event asks for in this state; true when that was a switch.
    bool Step(PortStateEvent event);

    int32_t syncWatchdog = 0;      // 1 at every Follow_Up accepted, one less at every traffic check
    int32_t announceWatchdog = 0;  // 1 at every Announce that repeats the best clock, one less at every check
    int32_t announceWait = 0;      // traffic checks left before this clock takes over
    int32_t bigOffsetCount = 0;    // Follow_Ups in a row that were too far off to steer

private:
    void SwitchTo(PortState next);

    std::vector<PTPPortData>& ports;
    bool noGM;
    PortState state = PortState::INITIALIZING;
};

}  // namespace norvad
