#pragma once

#include <boost/function.hpp>

#include "ptp/clocks.h"

namespace norvad {

struct DaemonOptions;

// What the daemon does between its start and its end.
using DaemonRun = boost::function<void(const DaemonOptions&, const PtpSettings&)>;

// The whole program: the client of a running daemon or, where none runs, the daemon. Returns the exit status: 1
// after the help text and where the process could not detach, else 0.
int RunProgram(int argc, const char* const* argv, const DaemonRun& run);

}  // namespace norvad
