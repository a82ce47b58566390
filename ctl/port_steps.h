#pragma once

#include <vector>

#include "ctl/bridge_reader.h"
#include "ctl/explanation.h"

namespace norvad::ctl {

// What a frame needs to pass a port at all: link, spanning tree.
std::vector<Step> LinkSteps(const Snapshot& bridge, unsigned port);

// What a stream needs besides to leave by it: neighbour, AS capable, link delay, domain.
std::vector<Step> NeighbourSteps(const Snapshot& bridge, unsigned port);

}  // namespace norvad::ctl
