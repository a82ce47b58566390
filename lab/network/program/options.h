#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/log.h"

namespace norvad::network {

// What a bridge is to log, "b4:PTP=2".
struct LogRequest {
    std::string text;
    std::string bridge;
    LogCategory category;
    int32_t level;
};

// The command line of norvad3-network.
struct Options {
    std::string file;
    std::optional<uint64_t> durationNs;  // these two replace what the file says
    std::optional<uint64_t> seed;
    uint64_t seeds = 0;  // runs with the seeds from 1 on; 0: one run
    std::vector<std::string> settings;
    std::string directory;              // for what comes out; empty: only the summary, on standard output
    std::vector<std::string> captures;  // "b1.0"
    std::vector<LogRequest> logs;
    bool check = false;  // fail when an expectation does

    bool help = false;  // only the help text is wanted
};

// Throws StartError for anything that makes no sense.
Options ParseOptions(int argc, const char* const* argv);

std::string HelpText();

}  // namespace norvad::network
