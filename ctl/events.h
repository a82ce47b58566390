#pragma once

#include "ctl/changes.h"
#include "ctl/json_views.h"
#include "ctl/program.h"

namespace norvad::ctl {

// One line for each change, until whoever reads them stops or a signal ends the program. The daemon is asked no more
// often than once a second, and may come and go meanwhile. Throws NoAnswer when this user may not ask.
ExitStatus ShowEvents(const Options& options, ControlClient& client, const Terminal& terminal);

// With the members that the change has; schema.json describes it.
Json ChangeJson(const Change& change);

}  // namespace norvad::ctl
