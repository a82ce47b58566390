#include <algorithm>
#include <csignal>

#include "tests/support/system/board_test.h"
#include "tests/support/system/control_client.h"
#include "tests/support/system/pseudo_terminal.h"

namespace norvad::test {
namespace {

// Whether that process's queue for the answer to its question of that number is there.
bool HasQueue(pid_t process, int question) {
    return PeerQueue::Exists("/norvadctl." + std::to_string(process) + "." + std::to_string(question));
}

bool HasAnyQueue(pid_t process) {
    constexpr int mostQuestions = 1000;
    for (int question = 1; question < mostQuestions; ++question) {
        if (HasQueue(process, question)) return true;
    }
    return false;
}

// A look at the bridge is five questions, and the queue of the last is there until the next look.
bool WaitForFirstLook(const Process& program) {
    return WaitFor([&] { return HasQueue(program.Id(), 5); });
}

class NorvadctlEvents : public BoardTest {};

TEST_F(NorvadctlEvents, TellsOfAPortThatBecomesAsCapableAndOfWhatFollows) {
    StartBoard();
    Process events({NORVADCTL, "events"});
    ASSERT_TRUE(WaitForFirstLook(events)) << Log();

    MakeAsCapable(0);
    EXPECT_TRUE(events.WaitForOutput(" port 0: AS capable\n")) << events.Output();
    Silence(0);
    EXPECT_TRUE(events.WaitForOutput(" port 0: not AS capable\n")) << events.Output();

    events.Signal(SIGTERM);
    EXPECT_EQ(events.WaitForExit(), -SIGTERM);
    EXPECT_FALSE(HasAnyQueue(events.Id()));
    EXPECT_EQ(events.Errors(), "");
}

class NorvadctlOnBoard : public BoardTest {
protected:
    // The status of norvadctl's end with those arguments, which leaves no queue and prints no error.
    static std::optional<int> StatusOf(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), NORVADCTL);
        Process program(arguments);
        const auto status = program.WaitForExit();
        EXPECT_EQ(program.Errors(), "");
        EXPECT_FALSE(HasAnyQueue(program.Id()));
        return status;
    }
};

TEST_F(NorvadctlOnBoard, WaitsUntilAPortIsAsCapable) {
    StartBoard();
    Process once({NORVADCTL, "wait", "port", "0", "--timeout", "0"});
    EXPECT_EQ(once.WaitForExit(), 1);
    Process waiting({NORVADCTL, "wait", "port", "0", "--timeout", "600"});
    ASSERT_TRUE(WaitFor([&] { return HasQueue(waiting.Id(), 1); }));

    MakeAsCapable(0);

    EXPECT_EQ(waiting.WaitForExit(), 0);
    EXPECT_FALSE(HasAnyQueue(waiting.Id()));
}

TEST_F(NorvadctlOnBoard, LeavesAListenerThatANeighbourDeclares) {
    StartBoard();
    const auto isListening = [] {
        const std::string streams = RunCommand({NORVADCTL, "streams"});
        return streams.find("port 1 ready") != std::string::npos;
    };
    ASSERT_TRUE(WaitFor([&] {
        SendMsrp(1, {msrpListener, mrpJoinIn, Stream().id, listenerReady});
        return isListening();
    })) << Log();

    EXPECT_EQ(StatusOf({"leave", "listener", "0200000000a00001", "1"}), 0);

    EXPECT_TRUE(WaitFor([&] { return !isListening(); }));
}

TEST_F(NorvadctlOnBoard, PrintsTheMetricsOfARunningBoard) {
    StartBoard();

    const std::string metrics = RunCommand({NORVADCTL, "metrics"});

    for (const char* line : {"\nnorvad3_up 1\n", "\nnorvad3_port_up{port=\"0\"} 1\n",
                             "\nnorvad3_port_as_capable{port=\"1\"} 0\n", "\nnorvad3_streams 0\n"}) {
        EXPECT_NE(metrics.find(line), std::string::npos) << line << metrics;
    }
}

class NorvadctlWithoutBoard : public DaemonTest {};

TEST_F(NorvadctlWithoutBoard, TellsThatTheDaemonComesIsKilledAndComesAgain) {
    Process events({NORVADCTL, "events", "--patience", "1"});
    EXPECT_TRUE(events.WaitForOutput(" the daemon is gone (no daemon runs"));

    Process& first = StartAndWait({"-n"});
    EXPECT_TRUE(events.WaitForOutput(" the daemon is back\n"));
    first.Signal(SIGKILL);
    EXPECT_TRUE(events.WaitForOutput(" the daemon is gone (the daemon does not answer"));
    StartAndWait({"-n"});
    EXPECT_TRUE(WaitFor([&] { return events.Output().ends_with(" the daemon is back\n"); })) << events.Output();

    events.Signal(SIGINT);
    EXPECT_EQ(events.WaitForExit(), -SIGINT);
    EXPECT_FALSE(HasAnyQueue(events.Id()));
    EXPECT_EQ(events.Errors(), "");
}

// The reader takes the program's number and one event; the next event finds nobody.
TEST_F(NorvadctlWithoutBoard, EndsQuietlyWhenNobodyReadsTheEvents) {
    Process pipe({"/bin/bash", "-c", "{ echo $BASHPID; exec " NORVADCTL " events; } | head -n 2"});
    ASSERT_TRUE(pipe.WaitForOutput("the daemon is gone"));
    const pid_t events = std::stoi(pipe.Output());

    StartAndWait({"-n"});

    EXPECT_EQ(pipe.WaitForExit(), 0);
    EXPECT_EQ(pipe.Errors(), "");
    EXPECT_FALSE(HasAnyQueue(events));
}

class NorvadctlWatch : public BoardTest {
protected:
    static constexpr const char* otherScreen = "\033[?1049h";
    static constexpr const char* ownScreen = "\033[?25h\033[?1049l";
    static constexpr const char* newDrawing = "\033[H";

    // The terminal is as it was before, and no queue is left.
    static void ExpectCleanEnd(PseudoTerminal& terminal, int status) {
        EXPECT_EQ(terminal.WaitForExit(), status);
        EXPECT_TRUE(terminal.Output().starts_with(otherScreen)) << terminal.Output();
        EXPECT_NE(terminal.Output().rfind(ownScreen), std::string::npos) << terminal.Output();
        EXPECT_GT(terminal.Output().rfind(ownScreen), terminal.Output().rfind(newDrawing)) << terminal.Output();
        EXPECT_FALSE(HasAnyQueue(terminal.Id()));
    }
};

TEST_F(NorvadctlWatch, MarksWhatChangesAndEndsAtCtrlC) {
    StartBoard();
    PseudoTerminal terminal({NORVADCTL, "watch"}, 120, 30);
    ASSERT_TRUE(terminal.WaitForOutput("AS CAPABLE")) << terminal.Output();

    MakeAsCapable(0);

    EXPECT_TRUE(terminal.WaitForOutput("\033[32m\033[7myes\033[0m")) << terminal.Output();
    EXPECT_TRUE(terminal.WaitForOutput("port 0: AS capable"));
    terminal.Type("\x03");
    ExpectCleanEnd(terminal, -SIGINT);
}

TEST_F(NorvadctlWatch, IsDrawnAgainInTheNewSizeOfTheTerminal) {
    StartBoard();
    PseudoTerminal terminal({NORVADCTL, "watch", "3600"}, 120, 30);
    ASSERT_TRUE(terminal.WaitForOutput("DECLARED")) << terminal.Output();
    const size_t drawn = terminal.Output().size();

    terminal.Resize(20, 4);

    ASSERT_TRUE(terminal.WaitForOutput("\033[J", drawn)) << terminal.Output();
    const std::string drawing = terminal.Output().substr(drawn);
    EXPECT_TRUE(drawing.starts_with(newDrawing)) << drawing;
    EXPECT_EQ(std::count(drawing.begin(), drawing.end(), '\n'), 3) << drawing;
    EXPECT_EQ(drawing.find("DECLARED"), std::string::npos) << drawing;
    kill(terminal.Id(), SIGTERM);
    ExpectCleanEnd(terminal, -SIGTERM);
}

TEST_F(NorvadctlWatch, OutlivesTheDaemon) {
    PseudoTerminal terminal({NORVADCTL, "watch", "--patience", "1"}, 120, 30);
    EXPECT_TRUE(terminal.WaitForOutput(": no daemon runs")) << terminal.Output();
    StartBoard();
    EXPECT_TRUE(terminal.WaitForOutput("the daemon is back")) << terminal.Output();

    kill(daemon, SIGKILL);

    EXPECT_TRUE(terminal.WaitForOutput(": the daemon does not answer")) << terminal.Output();
    kill(terminal.Id(), SIGTERM);
    ExpectCleanEnd(terminal, -SIGTERM);
}

TEST_F(NorvadctlWatch, SaysWhatToUseWhereThereIsNoTerminal) {
    Process watch({NORVADCTL, "watch"});

    EXPECT_EQ(watch.WaitForExit(), 2);
    EXPECT_EQ(watch.Output(), "");
    EXPECT_EQ(watch.Errors(), "norvadctl: watch draws on a terminal; norvadctl events prints what changes anywhere\n");
}

}  // namespace
}  // namespace norvad::test
