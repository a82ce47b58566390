// Standard output whose reader stops or goes, and files in /tmp that are none.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "tests/support/system/control_client.h"
#include "tests/support/system/system_test.h"

namespace norvad::test {
namespace {

constexpr const char* outputPipe = "/tmp/output";

// A daemon in the foreground that logs into a pipe.
class Output : public DaemonTest {
protected:
    Output() {
        EXPECT_EQ(mkfifo(outputPipe, 0600), 0);
        reader = open(outputPipe, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        fcntl(reader, F_SETPIPE_SZ, 4096);
        daemon = std::make_unique<Process>(
            std::vector<std::string>{"sh", "-c", std::string("exec ") + NORVAD_DAEMON + " -n -d ptp 1 >" + outputPipe});
        EXPECT_TRUE(WaitFor([this] { return IsInEventLoop(daemon->Id()); }));
    }
    ~Output() override { CloseReader(); }

    void CloseReader() {
        if (reader >= 0) close(reader);
        reader = -1;
    }

    std::string Read() const {
        std::array<char, 65536> text;
        const ssize_t length = read(reader, text.data(), text.size());
        return {text.data(), static_cast<size_t>(std::max<ssize_t>(length, 0))};
    }

    // So many lines of the daemon's.
    void LetLog(int lines) {
        PeerQueue requests = PeerQueue::Open(requestQueue);
        const Bytes notification = ControlRequest(controlNotification, "");
        for (int n = 0; n < lines; ++n) {
            ASSERT_TRUE(WaitFor([&] { return requests.TrySend(notification); })) << "the daemon stands still";
        }
        ASSERT_TRUE(requests.WaitUntilEmpty());
    }

    int reader = -1;
    std::unique_ptr<Process> daemon;
};

TEST_F(Output, ReaderThatStopsCostsLinesAndHearsOfThemLater) {
    LetLog(200);
    (void)Read();
    LetLog(1);

    EXPECT_NE(Read().find("[norvad] standard output was not read: "), std::string::npos);
    EXPECT_EQ(Stop(*daemon), 0) << daemon->Errors();
}

TEST_F(Output, ReaderThatGoesDoesNotEndTheDaemon) {
    CloseReader();
    LetLog(2);

    EXPECT_TRUE(daemon->IsRunning());
    EXPECT_EQ(Stop(*daemon), 0) << daemon->Errors();
}

class FilesInTmp : public DaemonTest {
protected:
    // A daemon that detached itself, wherever it recorded that; 0 when none does.
    pid_t StartDetached() {
        EXPECT_EQ(Start({}).WaitForExit(), 0);
        std::vector<pid_t> daemons;
        const auto isAlone = [&] { return (daemons = ProcessesNamed("norvad3")).size() == 1; };
        if (!log.WaitForText("Daemon started") || !WaitFor(isAlone)) return 0;
        return WaitFor([&] { return IsInEventLoop(daemons[0]); }) ? daemons[0] : 0;
    }
};

TEST_F(FilesInTmp, ThatArePipesDoNotStopTheDaemon) {
    ASSERT_EQ(mkfifo(pidFile, 0666), 0);
    ASSERT_EQ(mkfifo("/tmp/ptp_grandmaster", 0666), 0);
    Process& daemon = StartAndWait({"-n"});
    std::filesystem::remove(pidFile);
    RecordDaemon(daemon.Id());

    EXPECT_EQ(Ask({"-m", "5"}), "OK");
    ASSERT_TRUE(PeerQueue::Open(requestQueue).TrySend(ControlRequest(controlNotification, "")));
    EXPECT_TRUE(WaitUntilServed());

    EXPECT_EQ(Stop(daemon), 0) << daemon.Errors();
}

TEST_F(FilesInTmp, ThatAreLinksAreNotFollowed) {
    std::filesystem::create_symlink("/tmp/pid_target", pidFile);
    std::filesystem::create_symlink("/tmp/grandmaster_target", "/tmp/ptp_grandmaster");

    const pid_t daemon = StartDetached();
    ASSERT_GT(daemon, 0) << Log();

    EXPECT_FALSE(std::filesystem::exists("/tmp/pid_target"));
    kill(daemon, SIGTERM);
    EXPECT_EQ(WaitForOrphan(daemon), 0);
    EXPECT_FALSE(std::filesystem::exists("/tmp/grandmaster_target"));
}

TEST_F(FilesInTmp, ThatAreLinksToAFileOfSomebodyElseLeaveItAlone) {
    const std::string victim = "/tmp/victim";
    std::ofstream(victim) << "kept";
    std::filesystem::create_symlink(victim, pidFile);
    std::filesystem::create_symlink(victim, "/tmp/ptp_grandmaster");
    const pid_t daemon = StartDetached();
    ASSERT_GT(daemon, 0) << Log();
    EXPECT_EQ(ReadTextFile(victim), "kept");
    std::filesystem::remove(pidFile);
    RecordDaemon(daemon);

    EXPECT_EQ(Ask({"-m", "5"}), "OK");
    ASSERT_TRUE(PeerQueue::Open(requestQueue).TrySend(ControlRequest(controlNotification, "")));
    EXPECT_TRUE(WaitUntilServed());

    kill(daemon, SIGTERM);
    EXPECT_EQ(WaitForOrphan(daemon), 0);
    EXPECT_EQ(ReadTextFile(victim), "kept");
}

}  // namespace
}  // namespace norvad::test
