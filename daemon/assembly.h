#pragma once

#include <memory>

#include "ptp/clocks.h"

namespace norvad {

class GrandmasterOutput;
class Switch;
struct DaemonOptions;

// Gives the switch its protocol handlers. The output hears of every grandmaster.
void AddHandlers(Switch& bridge, const PtpSettings& settings, std::unique_ptr<GrandmasterOutput> output);

// The daemon from its switch to the end of its event loop. Throws SocketException where the switch cannot be
// opened.
void RunDaemon(const DaemonOptions& options, const PtpSettings& settings);

}  // namespace norvad
