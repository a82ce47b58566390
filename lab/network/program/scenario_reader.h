#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lab/network/program/scenario.h"

namespace norvad::network {

// Reads a network from the text of a file; docs/network.md tells how it looks. settings replace values in it, as
// ParseFile says, and seed the file's. Throws StartError, mostly "FILE:LINE:COLUMN: text", for anything that makes no
// sense.
Scenario ReadScenario(const std::string& name, const std::string& text, const std::vector<std::string>& settings = {},
                      std::optional<uint64_t> seed = {});

}  // namespace norvad::network
