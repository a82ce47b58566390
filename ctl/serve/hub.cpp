#include "ctl/serve/hub.h"

#include <utility>

#include "ctl/milliseconds.h"

namespace norvad::ctl {

Hub::Hub(const Limits& limits, bool isLoopback, const norvad::Clock& clock, std::function<void()> drawAttention)
    : limits(limits),
      isLoopback(isLoopback),
      connections(limits.connections),
      eventStreams(limits.eventStreams),
      clock(clock),
      drawAttention(std::move(drawAttention)),
      events(Milliseconds(clock.TimeOfDay())) {}

void Hub::Publish(SharedState state) {
    events.Add(*state);
    newest = std::move(state);
    newestMs = MonotonicMs(clock);
    for (const auto& waiter : std::exchange(waiters, {})) {
        if (const auto alive = waiter.lock()) alive->OnState(*newest);
    }
}

SharedState Hub::FreshState() const {
    drawAttention();
    const bool isFresh = newest && MonotonicMs(clock) - newestMs < freshMs;
    return isFresh ? newest : nullptr;
}

void Hub::AwaitState(std::weak_ptr<StateWaiter> waiter) {
    drawAttention();
    waiters.push_back(std::move(waiter));
}

}  // namespace norvad::ctl
