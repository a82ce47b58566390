#pragma once

#include <vector>

#include "ctl/bridge_reader.h"
#include "ctl/explanation.h"

namespace norvad::ctl {

// What the bridge's time rests on: a link, a neighbour that can take it, a grandmaster, a small offset.
std::vector<Step> ClockSteps(const Snapshot& bridge);

}  // namespace norvad::ctl
