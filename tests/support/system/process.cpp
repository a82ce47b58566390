#include "tests/support/system/process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace norvad::test {
namespace {

namespace fs = std::filesystem;

std::string OutputFileName(const std::string& program) {
    static int number = 0;
    return "/tmp/output." + std::to_string(++number) + "." + fs::path(program).filename().string();
}

void InstallAnswers(const std::vector<AnsweredCall>& answered) {
    if (answered.empty()) return;
    std::vector<sock_filter> program{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const auto& call : answered) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(call.number), 0, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<uint32_t>(call.error)));
    }
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0)
        _exit(126);
}

void Redirect(const std::string& file, int descriptor) {
    const int opened = open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    if (opened < 0 || dup2(opened, descriptor) < 0) _exit(126);
    close(opened);
}

int ExitOf(int status) {
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

std::optional<int> Reap(pid_t id) {
    int status = 0;
    if (waitpid(id, &status, WNOHANG) != id) return {};
    return ExitOf(status);
}

bool IsZombie(pid_t id) {
    const std::string stat = ReadTextFile("/proc/" + std::to_string(id) + "/stat");
    const auto name = stat.rfind(')');
    return name == std::string::npos || stat.size() < name + 3 || stat[name + 2] == 'Z' || stat[name + 2] == 'X';
}

}  // namespace

Process::Process(std::vector<std::string> command, const std::vector<AnsweredCall>& answered) {
    outputFile = OutputFileName(command.at(0));
    errorFile = outputFile + ".errors";
    std::vector<char*> arguments;
    for (auto& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    id = fork();
    if (id < 0) throw std::runtime_error("fork failed");
    if (id > 0) return;
    Redirect("/dev/null", 0);
    Redirect(outputFile, 1);
    Redirect(errorFile, 2);
    InstallAnswers(answered);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

Process::~Process() {
    if (!IsRunning()) return;
    Signal(SIGKILL);
    int status = 0;
    waitpid(id, &status, 0);
}

void Process::Signal(int signal) const {
    kill(id, signal);
}

bool Process::IsRunning() {
    if (!exit) exit = Reap(id);
    return !exit;
}

std::optional<int> Process::WaitForExit(std::chrono::milliseconds deadline) {
    WaitFor([this] { return !IsRunning(); }, deadline);
    return exit;
}

std::string Process::Output() const {
    return ReadTextFile(outputFile);
}

std::string Process::Errors() const {
    return ReadTextFile(errorFile);
}

bool Process::WaitForOutput(const std::string& text, std::chrono::milliseconds deadline) const {
    return WaitFor([&] { return Output().find(text) != std::string::npos; }, deadline);
}

std::string RunCommand(const std::vector<std::string>& command) {
    Process process(command);
    const auto exit = process.WaitForExit(std::chrono::minutes(1));
    EXPECT_EQ(exit, 0) << testing::PrintToString(command) << "\n" << process.Errors();
    return process.Output();
}

std::vector<pid_t> OtherProcesses() {
    std::vector<pid_t> others;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (name.find_first_not_of("0123456789") != std::string::npos) continue;
        const pid_t id = std::stoi(name);
        if (id != getpid() && !IsZombie(id)) others.push_back(id);
    }
    return others;
}

std::vector<pid_t> ProcessesNamed(const std::string& name) {
    std::vector<pid_t> found;
    for (const pid_t id : OtherProcesses())
        if (ReadTextFile("/proc/" + std::to_string(id) + "/comm") == name.substr(0, 15) + "\n") found.push_back(id);
    return found;
}

std::optional<int> WaitForOrphan(pid_t id, std::chrono::milliseconds deadline) {
    std::optional<int> exit;
    WaitFor([&] { return (exit = Reap(id)).has_value(); }, deadline);
    return exit;
}

std::vector<int> WaitForAllOrphans(std::chrono::milliseconds deadline) {
    std::vector<int> exits;
    const auto noneLeft = [&] {
        int status = 0;
        pid_t ended = 0;
        while ((ended = waitpid(-1, &status, WNOHANG)) > 0) exits.push_back(ExitOf(status));
        return ended < 0 && errno == ECHILD;
    };
    EXPECT_TRUE(WaitFor(noneLeft, deadline));
    std::sort(exits.begin(), exits.end());
    return exits;
}

bool IsInEventLoop(pid_t id) {
    const std::string before = "SigBlk:\t";
    const std::string status = ReadTextFile("/proc/" + std::to_string(id) + "/status");
    const auto at = status.find(before);
    if (at == std::string::npos) return false;
    // Exactly these: a helper thread of a sanitizer bears the daemon's name too, and blocks everything.
    constexpr uint64_t own = 1U << (SIGTERM - 1) | 1U << (SIGINT - 1);
    return std::stoull(status.substr(at + before.size(), 16), nullptr, 16) == own;
}

std::chrono::nanoseconds ProcessorTime(pid_t id) {
    clockid_t clock{};
    timespec used{};
    if (clock_getcpuclockid(id, &clock) != 0 || clock_gettime(clock, &used) != 0)
        throw std::runtime_error("no processor time of process " + std::to_string(id));
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

std::string ReadTextFile(const std::string& path) {
    std::ifstream file(path);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

}  // namespace norvad::test
