#include "daemon/event_loop.h"

#include <signal.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cstdio>
#include <utility>

#include "base/log.h"

namespace norvad {

namespace {

constexpr uint32_t signalIndex = 0;
constexpr int loopPriority = -5;
constexpr uint32_t restMs = 1000;

}  // namespace

int KernelWaiting::Wait(std::span<pollfd> set, uint32_t waitMs) {
    return poll(set.data(), set.size(), static_cast<int>(waitMs));
}

EventLoop::EventLoop(TimerService& timers, Waiting& waiting, int signals, EventSources sources)
    : timers(timers),
      waiting(waiting),
      entries{{{{"signals", signals, {}, {}}, {}},
               {std::move(sources.frames), {}},
               {std::move(sources.requests), {}},
               {std::move(sources.links), {}}}} {
    for (pollfd& entry : set) entry.events = POLLIN;
}

void EventLoop::Run() {
    timers.startAll();
    while (RunOnce()) {
    }
}

bool EventLoop::RunOnce() {
    const uint32_t waitMs = timers.runDue();
    LetBusyOnesRest();
    if (waiting.Wait(set, waitMs) < 0) return false;
    if (!TakeSignals()) return false;
    for (uint32_t index = signalIndex + 1; index < set.size(); ++index) Serve(index);
    return true;
}

// poll leaves out what is negative.
void EventLoop::LetBusyOnesRest() {
    for (uint32_t index = 0; index < set.size(); ++index) {
        const Entry& entry = entries[index];
        const bool rests = entry.rest.IsRunning() || (entry.source.isBusy && entry.source.isBusy());
        set[index].fd = rests ? -1 : entry.source.descriptor;
    }
}

bool EventLoop::TakeSignals() {
    if (set[signalIndex].revents == 0) return true;
    if (set[signalIndex].revents != POLLIN) {
        HandleTrouble(signalIndex);
        return true;
    }
    signalfd_siginfo info;
    if (read(set[signalIndex].fd, &info, sizeof info) != ssize_t{sizeof info}) return false;
    switch (info.ssi_signo) {
        case SIGINT:
            log(LogCategory::SOCKET, 0, "[norvad] Got SIGINT");
            return false;
        case SIGTERM:
            log(LogCategory::SOCKET, 0, "[norvad] Got SIGTERM");
            return false;
        default:
            log(LogCategory::SOCKET, 0, "[norvad] Got unhandled signal %d", static_cast<int>(info.ssi_signo));
            return true;
    }
}

// Exactly POLLIN: a descriptor that also reports an error or a hang-up is not served in this round.
void EventLoop::Serve(uint32_t index) {
    if (set[index].revents == 0) return;
    if (set[index].revents != POLLIN) {
        HandleTrouble(index);
        return;
    }
    entries[index].troubled = false;
    entries[index].source.serve();
}

// A socket reports an error such as ENETDOWN until somebody takes it. What cannot be taken away, a hang-up or a
// descriptor that is no more, would make poll return at once for ever; such a descriptor sits out for a while.
void EventLoop::HandleTrouble(uint32_t index) {
    Entry& entry = entries[index];
    const bool persists = (set[index].revents & (POLLHUP | POLLNVAL)) != 0;
    if (!persists && entry.source.takeError && entry.source.takeError() != 0) return;

    if (!entry.troubled) {
        log(LogCategory::SOCKET, 0, "[norvad] poll reports 0x%x for the %s", static_cast<unsigned>(set[index].revents),
            entry.source.name);
    }
    entry.troubled = true;
    const auto goOn = [this](uint32_t rested) { entries[rested].rest.Fired(); };
    entry.rest = ScopedTimer(timers, timers.addTimer(restMs, goOn, index));
}

void RaisePriority() {
    (void)setpriority(PRIO_PROCESS, static_cast<id_t>(getpid()), loopPriority);
}

FileDescriptor OpenSignalDescriptor() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    if (sigprocmask(SIG_BLOCK, &signals, nullptr) < 0) {
        std::perror("sigprocmask");
        return {};
    }
    FileDescriptor descriptor(signalfd(-1, &signals, 0));
    if (!descriptor.IsOpen()) std::perror("signalfd");
    return descriptor;
}

}  // namespace norvad
