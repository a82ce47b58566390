#pragma once

#include <memory>

#include "daemon/event_loop.h"
#include "ptp/clocks.h"

namespace norvad {

class ControlChannel;
class GrandmasterOutput;
class Switch;
struct DaemonOptions;

// Gives the switch its protocol handlers. The output hears of every grandmaster.
void AddHandlers(Switch& bridge, const PtpSettings& settings, std::unique_ptr<GrandmasterOutput> output);

// What the event loop waits for, and what it does then. The switch and the channel outlive the loop.
EventSources SourcesOf(Switch& bridge, ControlChannel& control);

// The daemon from its switch to the end of its event loop. Throws SocketException where the switch cannot be
// opened.
void RunDaemon(const DaemonOptions& options, const PtpSettings& settings);

}  // namespace norvad
