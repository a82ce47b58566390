#pragma once

#include <poll.h>

#include <array>
#include <boost/function.hpp>
#include <cstdint>
#include <span>

#include "base/file_descriptor.h"
#include "base/timer_service.h"

namespace norvad {

class Switch;

// A descriptor that the loop waits on, and what is done when it is readable.
struct EventSource {
    const char* name;
    int descriptor;  // -1: none
    boost::function<void()> serve;
    boost::function<int()> takeError;     // clears and returns the error that poll reports; may be empty
    boost::function<bool()> isBusy = {};  // asked before each wait; while it is, nothing more is served; may be empty
};

// Waits until a descriptor of set is ready, with poll in the daemon. Whoever moves a stepped clock waits in its own
// way.
class Waiting {
public:
    virtual ~Waiting() = default;
    virtual int Wait(std::span<pollfd> set, uint32_t waitMs) = 0;  // what poll returns; fills in what is ready
};

class KernelWaiting final : public Waiting {
public:
    int Wait(std::span<pollfd> set, uint32_t waitMs) override;
};

// In the order in which they are served.
struct EventSources {
    EventSource frames;
    EventSource requests;
    EventSource links;
};

// The one thread of the daemon: runs due timers, waits, and serves what is ready, until SIGTERM or SIGINT.
class EventLoop {
public:
    // signals gives signalfd_siginfo records; -1: the loop runs without signals. The timers and the waiting outlive the
    // loop.
    EventLoop(TimerService& timers, Waiting& waiting, int signals, EventSources sources);
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    // Arms the timers and runs until a signal ends the loop, or waiting fails.
    void Run();

private:
    struct Entry {
        EventSource source;
        ScopedTimer rest;       // while the descriptor sits out
        bool troubled = false;  // and this was logged
    };

    bool RunOnce();  // false: leave the loop
    void LetBusyOnesRest();
    bool TakeSignals();  // false: leave the loop
    void Serve(uint32_t index);
    void HandleTrouble(uint32_t index);

    TimerService& timers;
    Waiting& waiting;
    std::array<Entry, 4> entries;
    std::array<pollfd, 4> set;
};

// Lets the process run before ordinary ones, where it may: protocol timers matter more.
void RaisePriority();

// Blocks SIGTERM and SIGINT and gives the descriptor to read them from; none on failure, which is reported on
// standard error.
FileDescriptor OpenSignalDescriptor();

}  // namespace norvad
