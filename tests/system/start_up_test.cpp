#include <sys/stat.h>
#include <sys/syscall.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>

#include "tests/support/system/system_test.h"

namespace norvad::test {
namespace {

constexpr const char* banner =
    "-------------------------------\n"
    " norvad3 (0.0.3) started\n"
    "-------------------------------\n";

constexpr const char* listing =
    "Supported daemon options:\n"
    "  -h [ --help ]                  show help\n"
    "  -i [ --interface ] arg (=eth0) select interface\n"
    "  -y [ --priority1 ] arg (=250)  set PTP priority1 level\n"
    "  -g [ --nogm ]                  don't allow the local PTP to become GM\n"
    "  -d [ --debug ] arg             set debug level for SOCKET | MRP | MSRP | MVRP\n"
    "                                 | PTP | IOCTL to <n>\n"
    "  -f [ --logfile ] arg           log to file\n"
    "  -n [ --nodaemon ]              don't daemonize\n"
    "\n";

size_t Occurrences(const std::string& text, const std::string& part) {
    size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

std::string LinkTarget(pid_t id, const std::string& link) {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/" + std::to_string(id) + "/" + link, error);
}

using StartUp = DaemonTest;

TEST_F(StartUp, InTheForegroundTheDaemonStaysTheProcessThatWasStarted) {
    Process& daemon = StartAndWait({"-n"});

    EXPECT_TRUE(daemon.IsRunning());
    EXPECT_FALSE(std::filesystem::exists(pidFile));
    EXPECT_EQ(Stop(daemon), 0);
    EXPECT_EQ(daemon.Output().substr(0, std::string(banner).size()), banner);
}

TEST_F(StartUp, TheSystemLogTellsTheLifeOfTheDaemonInOrder) {
    Process& daemon = StartAndWait({"--nodaemon"});
    ASSERT_EQ(Stop(daemon), 0);

    std::vector<std::string> life;
    for (const auto& entry : log.Entries()) {
        if (!entry.text.starts_with("norvad3 daemon") && !entry.text.starts_with("Daemon ")) continue;
        EXPECT_EQ(entry.facility, LOG_USER);
        EXPECT_EQ(entry.severity, LOG_INFO);
        life.push_back(entry.text);
    }
    EXPECT_EQ(life, (std::vector<std::string>{"norvad3 daemon version 0.0.3 starting up", "Daemon started",
                                              "Daemon stopped"}));
}

TEST_F(StartUp, TheDaemonDetachesByDefaultAndRecordsItsProcess) {
    Process& first = Start({});
    ASSERT_EQ(first.WaitForExit(), 0);
    const pid_t id = WaitForDetached();
    ASSERT_GT(id, 0) << Log();

    EXPECT_EQ(ReadTextFile(pidFile), std::to_string(id));  // no newline
    EXPECT_NE(id, first.Id());
    EXPECT_NE(getsid(id), getsid(0));
    EXPECT_NE(getsid(id), id);  // not the leader of its session, so that it never gets a terminal again
    EXPECT_EQ(LinkTarget(id, "cwd"), "/");
    EXPECT_NE(LinkTarget(id, "fd/0"), "/dev/null");
    EXPECT_EQ(Occurrences(first.Output(), banner), 1U);

    kill(id, SIGTERM);
    EXPECT_EQ(WaitForAllOrphans(), (std::vector<int>{0, 0}));
    EXPECT_FALSE(std::filesystem::exists(pidFile));
}

TEST_F(StartUp, HelpPrintsTheListingAndEndsWithOne) {
    for (const char* option : {"-h", "--help"}) {
        Process& process = Start({option});

        EXPECT_EQ(process.WaitForExit(), 1);
        EXPECT_EQ(process.Output(), listing);
        EXPECT_EQ(process.Errors(), "");
    }
    EXPECT_EQ(log.Size(), 0U) << Log();
}

TEST_F(StartUp, HelpWinsOverEveryOtherOption) {
    Process& process = Start({"-n", "-h", "-d", "MRP", "3"});

    EXPECT_EQ(process.WaitForExit(), 1);
    EXPECT_EQ(process.Output(), listing);
}

TEST_F(StartUp, DebugTakesACategoryInAnyCaseAndALevel) {
    const std::pair<const char*, const char*> cases[] = {{"socket", "LOG_SOCKET"}, {"Mrp", "LOG_MRP"},
                                                         {"MSRP", "LOG_MSRP"},     {"mvrp", "LOG_MVRP"},
                                                         {"pTp", "LOG_PTP"},       {"ioctl", "LOG_IOCTL"}};
    for (const auto& [category, name] : cases) {
        SCOPED_TRACE(category);
        Process& daemon = Start({"-n", "-d", category, "2"});
        const std::string announced = std::string(name) + " debugLevel = 2\n" + banner;

        EXPECT_TRUE(WaitFor([&] { return daemon.Output().starts_with(announced); })) << daemon.Output();
        daemon.Signal(SIGKILL);
        daemon.WaitForExit();
    }
}

TEST_F(StartUp, DebugWithoutALevelShowsTheListingAndTheDaemonStarts) {
    Process& daemon = StartAndWait({"-n", "-d", "mrp"});

    EXPECT_TRUE(daemon.Output().starts_with(std::string(listing) + banner)) << daemon.Output();
    EXPECT_EQ(Stop(daemon), 0);
}

TEST_F(StartUp, DebugWithAThirdWordShowsTheListingAndTheDaemonStarts) {
    Process& daemon = StartAndWait({"-n", "-d", "mrp", "3", "4"});

    EXPECT_TRUE(daemon.Output().starts_with(std::string(listing) + banner)) << daemon.Output();
    EXPECT_EQ(Stop(daemon), 0);
}

TEST_F(StartUp, DebugOfAnUnknownCategoryChangesAndPrintsNothing) {
    Process& daemon = StartAndWait({"-n", "-d", "foo", "2"});

    EXPECT_TRUE(daemon.Output().starts_with(banner)) << daemon.Output();
    EXPECT_EQ(Stop(daemon), 0);
}

TEST_F(StartUp, ADebugLevelLetsTheLinesOfItsCategoryThrough) {
    Process& daemon = StartAndWait({"-n", "-d", "SOCKET", "3"});

    EXPECT_TRUE(log.WaitForPart("RawSocket    :bind to eth0 proto dada")) << Log();
    EXPECT_EQ(Stop(daemon), 0);
    EXPECT_NE(daemon.Output().find("RawSocket    :bind to eth0 proto dada\n"), std::string::npos);
}

TEST_F(StartUp, AtLevelZeroTheLinesOfHigherLevelsAreMissing) {
    Process& daemon = StartAndWait({"-n"});

    EXPECT_EQ(Stop(daemon), 0);
    EXPECT_EQ(daemon.Output().find("RawSocket"), std::string::npos);
}

TEST_F(StartUp, AnUnknownOptionIsReportedTwiceAndEndsWithZero) {
    Process& process = Start({"--bogus"});

    EXPECT_EQ(process.WaitForExit(), 0);
    EXPECT_EQ(process.Errors(), "Exception: unrecognised option '--bogus'\n");
    EXPECT_EQ(process.Output(), "");
    ASSERT_TRUE(log.WaitForText("Exception: unrecognised option '--bogus'")) << Log();
    EXPECT_EQ(log.Entries().back().severity, LOG_ERR);
    EXPECT_EQ(log.Entries().back().facility, LOG_USER);
}

TEST_F(StartUp, AMissingInterfaceIsReportedTwiceAndEndsWithZero) {
    Process& process = Start({"-n", "-i", "nosuch0"});

    EXPECT_EQ(process.WaitForExit(), 0);
    EXPECT_NE(process.Errors().find("Exception: unable to get interface index\n"), std::string::npos)
        << process.Errors();
    EXPECT_TRUE(log.WaitForText("Exception: unable to get interface index")) << Log();
    EXPECT_FALSE(log.Has("Daemon stopped"));
}

TEST_F(StartUp, ALogFileTakesBothStreamsOfTheDetachedDaemon) {
    const std::string file = "/tmp/daemon.log";
    umask(022);
    Process& first = Start({"-f", file, "-d", "SOCKET", "3"});
    ASSERT_EQ(first.WaitForExit(), 0);
    const pid_t id = WaitForDetached();
    ASSERT_GT(id, 0) << Log();

    EXPECT_EQ(LinkTarget(id, "fd/0"), "/dev/null");
    EXPECT_EQ(LinkTarget(id, "fd/1"), file);
    EXPECT_EQ(LinkTarget(id, "fd/2"), file);
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms{0644});
    EXPECT_EQ(Occurrences(first.Output(), banner), 1U);

    kill(id, SIGTERM);
    EXPECT_EQ(WaitForAllOrphans(), (std::vector<int>{0, 0}));
    const std::string written = ReadTextFile(file);
    EXPECT_EQ(Occurrences(written, banner), 0U) << written;
    EXPECT_EQ(Occurrences(written, "RawSocket    :bind to eth0 proto dada\n"), 1U) << written;
    EXPECT_EQ(Occurrences(written, "[norvad] Got SIGTERM\n"), 1U) << written;
}

TEST_F(StartUp, ALogFileIsAppendedToAndTakesTheException) {
    const std::string file = "/tmp/daemon.log";
    std::ofstream(file) << "yesterday's line\n";

    EXPECT_EQ(Start({"-f", file, "-i", "nosuch0"}).WaitForExit(), 0);
    WaitForAllOrphans();

    const std::string written = ReadTextFile(file);
    EXPECT_TRUE(written.starts_with("yesterday's line\n")) << written;
    EXPECT_EQ(Occurrences(written, "Exception: unable to get interface index\n"), 1U) << written;
    EXPECT_FALSE(std::filesystem::exists(pidFile));
}

TEST_F(StartUp, ALogFileThatCannotBeOpenedIsLoggedAndEndsWithOne) {
    EXPECT_EQ(Start({"-f", "/nosuch/daemon.log"}).WaitForExit(), 0);

    EXPECT_TRUE(log.WaitForText("Unable to open output file /nosuch/daemon.log: No such file or directory")) << Log();
    EXPECT_EQ(WaitForAllOrphans(), (std::vector<int>{0, 1}));
    EXPECT_FALSE(log.Has("Daemon started"));
}

TEST_F(StartUp, AnOutputThatCannotBeDoubledIsLoggedAndEndsWithOne) {
    EXPECT_EQ(Start({"-f", "/tmp/daemon.log"}, {{SYS_dup, EMFILE}}).WaitForExit(), 0);

    EXPECT_TRUE(log.WaitForText("Unable to dup output descriptor: Too many open files")) << Log();
    EXPECT_EQ(WaitForAllOrphans(), (std::vector<int>{0, 1}));
    EXPECT_FALSE(log.Has("Daemon started"));
    EXPECT_FALSE(std::filesystem::exists(pidFile));
}

TEST_F(StartUp, ADirectoryThatCannotBeLeftIsLoggedAndTheDaemonRuns) {
    ASSERT_EQ(Start({}, {{SYS_chdir, EACCES}}).WaitForExit(), 0);
    const pid_t id = WaitForDetached();
    ASSERT_GT(id, 0) << Log();

    EXPECT_EQ(log.Count("chdir failed"), 1U) << Log();
    EXPECT_NE(LinkTarget(id, "cwd"), "/");
    kill(id, SIGTERM);
    EXPECT_EQ(WaitForAllOrphans(), (std::vector<int>{0, 0}));
}

TEST_F(StartUp, ASocketThatCannotBeBoundIsReportedAndEndsWithZero) {
    Process& process = Start({"-n"}, {{SYS_bind, EADDRNOTAVAIL}});

    EXPECT_EQ(process.WaitForExit(), 0);
    EXPECT_TRUE(log.WaitForText("Exception: unable to bind")) << Log();
    EXPECT_EQ(Occurrences(process.Errors(), "Exception: unable to bind\n"), 1U) << process.Errors();
}

TEST_F(StartUp, AFirstForkThatFailsIsLoggedAndEndsWithOne) {
    // The leak checker of a sanitized build would like a thread of its own at the end.
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
    Process& process = Start({}, {{SYS_clone, EAGAIN}});
    unsetenv("ASAN_OPTIONS");

    EXPECT_EQ(process.WaitForExit(), 1);
    EXPECT_TRUE(log.WaitForText("First fork failed: Resource temporarily unavailable")) << Log();
}

}  // namespace
}  // namespace norvad::test
