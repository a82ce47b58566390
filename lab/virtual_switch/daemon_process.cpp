#include "lab/virtual_switch/daemon_process.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "lab/common/errors.h"
#include "lab/virtual_switch/driver_gate.h"

namespace norvad::board {

using namespace lab;

namespace {

// What the child says before it becomes the daemon: an errno value, 0 with the listener's descriptor beside it.
struct Report {
    int error;
    enum class Step : int { FILTER, START } step;
};

void SendReport(int socket, const Report& report, int listener) {
    iovec part{const_cast<Report*>(&report), sizeof(report)};
    alignas(cmsghdr) std::array<uint8_t, CMSG_SPACE(sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (listener >= 0) {
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        auto* rights = CMSG_FIRSTHDR(&message);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(rights), &listener, sizeof(listener));
    }
    (void)sendmsg(socket, &message, 0);
}

// Nothing when the other end is closed.
std::optional<Report> ReceiveReport(int socket, FileDescriptor& listener) {
    Report report{};
    iovec part{&report, sizeof(report)};
    alignas(cmsghdr) std::array<uint8_t, CMSG_SPACE(sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    ssize_t received;
    do {
        received = recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
    } while (received < 0 && errno == EINTR);
    if (received != sizeof(report)) return {};
    const auto* rights = CMSG_FIRSTHDR(&message);
    if (rights != nullptr && rights->cmsg_type == SCM_RIGHTS) {
        int descriptor;
        std::memcpy(&descriptor, CMSG_DATA(rights), sizeof(descriptor));
        listener = FileDescriptor(descriptor);
    }
    return report;
}

// In the child. The daemon dies as by a power cut when the board does.
[[noreturn]] void Become(const std::vector<std::string>& command, pid_t board, int socket) {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != board) _exit(1);

    const int listener = DriverGate::Install();
    if (listener < 0) {
        SendReport(socket, {errno, Report::Step::FILTER}, -1);
        _exit(1);
    }
    SendReport(socket, {0, Report::Step::FILTER}, listener);
    close(listener);

    std::vector<char*> arguments;
    for (const auto& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    SendReport(socket, {errno, Report::Step::START}, -1);
    _exit(1);
}

// The parent of a process: the fourth field of its stat, behind a name in parentheses that may hold anything.
pid_t ParentOf(const std::filesystem::path& directory) {
    std::string line;
    std::getline(std::ifstream(directory / "stat"), line);
    const auto nameEnd = line.rfind(')');
    if (nameEnd == std::string::npos || nameEnd + 4 >= line.size()) return -1;
    return static_cast<pid_t>(std::strtol(line.c_str() + nameEnd + 4, nullptr, 10));
}

std::vector<pid_t> Children() {
    std::vector<pid_t> children;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
        const auto name = entry.path().filename().string();
        if (!std::all_of(name.begin(), name.end(), [](char digit) { return digit >= '0' && digit <= '9'; })) continue;
        if (ParentOf(entry.path()) == getpid()) children.push_back(static_cast<pid_t>(std::stol(name)));
    }
    return children;
}

}  // namespace

DaemonProcess::DaemonProcess(const std::vector<std::string>& command) {
    std::array<int, 2> ends;
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        ThrowErrno("cannot make a socket pair");
    FileDescriptor ours(ends[0]);
    FileDescriptor theirs(ends[1]);
    if (prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) != 0) ThrowErrno("cannot become the reaper of the daemon");

    const pid_t board = getpid();
    id = fork();
    if (id < 0) ThrowErrno("cannot fork");
    if (id == 0) Become(command, board, theirs.Get());
    theirs.Close();

    const auto filter = ReceiveReport(ours.Get(), listener);
    const auto start = filter && filter->error == 0 ? ReceiveReport(ours.Get(), listener) : filter;
    if (filter && !start) return;  // the end closed itself when the daemon took over
    waitpid(id, nullptr, 0);
    if (!filter) throw StartError("cannot start " + command[0]);
    if (start->step == Report::Step::FILTER) ThrowErrno("cannot filter the daemon's system calls", start->error);
    throw StartError("cannot start " + command[0] + ": " + std::strerror(start->error));
}

bool DaemonProcess::Reap() {
    while (true) {
        int status;
        const pid_t ended = waitpid(-1, &status, WNOHANG);
        if (ended == 0) return true;
        if (ended < 0 && errno == EINTR) continue;
        if (ended < 0) return false;
        if (ended != id) continue;
        exitStatus = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }
}

void DaemonProcess::Signal(int signal) const {
    for (const auto child : Children()) (void)kill(child, signal);
}

}  // namespace norvad::board
