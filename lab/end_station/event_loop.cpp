#include "lab/end_station/event_loop.h"

#include <algorithm>
#include <chrono>
#include <csignal>

#include "lab/common/time.h"

namespace norvad::station {

using namespace lab;

using boost::system::error_code;

EventLoop::EventLoop(Station& station, StationPort& port, const Clock& clock)
    : station(station),
      port(port),
      clock(clock),
      context(1),
      signals(context, SIGTERM, SIGINT, SIGUSR1),
      timer(context),
      frames(context, port.Descriptor(), [this] { return ReceiveFrames(); }) {
    signals.add(SIGUSR2);
}

void EventLoop::Run(uint64_t until) {
    endNs = until;
    station.Start();
    AwaitSignal();
    Proceed();
    context.run();
    station.WithdrawAll();
    LetOut();
}

bool EventLoop::ReceiveFrames() {
    port.Receive([this](const ReceivedFrame& frame) { station.Receive(frame); });
    Proceed();
    return true;
}

void EventLoop::AwaitSignal() {
    signals.async_wait([this](const error_code&, int signal) {
        if (signal == SIGTERM || signal == SIGINT) return context.stop();
        if (signal == SIGUSR1) Leave();
        if (signal == SIGUSR2) Join();
        AwaitSignal();
        Proceed();
    });
}

// The station does what is due and is asked when it has to go on. Setting the timer takes its last wait back.
void EventLoop::Proceed() {
    constexpr uint64_t longestWaitNs = 10 * nsPerSecond;
    station.RunDue();
    const uint64_t now = NowNs(clock);
    if (now >= endNs) return context.stop();
    const uint64_t dueNs = std::clamp(std::min(station.DueNs(), endNs), now, now + longestWaitNs);
    timer.expires_after(std::chrono::nanoseconds(dueNs - now));
    timer.async_wait([this](const error_code& takenBack) {
        if (!takenBack) Proceed();
    });
}

void EventLoop::Leave() {
    station.WithdrawListeners();
    station.WithdrawVlans();
}

void EventLoop::Join() {
    station.DeclareListeners();
    station.DeclareVlans();
}

// The last PDU may have to keep its distance from the one before; then the driver has to take it.
void EventLoop::LetOut() {
    const uint64_t latestNs = NowNs(clock) + nsPerSecond;
    while (NowNs(clock) < latestNs && (station.HasUnsent() || port.Unsent() > 0)) {
        station.RunDue();
        timer.expires_after(std::chrono::milliseconds(5));
        timer.wait();
    }
}

}  // namespace norvad::station
