#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "lab/network/program/recorder.h"
#include "lab/network/program/scenario.h"
#include "lab/network/program/verdict.h"

namespace norvad::network {

// What one of many runs of a file came to.
struct Outcome {
    uint64_t seed = 0;
    uint64_t largestErrorNs = 0;       // of any clock against its grandmaster, in the second half of the run
    uint64_t reservedNs = UINT64_MAX;  // when all streams were reserved for the first time; all ones: never
    uint64_t lostFrames = 0;           // of streams
    uint64_t failed = 0;               // a bit for each of the first 64 expectations
};

Outcome OutcomeOf(const Scenario& scenario, const std::vector<Sample>& samples, const std::vector<Verdict>& verdicts,
                  size_t subscriptions);

// Runs the seeds 1 to count in as many processes as the machine has processors; the outcomes are in the order of the
// seeds. Throws StartError when a process fails.
std::vector<Outcome> RunSeeds(uint64_t count, const std::function<Outcome(uint64_t seed)>& run);

// Median and worst of all, and which expectations failed for which seeds.
std::string OutcomesText(const Scenario& scenario, const std::vector<Outcome>& outcomes);
// A line for each run.
std::string OutcomesTable(const std::vector<Outcome>& outcomes);

}  // namespace norvad::network
