#pragma once

#include "ctl/program.h"

namespace norvad::ctl {

// "watch [SECONDS]": the bridge on one screen, looked at every so many seconds (1..86400, or 1) and drawn in place,
// until a signal ends the program. What changed since the look before is marked. Throws UsageError, also when the
// output is no terminal, and NoAnswer when this user may not ask.
ExitStatus Watch(const Options& options, ControlClient& client, const Terminal& terminal);

}  // namespace norvad::ctl
