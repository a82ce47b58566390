#pragma once

#include <string>

namespace norvad {

inline constexpr const char* pidFilePath = "/tmp/norvad.pid";

// Whether the PID file names a live process. One that names a dead process is removed, and its death goes to the
// system log; one without a process id in it, or that is no regular file, counts as none.
bool IsDaemonRunning(const std::string& path = pidFilePath);

// Writes the id of this process, in decimal without a newline. A file that cannot be written is silently left out:
// the daemon then runs without its guard.
void WritePidFile(const std::string& path = pidFilePath);

}  // namespace norvad
