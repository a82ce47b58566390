#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "base/file_descriptor.h"

namespace norvad::board {

// The daemon and whatever it forks. This process becomes the reaper of all of them, so a daemon that detaches
// itself stays within reach. A daemon that stays in the foreground is killed when this process dies in any way; one
// that has detached itself loses that bond with its first fork and then outlives a board that is killed by SIGKILL.
class DaemonProcess {
public:
    // Starts command, searched for on PATH, under the driver gate's filter. Throws StartError when it cannot be.
    explicit DaemonProcess(const std::vector<std::string>& command);

    pid_t Id() const { return id; }

    // The descriptor that the driver requests are heard on.
    FileDescriptor TakeListener() { return std::move(listener); }

    // Collects what has ended; false when no descendant is left.
    bool Reap();

    // How the process that was started ended: its exit status, or 128 and the number of its signal.
    std::optional<int> ExitStatus() const { return exitStatus; }

    // To every descendant that is a child of this process by now.
    void Signal(int signal) const;

private:
    pid_t id = -1;
    FileDescriptor listener;
    std::optional<int> exitStatus;
};

}  // namespace norvad::board
