#pragma once

#include <sys/time.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ctl/bridge_reader.h"
#include "ctl/changes.h"
#include "ctl/metrics.h"

namespace norvad::ctl {

// What came of asking the daemon once. It never changes, so that threads may share it.
struct BridgeState {
    timeval time{};  // of day, when the answers were complete or given up
    // "answers", or why it does not: "absent", "denied", "busy", "silent", "cut-off"; "no-queue" when there is none to
    // have for its answer.
    std::string daemon = "answers";
    std::string problem;  // the same in words, when it does not
    Snapshot snapshot;    // empty without an answer
    NotUnderstood notUnderstood;
    uint64_t revision = 0;        // another number whenever something but the clock differs from the state before
    std::vector<Change> changes;  // since the state before
    Counters counters;            // of all changes so far

    bool IsAnswered() const { return problem.empty(); }
};

using SharedState = std::shared_ptr<const BridgeState>;

}  // namespace norvad::ctl
