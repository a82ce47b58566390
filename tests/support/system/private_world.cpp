#include "tests/support/system/private_world.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "tests/support/namespaces.h"

namespace norvad::test {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> keptDirectories;

void Require(bool success, const std::string& step) {
    if (!success) throw std::system_error(errno, std::generic_category(), step);
}

// The original process stays outside and stands for the whole world: its status is the world's.
[[noreturn]] void AwaitWorld(pid_t first) {
    int status = 0;
    while (waitpid(first, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFSIGNALED(status)) {
        fprintf(stderr, "the test process died: %s\n", strsignal(WTERMSIG(status)));
        _exit(128 + WTERMSIG(status));
    }
    _exit(WEXITSTATUS(status));
}

void BindNode(const std::string& from, const std::string& to) {
    std::ofstream{to};
    Require(mount(from.c_str(), to.c_str(), nullptr, MS_BIND, nullptr) == 0, from);
}

// Nodes that programs expect, in a directory where the system log's socket can be made.
void MakePrivateDevices() {
    const std::string staging = "/tmp/dev";
    Require(mkdir(staging.c_str(), 0755) == 0, "mkdir /tmp/dev");
    MountEmpty(staging.c_str(), "mode=0755");
    for (const char* node : {"null", "zero", "full", "random", "urandom", "tty"})
        BindNode(std::string("/dev/") + node, staging + "/" + node);
    for (const char* directory : {"shm", "mqueue", "pts"}) fs::create_directory(staging + "/" + directory);
    const std::string terminals = staging + "/pts";
    Require(mount("devpts", terminals.c_str(), "devpts", MS_NOSUID | MS_NOEXEC, "ptmxmode=0666") == 0, "mount devpts");
    fs::create_symlink("pts/ptmx", staging + "/ptmx");
    fs::create_symlink("/proc/self/fd", staging + "/fd");
    Require(mount(staging.c_str(), "/dev", nullptr, MS_MOVE, nullptr) == 0, "move to /dev");
    fs::remove(staging);
}

bool IsBelow(const std::string& path, const std::string& directory) {
    return path.starts_with(directory + "/") || path == directory;
}

// An empty /tmp, with the kept directories bound back where they were.
void MakePrivateTemporaryDirectory() {
    std::vector<std::pair<std::string, int>> back;
    for (const auto& directory : keptDirectories) {
        const int descriptor = open(directory.c_str(), O_PATH | O_CLOEXEC);
        Require(descriptor >= 0, directory);
        back.emplace_back(directory, descriptor);
    }
    MountEmpty("/tmp", "mode=1777");
    for (const auto& [directory, descriptor] : back) {
        fs::create_directories(directory);
        const std::string source = "/proc/self/fd/" + std::to_string(descriptor);
        Require(mount(source.c_str(), directory.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0, directory);
        close(descriptor);
    }
}

void FurnishWorld() {
    KeepMountsPrivate();
    Require(mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) == 0, "mount /proc");
    MakePrivateTemporaryDirectory();
    MakePrivateDevices();
    MountEmpty("/run", "mode=0755");
}

}  // namespace

void EnterPrivateWorld(const std::vector<std::string>& kept) try {
    for (const auto& directory : kept) {
        const std::string path = fs::canonical(directory);
        if (IsBelow(path, "/tmp")) keptDirectories.push_back(path);
    }
    const std::string workingDirectory = fs::current_path();
    EnterNamespaces(CLONE_NEWNET | CLONE_NEWIPC | CLONE_NEWNS | CLONE_NEWPID);
    const pid_t first = fork();
    Require(first >= 0, "fork");
    if (first > 0) AwaitWorld(first);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    FurnishWorld();
    if (chdir(workingDirectory.c_str()) != 0) Require(chdir("/") == 0, "chdir /");
} catch (const std::exception& failure) {
    fprintf(stderr, "no private namespaces for the system tests: %s\n", failure.what());
    fprintf(stderr, "run them as root, or let ordinary users make user namespaces\n");
    _exit(2);
}

void StartFreshNetwork() {
    Require(unshare(CLONE_NEWNET | CLONE_NEWIPC) == 0, "unshare");
    // Neighbour discovery would mix foreign frames into what the tests watch; without IPv6 there is nothing to turn
    // off.
    std::ofstream("/proc/sys/net/ipv6/conf/default/disable_ipv6") << "1";
}

void EmptyTemporaryDirectory() {
    for (const auto& entry : fs::directory_iterator("/tmp")) {
        const std::string path = entry.path();
        bool keep = false;
        for (const auto& directory : keptDirectories) keep = keep || IsBelow(directory, path);
        if (!keep) fs::remove_all(path);
    }
}

void ReplaceFile(const std::string& path, const std::string& content) {
    std::string name = path;
    for (char& c : name) c = c == '/' ? '_' : c;
    const std::string replacement = "/run/replacement" + name;
    std::ofstream(replacement) << content;
    Require(mount(replacement.c_str(), path.c_str(), nullptr, MS_BIND, nullptr) == 0, path);
}

}  // namespace norvad::test
