#pragma once

#include <string>

namespace norvad::ctl {

inline constexpr const char* daemonPidFile = "/tmp/norvad.pid";

// Whether the PID file names a live process, also one of another user. A daemon in the foreground writes none.
bool IsDaemonRecorded(const std::string& path = daemonPidFile);

}  // namespace norvad::ctl
