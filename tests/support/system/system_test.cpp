#include "tests/support/system/system_test.h"

#include <csignal>

namespace norvad::test {

SystemTest::SystemTest() = default;

// Programs that detached themselves are nobody's but the test's.
SystemTest::~SystemTest() {
    for (const pid_t id : OtherProcesses()) kill(id, SIGKILL);
    WaitForAllOrphans();
    EmptyTemporaryDirectory();
}

Process& DaemonTest::Start(const std::vector<std::string>& arguments, const std::vector<AnsweredCall>& answered) {
    std::vector<std::string> command{NORVAD_DAEMON};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return *started.emplace_back(std::make_unique<Process>(command, answered));
}

// The event loop begins with blocking its signals; before that SIGTERM is plain death.
Process& DaemonTest::StartAndWait(const std::vector<std::string>& arguments) {
    Process& daemon = Start(arguments);
    EXPECT_TRUE(log.WaitForText("Daemon started")) << Log() << daemon.Errors();
    EXPECT_TRUE(WaitFor([&] { return IsInEventLoop(daemon.Id()); })) << Log() << daemon.Errors();
    return daemon;
}

std::optional<int> DaemonTest::Stop(Process& daemon) {
    daemon.Signal(SIGTERM);
    return daemon.WaitForExit();
}

pid_t DaemonTest::WaitForDetached() const {
    pid_t id = 0;
    WaitFor([&] { return (id = atoi(ReadTextFile(pidFile).c_str())) > 0 && IsInEventLoop(id); });
    return id;
}

}  // namespace norvad::test
