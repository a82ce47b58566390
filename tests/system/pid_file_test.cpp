#include <sys/syscall.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>

#include "tests/support/system/system_test.h"

namespace norvad::test {
namespace {

// The number of a process that existed.
pid_t DeadProcess() {
    const pid_t id = fork();
    if (id == 0) _exit(0);
    waitpid(id, nullptr, 0);
    return id;
}

void WritePidFile(const std::string& content) {
    std::ofstream(pidFile) << content;
}

using PidFile = DaemonTest;

TEST_F(PidFile, OfADeadProcessIsRemovedAndTheDeathIsLogged) {
    const pid_t dead = DeadProcess();
    WritePidFile(std::to_string(dead));

    Process& daemon = StartAndWait({"-n"});

    const std::string text =
        "Process " + std::to_string(dead) + " died: No such process; removing PID file. (/tmp/norvad.pid)";
    ASSERT_TRUE(log.Has(text)) << Log();
    EXPECT_EQ(log.Entries().front().text, text);
    EXPECT_EQ(log.Entries().front().facility, LOG_USER);
    EXPECT_EQ(log.Entries().front().severity, LOG_ERR);
    EXPECT_FALSE(std::filesystem::exists(pidFile));
    EXPECT_EQ(Stop(daemon), 0);
}

TEST_F(PidFile, OfALiveProcessMakesTheProgramAClientThatSaysNothingUnasked) {
    const std::string own = std::to_string(getpid());
    WritePidFile(own);

    Process& client = Start({});

    EXPECT_EQ(client.WaitForExit(), 0);
    EXPECT_EQ(client.Output(), "");
    EXPECT_EQ(client.Errors(), "");
    EXPECT_EQ(log.Size(), 0U) << Log();
    EXPECT_EQ(ReadTextFile(pidFile), own);
}

TEST_F(PidFile, OfAProcessThatMayNotBeProbedMakesTheProgramAClient) {
    WritePidFile(std::to_string(DeadProcess()));

    Process& client = Start({}, {{SYS_kill, EPERM}});

    EXPECT_EQ(client.WaitForExit(), 0);
    EXPECT_EQ(client.Output(), "");
    EXPECT_EQ(client.Errors(), "");
    EXPECT_EQ(log.Size(), 0U) << Log();
    EXPECT_TRUE(std::filesystem::exists(pidFile));
}

TEST_F(PidFile, WithoutANumberNamesNoDaemon) {
    for (const char* content : {"", "\n", "norvad3", "-", "0", "-1", "2147483648", "99999999999999999999"}) {
        SCOPED_TRACE(content);
        const size_t before = log.Count("Daemon stopped");
        WritePidFile(content);

        Process& daemon = StartAndWait({"-n"});

        EXPECT_EQ(Stop(daemon), 0);
        EXPECT_EQ(log.Count("Daemon stopped"), before + 1) << Log();
    }
}

TEST_F(PidFile, IsNotWrittenInTheForegroundButRemovedAtTheEnd) {
    Process& daemon = StartAndWait({"-n"});
    EXPECT_FALSE(std::filesystem::exists(pidFile));
    WritePidFile("");

    EXPECT_EQ(Stop(daemon), 0);

    EXPECT_FALSE(std::filesystem::exists(pidFile));
}

TEST_F(PidFile, OfTheRunningDaemonMakesTheSecondStartAClient) {
    ASSERT_EQ(Start({}).WaitForExit(), 0);
    const pid_t id = WaitForDetached();
    ASSERT_GT(id, 0) << Log();

    Process& second = Start({});

    EXPECT_EQ(second.WaitForExit(), 0);
    EXPECT_EQ(second.Output(), "");
    EXPECT_EQ(second.Errors(), "");
    EXPECT_EQ(ReadTextFile(pidFile), std::to_string(id));
    EXPECT_EQ(kill(id, SIGTERM), 0);
    EXPECT_EQ(WaitForOrphan(id), 0);
    EXPECT_EQ(log.Count("Daemon started"), 1U) << Log();
}

TEST_F(PidFile, DoesNotSurviveTheDaemonsException) {
    ASSERT_EQ(Start({"-i", "nosuch0"}).WaitForExit(), 0);

    ASSERT_TRUE(log.WaitForText("Exception: unable to get interface index")) << Log();
    EXPECT_EQ(WaitForAllOrphans(), (std::vector<int>{0, 0}));
    EXPECT_FALSE(std::filesystem::exists(pidFile));
}

TEST_F(PidFile, LeftByAKilledDaemonDoesNotKeepTheNextOneFromItsQueue) {
    ASSERT_EQ(Start({}).WaitForExit(), 0);
    const pid_t killed = WaitForDetached();
    ASSERT_GT(killed, 0) << Log();
    kill(killed, SIGKILL);
    ASSERT_EQ(WaitForOrphan(killed), -SIGKILL);

    Process& next = StartAndWait({"-n"});

    EXPECT_EQ(next.Errors().find("creating message queue failed"), std::string::npos) << next.Errors();
    EXPECT_EQ(Stop(next), 0);
}

// Nobody takes signals in order before the interface runs: SIGTERM is plain death, and the file stays.
TEST_F(PidFile, LeftByADaemonThatStillWaitedForItsInterfaceDoesNotKeepTheNextOneFromStarting) {
    SetInterfaceUp("eth0", false);
    ASSERT_EQ(Start({}).WaitForExit(), 0);
    pid_t waiting = 0;
    ASSERT_TRUE(WaitFor([&] { return (waiting = atoi(ReadTextFile(pidFile).c_str())) > 0; })) << Log();

    kill(waiting, SIGTERM);

    EXPECT_EQ(WaitForOrphan(waiting), -SIGTERM);
    EXPECT_EQ(ReadTextFile(pidFile), std::to_string(waiting));
    SetInterfaceUp("eth0", true);
    ASSERT_EQ(Start({}).WaitForExit(), 0);
    const pid_t next = WaitForDetached();
    EXPECT_GT(next, 0) << Log();
    EXPECT_NE(next, waiting);
    kill(next, SIGTERM);
    EXPECT_EQ(WaitForOrphan(next), 0);
}

}  // namespace
}  // namespace norvad::test
