#pragma once

#include <functional>
#include <iosfwd>
#include <optional>

#include "ctl/answers.h"
#include "ctl/control_client.h"
#include "ctl/options.h"
#include "ctl/screen.h"

namespace norvad::ctl {

// Where the program writes.
struct Terminal {
    std::ostream& output;
    std::ostream& errors;
    bool colours;
    std::function<std::optional<ScreenSize>()> screenSize = [] { return std::nullopt; };  // nothing: it is no terminal
};

enum class ExitStatus {
    DONE = 0,
    FAILED = 1,    // the daemon was asked and refuses, what was waited for did not come, or something is missing
    USAGE = 2,     // the command line makes no sense; nothing was sent
    NO_ANSWER = 3  // no daemon, or none that answers this user in time
};

// Whether there are any; tells which.
bool SayNotUnderstood(const NotUnderstood& notUnderstood, const Terminal& terminal);

// Does what the words ask for. Throws UsageError, NoAnswer.
ExitStatus Run(const Options& options, ControlClient& client, const Terminal& terminal);

}  // namespace norvad::ctl
