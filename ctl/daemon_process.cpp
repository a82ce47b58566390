#include "ctl/daemon_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/types.h>

#include <array>
#include <cerrno>
#include <charconv>

#include "base/regular_file.h"

namespace norvad::ctl {

// 0 and negative numbers are groups of processes to kill(), which would always find one.
bool IsDaemonRecorded(const std::string& path) {
    const FileDescriptor file = OpenRegularFile(path.c_str(), O_RDONLY);
    std::array<char, 64> content{};
    const ssize_t length = read(file.Get(), content.data(), content.size());
    pid_t pid = 0;
    if (length <= 0 || std::from_chars(content.data(), content.data() + length, pid).ec != std::errc{}) return false;
    return pid > 0 && (kill(pid, 0) == 0 || errno == EPERM);
}

}  // namespace norvad::ctl
