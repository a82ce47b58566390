#include "tests/support/isolated_process.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
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
#include "tests/support/namespaces.h"

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
    KeepMountsPrivate();
    MountEmpty("/tmp", "mode=1777");
    const pid_t process = fork();
    Require(process >= 0, "fork");
    if (process == 0) {
        dup2(records.output.Get(), 1);
        dup2(records.error.Get(), 2);
        CopySyslogTo(records.syslog.Get());
        const int status = [&body]() noexcept { return body(); }();  // what it throws ends it as it would a program
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
    EnterNamespaces(CLONE_NEWNS | CLONE_NEWIPC | CLONE_NEWNET | CLONE_NEWPID);
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
    if (outside == 0) {
        try {
            RunOutside(records, body);
        } catch (const std::exception& failure) {
            std::fprintf(stderr, "%s\n", failure.what());
            _exit(setUpFailed);
        }
    }
    int status = 0;
    waitpid(outside, &status, 0);
    if (ExitStatus(status) != 0) throw std::runtime_error("the isolated process could not be set up or took too long");
    return Gather(records);
}

void ExpectIsolated(const boost::function<void()>& body) {
    const IsolatedOutcome outcome = RunIsolated([&body] {
        try {
            body();
        } catch (const std::exception& failure) {
            ADD_FAILURE() << failure.what();
        }
        return testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(outcome.status, 0) << outcome.standardOutput << outcome.standardError;
}

}  // namespace norvad::test
