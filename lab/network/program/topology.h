#pragma once

#include <string>

#include "lab/network/program/scenario.h"

namespace norvad::network {

// A network as an SVG picture: from the left its first bridge, then what is one link from there, and so on.
std::string TopologySvg(const Scenario& scenario);

}  // namespace norvad::network
