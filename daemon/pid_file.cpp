#include "daemon/pid_file.h"

#include <signal.h>
#include <sys/types.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <optional>

namespace norvad {

namespace {

// 0 and negative numbers are groups of processes to kill(), which would always find one.
std::optional<pid_t> ReadPid(const std::string& path) {
    std::ifstream file(path);
    pid_t pid = 0;
    if (!(file >> pid) || pid <= 0) return {};
    return pid;
}

// A process of another user refuses the probe, but it lives.
bool IsAlive(pid_t pid) {
    return kill(pid, 0) == 0 || errno == EPERM;
}

}  // namespace

bool IsDaemonRunning(const std::string& path) {
    const auto pid = ReadPid(path);
    if (!pid) return false;
    if (IsAlive(*pid)) return true;
    syslog(LOG_USER | LOG_ERR, "Process %lu died: %s; removing PID file. (%s)", static_cast<unsigned long>(*pid),
           std::strerror(errno), path.c_str());
    unlink(path.c_str());
    return false;
}

void WritePidFile(const std::string& path) {
    std::ofstream(path, std::ios::trunc) << getpid();
}

}  // namespace norvad
