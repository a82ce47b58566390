#pragma once

#include <string>
#include <vector>

#include "lab/network/program/recorder.h"
#include "lab/network/program/scenario.h"
#include "lab/network/program/scene.h"

namespace norvad::network {

// What was seen, as tables of comma separated values whose first line names the columns. Times are seconds since the
// beginning.

// How far each bridge is ahead of its grandmaster, in nanoseconds; empty while it follows nobody.
std::string TimeTable(const Scenario& scenario, const std::vector<Sample>& samples);
// Reservations and losses of the whole network.
std::string TrafficTable(const Scene& scene, const std::vector<Sample>& samples);
// Each stream at each listener: frames, and latencies in nanoseconds.
std::string StreamTable(const Scenario& scenario, const Scene& scene);
// Each interval's largest latency on each route, in nanoseconds, beside the least that was promised to a stream on it;
// empty where no frame came, or nothing was promised.
std::string LatencyTable(const Scenario& scenario, const Scene& scene, const std::vector<Sample>& samples);
// The most frames that waited in one queue of a bridge in each interval, by class, and those that waited for a daemon.
std::string QueueTable(const std::vector<Sample>& samples);
// What became of the frames that each end of a link was to send, and of those for each daemon.
std::string PortTable(const Scenario& scenario, const Scene& scene);
std::string EventTable(const Scenario& scenario);

}  // namespace norvad::network
