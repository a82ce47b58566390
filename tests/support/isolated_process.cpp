#include "tests/support/isolated_process.h"

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "base/file_descriptor.h"
#include "tests/support/captured_syslog.h"

namespace norvad::test {

namespace {

constexpr unsigned timeLimitSeconds = 30;
constexpr int setUpFailed = 99;

void Require(bool success, const char* step) {
    if (success) return;
    std::perror(step);
    _exit(setUpFailed);
}

// What the processes leave for the test; they all write to the same open files.
struct Records {
    FileDescriptor output{memfd_create("output", 0)};
    FileDescriptor error{memfd_create("error", 0)};
    FileDescriptor syslog{memfd_create("syslog", 0)};
    FileDescriptor statuses{memfd_create("statuses", 0)};
    FileDescriptor files{memfd_create("files", 0)};
};

std::string Content(const FileDescriptor& file) {
    std::string content;
    char buffer[4096];
    lseek(file.Get(), 0, SEEK_SET);
    for (ssize_t length; (length = read(file.Get(), buffer, sizeof buffer)) > 0;) {
        content.append(buffer, static_cast<size_t>(length));
    }
    return content;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

void Put(const char* path, const std::string& text) {
    std::ofstream file(path);
    file << text << std::flush;
    Require(file.good(), path);
}

void EnterNamespaces() {
    const uid_t user = getuid();
    const gid_t group = getgid();
    const int ownUsers = user == 0 ? 0 : CLONE_NEWUSER;
    Require(unshare(ownUsers | CLONE_NEWNS | CLONE_NEWIPC | CLONE_NEWNET | CLONE_NEWPID) == 0, "unshare");
    if (ownUsers == 0) return;
    Put("/proc/self/setgroups", "deny");
    Put("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
    Put("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
}

void MountOwnTmp() {
    Require(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "make mounts private");
    Require(mount("none", "/tmp", "tmpfs", 0, "mode=1777") == 0, "mount /tmp");
}

int ExitStatus(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void WriteFiles(const FileDescriptor& record) {
    for (const auto& entry : std::filesystem::directory_iterator("/tmp")) {
        std::ifstream file(entry.path());
        const std::string content{std::istreambuf_iterator<char>(file), {}};
        dprintf(record.Get(), "%s %zu %s", entry.path().filename().c_str(), content.size(), content.c_str());
    }
}

// The first process of its namespace: it inherits every orphan.
void RunInit(const Records& records, const boost::function<int()>& body) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    MountOwnTmp();
    const pid_t process = fork();
    Require(process >= 0, "fork");
    if (process == 0) {
        dup2(records.output.Get(), 1);
        dup2(records.error.Get(), 2);
        CopySyslogTo(records.syslog.Get());
        const int status = body();
        std::fflush(nullptr);
        _exit(status);
    }
    int status = 0;
    for (pid_t ended; (ended = wait(&status)) > 0;) {
        dprintf(records.statuses.Get(), "%s %d\n", ended == process ? "own" : "heir", ExitStatus(status));
    }
    WriteFiles(records.files);
}

void RunOutside(const Records& records, const boost::function<int()>& body) {
    alarm(timeLimitSeconds);
    EnterNamespaces();
    const pid_t init = fork();
    Require(init >= 0, "fork");
    if (init == 0) {
        RunInit(records, body);
        _exit(0);
    }
    int status = 0;
    waitpid(init, &status, 0);
    _exit(ExitStatus(status));
}

IsolatedOutcome Gather(const Records& records) {
    IsolatedOutcome outcome;
    outcome.standardOutput = Content(records.output);
    outcome.standardError = Content(records.error);
    outcome.syslog = Lines(Content(records.syslog));

    std::istringstream statuses(Content(records.statuses));
    std::string who;
    for (int status; statuses >> who >> status;) {
        if (who == "own") outcome.status = status;
        if (who == "heir") outcome.heirs.push_back(status);
    }
    std::istringstream files(Content(records.files));
    std::string name;
    for (size_t size; files >> name >> size && files.get() == ' ';) {
        std::string content(size, '\0');
        files.read(content.data(), static_cast<std::streamsize>(size));
        outcome.files[name] = content;
    }
    return outcome;
}

}  // namespace

IsolatedOutcome RunIsolated(const boost::function<int()>& body) {
    const Records records;
    std::fflush(nullptr);
    const pid_t outside = fork();
    if (outside < 0) throw std::runtime_error("fork");
    if (outside == 0) RunOutside(records, body);
    int status = 0;
    waitpid(outside, &status, 0);
    if (ExitStatus(status) != 0) throw std::runtime_error("the isolated process could not be set up or took too long");
    return Gather(records);
}

}  // namespace norvad::test
