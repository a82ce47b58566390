#pragma once

#include <string>
#include <vector>

#include "lab/network/program/recorder.h"
#include "lab/network/program/scenario.h"
#include "lab/network/program/scene.h"
#include "lab/network/program/verdict.h"

namespace norvad::network {

// A run as people read it: what the network was, its time, its streams, what was lost, and what was expected.
std::string SummaryText(const Scenario& scenario, const Scene& scene, const std::vector<Sample>& samples,
                        const std::vector<Verdict>& verdicts);

}  // namespace norvad::network
