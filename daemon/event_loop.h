#pragma once

#include <poll.h>

#include <array>
#include <boost/function.hpp>
#include <cstdint>

#include "base/file_descriptor.h"
#include "base/timer_service.h"

namespace norvad {

class Switch;

// A descriptor that the loop waits on, and what is done when it is readable.
struct EventSource {
    const char* name;
    int descriptor;  // -1: none
    boost::function<void()> serve;
    boost::function<int()> takeError;  // clears and returns the error that poll reports; may be empty
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
    // signals gives signalfd_siginfo records; -1: the loop runs without signals. The timers outlive the loop.
    EventLoop(TimerService& timers, int signals, EventSources sources);
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;
    ~EventLoop();

    // Raises the priority of the process, arms the timers and runs until a signal ends the loop, or poll fails.
    void Run();

private:
    struct Entry {
        EventSource source;
        Timer* rest = nullptr;  // while the descriptor sits out
        bool troubled = false;  // and this was logged
    };

    bool RunOnce();      // false: leave the loop
    bool TakeSignals();  // false: leave the loop
    void Serve(uint32_t index);
    void HandleTrouble(uint32_t index);

    TimerService& timers;
    std::array<Entry, 4> entries;
    std::array<pollfd, 4> set;
};

// Blocks SIGTERM and SIGINT and gives the descriptor to read them from; none on failure, which is reported on
// standard error.
FileDescriptor OpenSignalDescriptor();

}  // namespace norvad
