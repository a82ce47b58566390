#include "lab/end_station/event_loop.h"

#include <poll.h>
#include <sys/signalfd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

#include "lab/common/time.h"

namespace norvad::station {

using namespace lab;

namespace {

// A descriptor for the signals that are served, which come no other way any more.
int OpenSignals() {
    sigset_t served;
    sigemptyset(&served);
    for (const int signal : {SIGTERM, SIGINT, SIGUSR1, SIGUSR2}) sigaddset(&served, signal);
    sigprocmask(SIG_BLOCK, &served, nullptr);
    return signalfd(-1, &served, SFD_NONBLOCK | SFD_CLOEXEC);
}

timespec Span(uint64_t ns) {
    return {static_cast<time_t>(ns / nsPerSecond), static_cast<long>(ns % nsPerSecond)};
}

}  // namespace

EventLoop::EventLoop(Station& station, StationPort& port, const Clock& clock)
    : station(station), port(port), clock(clock), signals(OpenSignals()) {
    if (!signals.IsOpen()) throw std::system_error(errno, std::generic_category(), "signalfd");
}

void EventLoop::Run(uint64_t endNs) {
    station.Start();
    do {
        station.RunDue();
    } while (NowNs(clock) < endNs && Wait(std::min(station.DueNs(), endNs)));
    station.WithdrawAll();
    LetOut();
}

bool EventLoop::Wait(uint64_t untilNs) {
    constexpr uint64_t longestWaitNs = 10 * nsPerSecond;
    const uint64_t now = NowNs(clock);
    const timespec wait = Span(untilNs > now ? std::min(untilNs - now, longestWaitNs) : 0);
    std::array<pollfd, 2> ready{{{port.Descriptor(), POLLIN, 0}, {signals.Get(), POLLIN, 0}}};
    if (ppoll(ready.data(), ready.size(), &wait, nullptr) <= 0) return true;
    if (ready[0].revents != 0) port.Receive([this](const ReceivedFrame& frame) { station.Receive(frame); });
    return ready[1].revents == 0 || TakeSignals();
}

bool EventLoop::TakeSignals() {
    signalfd_siginfo signal{};
    while (read(signals.Get(), &signal, sizeof(signal)) == sizeof(signal)) {
        if (signal.ssi_signo == SIGTERM || signal.ssi_signo == SIGINT) return false;
        if (signal.ssi_signo == SIGUSR1) Leave();
        if (signal.ssi_signo == SIGUSR2) Join();
    }
    return true;
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
    const uint64_t endNs = NowNs(clock) + nsPerSecond;
    while (NowNs(clock) < endNs && (station.HasUnsent() || port.Unsent() > 0)) {
        station.RunDue();
        const timespec wait = Span(5 * nsPerMs);
        (void)ppoll(nullptr, 0, &wait, nullptr);
    }
}

}  // namespace norvad::station
