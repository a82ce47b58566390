#pragma once

#include "ctl/program.h"

namespace norvad::ctl {

// "wait stream STREAM": until the stream is known to be reserved on the port of some listener; "wait port N": until the
// port is AS capable; "wait clock": until the bridge has the time (HasTime). It looks at once and then once a second,
// and a daemon that is not there yet is waited for as well. FAILED when that did not come within options.timeoutMs.
// Throws UsageError, and NoAnswer when this user may not ask.
ExitStatus Wait(const Options& options, ControlClient& client, const Terminal& terminal);

}  // namespace norvad::ctl
