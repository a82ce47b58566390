#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>

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

// Holds the state of the device and moves it by events; tells of every switch, since much starts anew with a state.
class PortStateMachine {
public:
    // With noGM the device never bids to become grandmaster.
    explicit PortStateMachine(bool noGM) : noGM(noGM) {}

    // The action runs at every switch, also to the same state, right before the new state holds.
    void OnSwitch(std::function<void()> action) { onSwitch = std::move(action); }

    PortState State() const { return state; }
    bool MayBecomeGrandmaster() const { return !noGM; }

    // Whether the event would switch the state, be it to the same one.
    bool Heeds(PortStateEvent event) const;

    // Does what the event asks for in this state; true when that was a switch.
    bool Step(PortStateEvent event);

private:
    void SwitchTo(PortState next);

    bool noGM;
    std::function<void()> onSwitch = [] {};
    PortState state = PortState::INITIALIZING;
};

}  // namespace norvad
