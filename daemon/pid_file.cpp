#include "daemon/pid_file.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/types.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <sstream>

#include "base/regular_file.h"

namespace norvad {

namespace {

// 0 and negative numbers are groups of processes to kill(), which would always find one.
std::optional<pid_t> ReadPid(const std::string& path) {
    const FileDescriptor file = OpenRegularFile(path.c_str(), O_RDONLY);
    std::array<char, 64> content;
    const ssize_t length = read(file.Get(), content.data(), content.size());
    if (length < 0) return {};
    std::istringstream text(std::string(content.data(), static_cast<size_t>(length)));
    pid_t pid = 0;
    if (!(text >> pid) || pid <= 0) return {};
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
    const FileDescriptor file = OpenRegularFile(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    const std::string pid = std::to_string(getpid());
    (void)!write(file.Get(), pid.data(), pid.size());
}

}  // namespace norvad
