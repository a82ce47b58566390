#pragma once

#include <string>

#include "daemon/pid_file.h"
#include "ptp/clocks.h"

namespace norvad {

// What the command line decides about the daemon. The record lives as long as the daemon does and removes the PID
// file when it goes, so that the file outlives the daemon on no way out: a normal end, the help text, a failed
// fork or redirection, an exception.
struct DaemonOptions {
    explicit DaemonOptions(std::string pidFile = pidFilePath);
    DaemonOptions(const DaemonOptions&) = delete;
    DaemonOptions& operator=(const DaemonOptions&) = delete;
    ~DaemonOptions();

    std::string interface = "eth0";
    bool nodaemon = false;
    std::string logfile;  // empty: standard output and error stay as they are
    const std::string pidFile;
};

// Reads the command line into options, settings and the debug levels. False when it asked for help, which was then
// printed. Throws boost::program_options::error on a command line that it does not understand.
bool ParseOptions(int argc, const char* const* argv, DaemonOptions& options, PtpSettings& settings);

}  // namespace norvad
