#pragma once

#include "ctl/control_client.h"
#include "ctl/options.h"
#include "ctl/program.h"

namespace norvad::ctl {

// Whether the words ask for the status page. Throws UsageError when they ask for it and for more.
bool WantsToServe(const Options& options);

// Says on the terminal where it serves the page, and does so until a signal asks for the end, which is thrown as
// Interrupted; FAILED when the address is not to be had. Throws UsageError.
ExitStatus Serve(const Options& options, ControlClient& client, const Terminal& terminal);

}  // namespace norvad::ctl
