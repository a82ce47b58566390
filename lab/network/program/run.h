#pragma once

#include "lab/network/program/options.h"

namespace norvad::network {

// Reads the file, runs its network and tells what was seen; what the program ends with. Throws StartError.
int Run(const Options& options);

}  // namespace norvad::network
