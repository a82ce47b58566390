#include "daemon/pid_file.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "base/file_descriptor.h"
#include "tests/support/captured_syslog.h"

namespace norvad::test {
namespace {

class PidFile : public testing::Test {
protected:
    PidFile() { CapturedSyslog().clear(); }
    ~PidFile() override { std::filesystem::remove(path); }

    void Put(const std::string& content) const { std::ofstream(path) << content; }

    static pid_t DeadProcess() {
        const pid_t child = fork();
        if (child == 0) _exit(0);
        waitpid(child, nullptr, 0);
        return child;
    }

    const std::string path = testing::TempDir() + "norvad-pid-file-" + std::to_string(getpid());
};

TEST_F(PidFile, WithoutOneNoDaemonRuns) {
    EXPECT_FALSE(IsDaemonRunning(path));
    EXPECT_TRUE(CapturedSyslog().empty());
}

TEST_F(PidFile, ALiveProcessIsARunningDaemon) {
    Put(std::to_string(getpid()));

    EXPECT_TRUE(IsDaemonRunning(path));
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(PidFile, ALiveProcessOfAnotherUserIsARunningDaemon) {
    Put("1");
    const pid_t child = fork();
    if (child == 0) {
        if (getuid() == 0 && setresuid(65534, 65534, 65534) != 0) _exit(2);
        const bool refused = kill(1, 0) < 0 && errno == EPERM;
        _exit(refused && IsDaemonRunning(path) ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);

    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(PidFile, ADeadProcessIsLoggedAndItsFileRemoved) {
    const pid_t dead = DeadProcess();
    Put(std::to_string(dead));

    EXPECT_FALSE(IsDaemonRunning(path));

    EXPECT_FALSE(std::filesystem::exists(path));
    ASSERT_EQ(CapturedSyslog().size(), 1u);
    EXPECT_EQ(CapturedSyslog()[0].priority, LOG_USER | LOG_ERR);
    EXPECT_EQ(CapturedSyslog()[0].text,
              "Process " + std::to_string(dead) + " died: No such process; removing PID file. (" + path + ")");
}

TEST_F(PidFile, AFileWithoutAProcessIdNamesNoDaemon) {
    for (const char* content : {"", "norvad3", "\n", "-", "0", "-1", "99999999999999999999"}) {
        Put(content);
        EXPECT_FALSE(IsDaemonRunning(path)) << content;
    }
    EXPECT_TRUE(CapturedSyslog().empty());
}

TEST_F(PidFile, IsWrittenAnewAsADecimalWithoutANewline) {
    Put("something much longer than a process id");

    WritePidFile(path);

    std::ifstream file(path);
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(content, std::to_string(getpid()));
}

// Anybody may put a link or a pipe under a name in /tmp. A start followed the link and wrote over what it led to, and
// waited in the pipe for good.
TEST_F(PidFile, IsNeitherReadNorWrittenThroughALink) {
    const std::string target = path + "-target";
    std::ofstream(target) << getpid();
    std::filesystem::create_symlink(target, path);

    EXPECT_FALSE(IsDaemonRunning(path));
    std::ofstream(target) << "precious";
    WritePidFile(path);

    std::ifstream file(target);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "precious");
    std::filesystem::remove(target);
}

TEST_F(PidFile, DanglingLinkCreatesNothing) {
    const std::string target = path + "-target";
    std::filesystem::create_symlink(target, path);

    WritePidFile(path);

    EXPECT_FALSE(std::filesystem::exists(target));
}

TEST_F(PidFile, APipeInItsPlaceIsNotWaitedFor) {
    ASSERT_EQ(mkfifo(path.c_str(), 0666), 0);
    EXPECT_FALSE(IsDaemonRunning(path));
    WritePidFile(path);

    const FileDescriptor reader(open(path.c_str(), O_RDONLY | O_NONBLOCK));
    WritePidFile(path);

    char byte;
    EXPECT_EQ(read(reader.Get(), &byte, 1), 0);
}

TEST_F(PidFile, ThatCannotBeWrittenIsLeftOut) {
    WritePidFile("/nonexistent/norvad.pid");

    EXPECT_TRUE(CapturedSyslog().empty());
}

}  // namespace
}  // namespace norvad::test
