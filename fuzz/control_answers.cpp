#include <algorithm>
#include <string>

#include "ctl/answers.h"
#include "ctl/changes.h"
#include "ctl/metrics.h"
#include "ctl/streams.h"
#include "ctl/table.h"
#include "ctl/views.h"
#include "fuzz/input.h"

namespace {

using namespace norvad::ctl;

size_t Lines(std::string_view text) {
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n')) +
           (text.empty() || text.ends_with('\n') ? 0 : 1);
}

}  // namespace

// Any text as each of the daemon's answers: every line is either read or counted as not understood, and whatever is
// read can be shown, a line for each row.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using norvad::fuzz::Require;
    const std::string text(data, data + size);
    const size_t lines = Lines(text);

    const auto ports = ReadPorts(text);
    Require(ports.ports.size() + ports.notUnderstood.count == lines);
    Require(Lines(Render(PortTable(ports.ports), true)) == ports.ports.size() + 1);

    const auto streams = ReadStreams(text);
    Require(streams.talkers.size() + streams.listeners.size() + streams.notUnderstood.count <= lines);
    const auto grouped = GroupByStream(streams);
    Require(Lines(Render(StreamTable(grouped), true)) == grouped.size() + 1);

    const auto domains = ReadDomains(text);
    Require(domains.domains.size() + domains.notUnderstood.count <= lines);
    Require(Lines(Render(DomainTable(domains.domains), false)) <= lines + 1);

    const auto vlans = ReadVlans(text);
    Require(vlans.vlans.size() + vlans.notUnderstood.count <= lines);
    Require(Lines(Render(VlanTable(vlans.vlans), false)) <= lines + 1);

    const auto clock = ReadClock(text);
    Require((clock.clock ? 1 : 0) + clock.notUnderstood.count == lines);
    if (clock.clock)
        Require(Lines(Render(ClockTable(*clock.clock), true)) == 13 && Lines(ClockLine(*clock.clock)) == 1);

    const Snapshot nothing{};
    const Snapshot bridge{{}, grouped, vlans.vlans, domains.domains, clock.clock};
    for (const Change& change : Changes(nothing, bridge)) Require(Lines(change.text) == 1);
    Require(Changes(bridge, bridge).empty());
    Require(MetricsText(&bridge, nullptr).ends_with('\n'));
    return 0;
}
