#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "base/clock.h"
#include "ctl/serve/bridge_state.h"
#include "ctl/serve/event_feed.h"
#include "ctl/serve/limits.h"
#include "ctl/serve/places.h"

namespace norvad::ctl {

// Is called once, when there is a new state.
class StateWaiter {
public:
    virtual ~StateWaiter() = default;
    virtual void OnState(const BridgeState& state) = 0;
};

// What all connections share: the newest state, who waits for the next, and the places. All in the server's thread.
class Hub {
public:
    // An older state is not shown as what is.
    static constexpr uint64_t freshMs = 2000;

    // drawAttention is called whenever somebody wants to know; it has the daemon asked for a while.
    Hub(const Limits& limits, bool isLoopback, const norvad::Clock& clock, std::function<void()> drawAttention);

    const Limits limits;
    const bool isLoopback;  // only this machine can reach the server
    Places connections;
    Places eventStreams;

    void Publish(SharedState state);

    // The newest state; null when it is not fresh. Then the next one comes soon.
    SharedState FreshState() const;
    void AwaitState(std::weak_ptr<StateWaiter> waiter);

    const EventFeed& Events() const { return events; }

private:
    const norvad::Clock& clock;
    const std::function<void()> drawAttention;
    SharedState newest;
    uint64_t newestMs = 0;  // when it came, on the monotonic clock
    EventFeed events;
    std::vector<std::weak_ptr<StateWaiter>> waiters;
};

}  // namespace norvad::ctl
