#pragma once

#include "ctl/program.h"

namespace norvad::ctl {

// "leave talker STREAM PORT", "leave listener STREAM PORT": the daemon goes on as if the neighbour at that port had
// withdrawn the declaration. The daemon knows its entries by their place in its list, which is read first; what it says
// that it left is compared with what was meant. Throws UsageError, NoAnswer.
ExitStatus Leave(const Options& options, ControlClient& client, const Terminal& terminal);

}  // namespace norvad::ctl
