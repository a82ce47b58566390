#pragma once

#include "ctl/program.h"

namespace norvad::ctl {

// The bridge's metrics once. Without an answer they say that the daemon is down, which is a result like any other: what
// collects them from a file would otherwise keep the old ones. Throws NoAnswer when this user may not ask.
ExitStatus PrintMetrics(const Options& options, ControlClient& client, const Terminal& terminal);

}  // namespace norvad::ctl
