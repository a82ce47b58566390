#include <csignal>

#include "tests/support/system/board_test.h"
#include "tests/support/system/control_client.h"

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

}  // namespace
}  // namespace norvad::test
