#pragma once

#include <vector>

#include "ctl/bridge_reader.h"
#include "ctl/explanation.h"

namespace norvad::ctl {

// The way of a stream through the bridge: the talker's port, the ports it is to leave by, talker, listeners and
// reservations. Where no record names the one or the other, those that lead out and are left are looked at.
std::vector<Step> StreamSteps(const Snapshot& bridge, Id stream);

}  // namespace norvad::ctl
