#include "ctl/print_metrics.h"

#include <ostream>

#include "ctl/bridge_reader.h"
#include "ctl/metrics.h"

namespace norvad::ctl {

ExitStatus PrintMetrics(const Options& options, ControlClient& client, const Terminal& terminal) {
    RefuseUnused(options, {});
    BridgeReader bridge(client);
    try {
        const Snapshot snapshot = bridge.All();
        terminal.output << MetricsText(&snapshot, nullptr);
    } catch (const NoAnswer& none) {
        if (none.reason == NoAnswer::Reason::DENIED) throw;
        terminal.errors << "norvadctl: " << none.what() << "\n";
        terminal.output << MetricsText(nullptr, nullptr);
    }
    return SayNotUnderstood(bridge.LinesNotUnderstood(), terminal) ? ExitStatus::FAILED : ExitStatus::DONE;
}

}  // namespace norvad::ctl
