#pragma once

#include "base/clock.h"
#include "base/file_descriptor.h"
#include "lab/end_station/options.h"
#include "lab/end_station/station.h"
#include "lab/end_station/station_port.h"

namespace norvad::station {

// Runs a station on a port until a signal or its time ends it, and then lets its last frames out. The signals it
// serves are blocked for the process from its construction on.
class EventLoop {
public:
    EventLoop(Station& station, StationPort& port, const Clock& clock);

    // Throws when the interface is gone. endNs: when to end without a signal, on the monotonic clock.
    void Run(uint64_t endNs);

private:
    bool Wait(uint64_t untilNs);  // false when a signal says that it is over
    bool TakeSignals();
    void Leave();
    void Join();
    void LetOut();

    Station& station;
    StationPort& port;
    const Clock& clock;
    FileDescriptor signals;
};

}  // namespace norvad::station
