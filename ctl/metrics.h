#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "ctl/bridge_reader.h"
#include "ctl/changes.h"

namespace norvad::ctl {

// Changes seen since this program started. The daemon keeps no counters: what came and went between two looks, or
// before the first, is in none of these.
class Counters {
public:
    void Count(const std::vector<Change>& changes) {
        for (const Change& change : changes) ++seen[static_cast<size_t>(change.kind)];
    }
    uint64_t Seen(ChangeKind kind) const { return seen[static_cast<size_t>(kind)]; }

private:
    std::array<uint64_t, changeKindNames.size()> seen{};
};

// The bridge as Prometheus reads it. Without a snapshot, as no daemon answers, the gauges are left out, save that
// norvad3_up is 0; without counters, as in a program that looks once, norvad3_changes_total is. Streams are counted by
// port and never named: thousands of them would be as many series.
std::string MetricsText(const Snapshot* snapshot, const Counters* counters);

}  // namespace norvad::ctl
