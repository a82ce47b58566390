#pragma once

#include <string>

namespace norvad {

// Detaches the process from its terminal by a double fork and returns in the grandchild, with "/" as its working
// directory and its id in the PID file; both parents exit with 0. With a log file, which is made where it is
// missing, standard output and error are appended to it; without, they stay as they are. On failure says why in
// the system log and returns false, be it in the first process or in a later one.
bool Daemonize(const std::string& logfile, const std::string& pidFile);

}  // namespace norvad
