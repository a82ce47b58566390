#pragma once

#include <sys/time.h>

#include "ctl/changes.h"
#include "ctl/json_views.h"
#include "ctl/program.h"

namespace norvad::ctl {

// One line for each change, until whoever reads them stops or a signal ends the program. The daemon is asked no more
// often than once a second, and may come and go meanwhile. Throws NoAnswer when this user may not ask.
ExitStatus ShowEvents(const Options& options, ControlClient& client, const Terminal& terminal);

// One change, seen at that time, as a line for programs; schema.json describes it.
Json EventJson(const Change& change, const timeval& time);

}  // namespace norvad::ctl
