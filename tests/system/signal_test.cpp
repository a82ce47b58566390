#include <sys/syscall.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include "tests/support/system/control_client.h"
#include "tests/support/system/system_test.h"

namespace norvad::test {
namespace {

using Signals = DaemonTest;

TEST_F(Signals, TermAndIntEndTheDaemonInOrder) {
    const std::pair<int, const char*> cases[] = {{SIGTERM, "[norvad] Got SIGTERM"}, {SIGINT, "[norvad] Got SIGINT"}};
    for (const auto& [signal, text] : cases) {
        SCOPED_TRACE(text);
        Process& daemon = StartAndWait({"-n"});
        const size_t before = log.Count("Daemon stopped");

        daemon.Signal(signal);

        EXPECT_EQ(daemon.WaitForExit(), 0);
        EXPECT_EQ(log.Count(text), 1U) << Log();
        EXPECT_EQ(log.Count("Daemon stopped"), before + 1) << Log();
        EXPECT_NE(daemon.Output().find(std::string(text) + "\n"), std::string::npos) << daemon.Output();
    }
}

TEST_F(Signals, HangUpKeepsItsDefaultAction) {
    Process& daemon = StartAndWait({"-n"});

    daemon.Signal(SIGHUP);

    EXPECT_EQ(daemon.WaitForExit(), -SIGHUP);
    EXPECT_FALSE(log.Has("Daemon stopped"));
}

TEST_F(Signals, ASignalThatCameTwiceEndsTheDaemonOnce) {
    Process& daemon = StartAndWait({"-n"});

    daemon.Signal(SIGINT);
    daemon.Signal(SIGTERM);

    EXPECT_EQ(daemon.WaitForExit(), 0);
    EXPECT_EQ(log.Count("Daemon stopped"), 1U) << Log();
}

TEST_F(Signals, ThatCannotBeBlockedAreReportedAndKeepTheirDefaultAction) {
    Process& daemon = Start({"-n"}, {{SYS_rt_sigprocmask, EINVAL}});
    ASSERT_TRUE(log.WaitForText("Daemon started")) << Log() << daemon.Errors();
    ASSERT_TRUE(WaitFor([&] { return daemon.Errors() == "sigprocmask: Invalid argument\n"; })) << daemon.Errors();

    daemon.Signal(SIGTERM);

    EXPECT_EQ(daemon.WaitForExit(), -SIGTERM);
    EXPECT_FALSE(log.Has("Daemon stopped"));
}

TEST_F(Signals, WithoutADescriptorForThemTheDaemonRunsOn) {
    Process& daemon = Start({"-n"}, {{SYS_signalfd4, EMFILE}});
    ASSERT_TRUE(WaitFor([&] { return IsInEventLoop(daemon.Id()); })) << Log() << daemon.Errors();
    EXPECT_TRUE(WaitFor([&] { return daemon.Errors() == "signalfd: Too many open files\n"; })) << daemon.Errors();
    RecordDaemon(daemon.Id());

    EXPECT_TRUE(Ask({"-s"}).starts_with("Port  0  status: is Down\n"));
}

}  // namespace
}  // namespace norvad::test
