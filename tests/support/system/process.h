#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/system/wait_for.h"

namespace norvad::test {

// A system call that the kernel answers with error (0: as if done) instead of doing it, in a process and all that it
// starts: how tests meet failures, and run programs that insist on privileges they do not need here.
struct AnsweredCall {
    int number;
    int error;
};

// A program that runs beside the test. Its outputs go to files, so a test that does not read never stops it.
class Process {
public:
    // Starts command[0] with the given arguments.
    explicit Process(std::vector<std::string> command, const std::vector<AnsweredCall>& answered = {});

    // Kills the program when it still runs, and waits until it is gone.
    ~Process();

    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t Id() const { return id; }
    void Signal(int signal) const;  // nothing once its end is known
    bool IsRunning();

    // The exit code, or the negated number of the signal that ended the program; nothing when it outlives deadline.
    std::optional<int> WaitForExit(std::chrono::milliseconds deadline = longEnough);

    // Everything written so far.
    std::string Output() const;
    std::string Errors() const;

    // Whether some line of the output contains text, before deadline.
    bool WaitForOutput(const std::string& text, std::chrono::milliseconds deadline = longEnough) const;

private:
    pid_t id = -1;
    std::optional<int> exit;
    std::string outputFile;
    std::string errorFile;
};

// Runs command to its end and returns its standard output; a failure of the command is a failure of the test.
std::string RunCommand(const std::vector<std::string>& command);

// The live processes of this world whose program has that name, zombies left out.
std::vector<pid_t> ProcessesNamed(const std::string& name);

// Every live process of this world but the calling one.
std::vector<pid_t> OtherProcesses();

// Waits until no child is left at all, and returns the exits of those that ended meanwhile, sorted; for when every
// Process has been waited for.
std::vector<int> WaitForAllOrphans(std::chrono::milliseconds deadline = longEnough);

// Waits for the end of a process that became the test's own child when its parent left it: a daemon. Status as
// of Process::WaitForExit.
std::optional<int> WaitForOrphan(pid_t id, std::chrono::milliseconds deadline = longEnough);

// Whether the process is a daemon that has begun its event loop: it takes SIGTERM and SIGINT through a descriptor.
bool IsInEventLoop(pid_t id);

// Processor time used by a process so far.
std::chrono::nanoseconds ProcessorTime(pid_t id);

std::string ReadTextFile(const std::string& path);

}  // namespace norvad::test
