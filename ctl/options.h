#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "ctl/control_client.h"
#include "ctl/selection.h"

namespace norvad::ctl {

// The command line makes no sense; what() says what is wrong with it.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Options {
    std::vector<std::string> words;  // "streams"; none: the whole on one screen
    Selection selection;
    bool help = false;
    bool json = false;
    bool count = false;
    std::string listen = "127.0.0.1:8021";  // where the status page is served
    uint64_t patienceMs = ControlClient::defaultPatienceMs;
    uint64_t timeoutMs = UINT64_MAX;
};

// What a word makes use of, besides --patience.
struct Uses {
    bool words = false;  // behind it
    bool json = false;
    bool filters = false;  // --port, --stream
    bool pages = false;    // --count, --limit, --offset
    bool timeout = false;
};

// Throws UsageError when more was given than is used.
void RefuseUnused(const Options& options, const Uses& uses);

// Throws UsageError.
Options ReadOptions(int argc, const char* const* argv);

// What --help prints.
std::string HelpText();

}  // namespace norvad::ctl
