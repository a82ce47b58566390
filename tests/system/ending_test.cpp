#include <algorithm>
#include <csignal>
#include <filesystem>

#include "tests/support/system/board_test.h"

namespace norvad::test {
namespace {

const std::vector<std::string> cables{"peer0", "peer1", "port0", "port1"};

class Ending : public BoardTest {
protected:
    // Nothing but the cables and the test itself is left.
    void ExpectNothingLeft() {
        EXPECT_TRUE(WaitFor([] { return OtherProcesses().empty(); })) << board->Program().Output();
        auto left = Interfaces();
        std::sort(left.begin(), left.end());
        EXPECT_EQ(left, cables);
    }
};

TEST_F(Ending, OfTheBoardEndsTheDaemonInOrder) {
    for (const int signal : {SIGTERM, SIGINT}) {
        SCOPED_TRACE(signal);
        const size_t before = log.Count("Daemon stopped");
        StartBoard();

        board->Program().Signal(signal);

        EXPECT_EQ(board->Program().WaitForExit(), 0) << board->Program().Errors();
        EXPECT_EQ(log.Count("Daemon stopped"), before + 1) << Log();
        EXPECT_TRUE(board->WaitForEvent("daemon ended with status 0")) << board->Program().Output();
        ExpectNothingLeft();
    }
}

TEST_F(Ending, OfTheDaemonEndsTheBoard) {
    StartBoard();

    kill(daemon, SIGTERM);

    EXPECT_EQ(board->Program().WaitForExit(), 0) << board->Program().Errors();
    EXPECT_TRUE(board->WaitForEvent("daemon ended with status 0")) << board->Program().Output();
    ExpectNothingLeft();
}

TEST_F(Ending, OfAKilledDaemonEndsTheBoardAndIsReported) {
    StartBoard();

    kill(daemon, SIGKILL);

    EXPECT_EQ(board->Program().WaitForExit(), 128 + SIGKILL) << board->Program().Errors();
    EXPECT_TRUE(board->WaitForEvent("daemon ended with status 137")) << board->Program().Output();
    ExpectNothingLeft();
}

TEST_F(Ending, OfAKilledBoardTakesTheDaemonAndTheInterfaceAlong) {
    StartBoard();

    board->Program().Signal(SIGKILL);

    EXPECT_EQ(board->Program().WaitForExit(), -SIGKILL);
    EXPECT_TRUE(WaitFor([] { return OtherProcesses().empty(); })) << board->Program().Output();
    EXPECT_TRUE(WaitFor([] { return !InterfaceExists("eth0"); }));
    StartBoard();
}

TEST_F(Ending, OfABoardWhoseCpuInterfaceExistsSaysSo) {
    LayCable("eth0", "cpu0");

    VirtualBoard refused;

    EXPECT_EQ(refused.Program().WaitForExit(), 1);
    EXPECT_EQ(refused.Program().Errors(), "norvad3-virtual-switch: interface eth0 exists already\n");
}

TEST_F(Ending, OfADaemonThatDoesNotLikeItsOptionsEndsTheBoard) {
    VirtualBoard refused({"-n", "--bogus"});

    EXPECT_EQ(refused.Program().WaitForExit(), 0);
    EXPECT_NE(refused.Program().Errors().find("Exception: unrecognised option '--bogus'"), std::string::npos);
    EXPECT_TRUE(refused.WaitForEvent("daemon ended with status 0"));
    EXPECT_FALSE(InterfaceExists("eth0"));
}

TEST_F(Ending, OfABoardThatCannotStartSaysWhyAndLeavesNothing) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"--port0", "nosuch0", "--port1", "port1", "--", NORVAD_DAEMON, "-n"}, "nosuch0"},
        {{"--port0", "port0", "--port1", "port0", "--", NORVAD_DAEMON, "-n"}, "same interface"},
        {{"--port0", "port0", "--port1", "port1", "--", "/nosuch/daemon"}, "/nosuch/daemon"},
        {{"--port0", "port0", "--port1", "port1"}, "daemon"},
        {{"--port0", "port0", "--port1", "port1", "--bogus", "--", NORVAD_DAEMON, "-n"}, "bogus"},
    };
    for (auto [arguments, text] : cases) {
        arguments.insert(arguments.begin(), NORVAD_VIRTUAL_SWITCH);
        Process refused(arguments);
        EXPECT_EQ(refused.WaitForExit(), 1) << refused.Output();
        EXPECT_NE(refused.Errors().find(text), std::string::npos) << refused.Errors();
        EXPECT_FALSE(InterfaceExists("eth0"));
        EXPECT_TRUE(WaitFor([] { return OtherProcesses().empty(); }));
    }
}

TEST_F(Ending, OfTheBoardReachesADaemonThatDetachedItself) {
    StartBoard({});
    EXPECT_EQ(ReadTextFile(pidFile), std::to_string(daemon));
    SendMsrp(0, {msrpTalker, mrpNew, TalkerValue(Stream())});
    EXPECT_TRUE(WaitForDeclared(1, msrpTalkerFailed, Stream().id)) << Log();

    board->Program().Signal(SIGTERM);

    EXPECT_TRUE(board->Program().WaitForExit().has_value()) << board->Program().Output();
    EXPECT_TRUE(log.WaitForText("Daemon stopped")) << Log();
    EXPECT_FALSE(std::filesystem::exists(pidFile));
    ExpectNothingLeft();
}

}  // namespace
}  // namespace norvad::test
