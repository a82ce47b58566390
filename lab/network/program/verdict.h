#pragma once

#include <string>
#include <vector>

#include "lab/network/program/recorder.h"
#include "lab/network/program/scenario.h"
#include "lab/network/program/scene.h"

namespace norvad::network {

// What became of an expectation.
struct Verdict {
    bool holds = false;
    std::string text;  // what was seen, with what was expected in front
};

// Holds what was recorded in a run against what its file expects, in the order of the file.
std::vector<Verdict> Judge(const Scenario& scenario, const Scene& scene, const std::vector<Sample>& samples);

}  // namespace norvad::network
