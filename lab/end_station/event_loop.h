#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>

#include "base/clock.h"
#include "lab/common/descriptor_watch.h"
#include "lab/end_station/options.h"
#include "lab/end_station/station.h"
#include "lab/end_station/station_port.h"

namespace norvad::station {

// Runs a station on a port until a signal or its time ends it, and then lets its last frames out. While it exists the
// signals it serves have no other effect.
class EventLoop {
public:
    EventLoop(Station& station, StationPort& port, const Clock& clock);

    // Throws when the interface is gone. endNs: when to end without a signal, on the monotonic clock.
    void Run(uint64_t endNs);

private:
    bool ReceiveFrames();
    void AwaitSignal();
    void Proceed();
    void Leave();
    void Join();
    void LetOut();

    Station& station;
    StationPort& port;
    const Clock& clock;
    uint64_t endNs = 0;
    boost::asio::io_context context;
    boost::asio::signal_set signals;
    boost::asio::steady_timer timer;
    lab::DescriptorWatch frames;
};

}  // namespace norvad::station
