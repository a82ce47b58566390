#pragma once

#include <vector>

#include "lab/network/program/recorder.h"
#include "lab/network/program/scenario.h"
#include "lab/network/program/scene.h"
#include "lab/network/program/svg_chart.h"

namespace norvad::network {

// How far bridges are ahead of the grandmaster that they follow, over the run: eight of them at most, evenly chosen.
// What lies far from where a clock mostly is has no place in it.
Chart TimeChart(const Scenario& scenario, const std::vector<Sample>& samples);
// The same by the place of the bridge, in the second half of the run: the median, and between what 95 % of all lie.
Chart HopChart(const Scenario& scenario, const std::vector<Sample>& samples);
// Streams reserved end to end, over the run.
Chart StreamChart(const Scene& scene, const std::vector<Sample>& samples);
// The largest latency of each stream at each listener, beside the one that was promised.
Chart StreamLatencyChart(const Scene& scene);
// The largest latency over the run beside the one that was promised, on the few routes that use most of their promise.
Chart LatencyChart(const Scenario& scenario, const Scene& scene, const std::vector<Sample>& samples);
// The most frames that waited in one queue of a bridge, or for a daemon, over the run: a line for each class of which
// any waited.
Chart QueueChart(const std::vector<Sample>& samples);

}  // namespace norvad::network
