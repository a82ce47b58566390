// norvadctl and daemons that start, restart, are busy or die, with few and with many streams and operators.

#include <csignal>
#include <memory>
#include <sstream>

#include "tests/support/system/board_test.h"
#include "tests/support/system/control_client.h"
#include "tests/support/system/norvadctl.h"

namespace norvad::test {
namespace {

constexpr const char* allPortsDown =
    "PORT  LINK  STP  AS CAPABLE\n0     down  -    -\n1     down  -    -\nCPU   down  -    -\n";

// Returns when that process stands still.
void Freeze(pid_t id) {
    kill(id, SIGSTOP);
    const std::string stat = "/proc/" + std::to_string(id) + "/stat";
    EXPECT_TRUE(WaitFor([&] { return ReadTextFile(stat).find(") T ") != std::string::npos; }));
}

class NorvadctlAndADaemon : public DaemonTest {
protected:
    Process& StartNorvadctl(const std::string& patience) {
        return *asking.emplace_back(std::make_unique<Process>(NorvadctlCommand({"ports", "--patience", patience})));
    }

    std::vector<std::unique_ptr<Process>> asking;
};

// A daemon that has detached itself waits for its interface, and has no request queue until then.
TEST_F(NorvadctlAndADaemon, ThatStartsWaitsForIt) {
    SetInterfaceUp("eth0", false);
    ASSERT_EQ(Start({}).WaitForExit(), 0);
    ASSERT_TRUE(WaitFor([] { return atoi(ReadTextFile(pidFile).c_str()) > 0; }));
    Process& norvadctl = StartNorvadctl("30");
    ASSERT_TRUE(WaitFor([&] { return HasQueue(norvadctl.Id()); }));
    EXPECT_TRUE(norvadctl.IsRunning());

    SetInterfaceUp("eth0", true);

    const Shown ports = EndOf(norvadctl);
    EXPECT_EQ(ports.status, 0) << ports.errors;
    EXPECT_EQ(ports.output, allPortsDown);
}

TEST_F(NorvadctlAndADaemon, ThatIsReplacedAsksTheNext) {
    Process& killed = StartAndWait({"-n"});
    Freeze(killed.Id());
    Process& norvadctl = StartNorvadctl("30");
    ASSERT_TRUE(WaitFor([] { return PeerQueue::Open(requestQueue).Waiting() == 1; }));

    killed.Signal(SIGKILL);
    ASSERT_EQ(killed.WaitForExit(), -SIGKILL);
    Start({"-n"});

    const Shown ports = EndOf(norvadctl);
    EXPECT_EQ(ports.status, 0) << ports.errors;
    EXPECT_EQ(ports.output, allPortsDown);
}

TEST_F(NorvadctlAndADaemon, ThatIsBusyIsPatient) {
    Process& daemon = StartAndWait({"-n"});
    Freeze(daemon.Id());
    const PeerQueue requests = PeerQueue::Open(requestQueue);
    while (requests.TrySend(ControlRequest(controlUnknown, ""))) continue;
    Process& patient = StartNorvadctl("30");

    const Shown given = EndOf(StartNorvadctl("1"));

    EXPECT_EQ(given.status, 3);
    EXPECT_EQ(given.errors, "norvadctl: the daemon takes no requests: its request queue is full\n");
    EXPECT_TRUE(patient.IsRunning());
    daemon.Signal(SIGCONT);
    EXPECT_EQ(EndOf(patient).output, allPortsDown);
}

TEST_F(NorvadctlAndADaemon, ThatHangsGivesUp) {
    Freeze(StartAndWait({"-n"}).Id());

    const Shown ports = EndOf(StartNorvadctl("1"));

    EXPECT_EQ(ports.status, 3);
    EXPECT_EQ(ports.output, "");
    EXPECT_EQ(ports.errors,
              "norvadctl: the daemon does not answer: it is busy, or a killed one left its request queue behind\n");
}

class NorvadctlAndStreams : public BoardTest {
protected:
    // So many talkers of the station at port 0.
    void DeclareTalkers(unsigned count) {
        constexpr unsigned perFrame = 4'000;
        StreamText stream = Stream();
        for (unsigned first = 1; first <= count; first += perFrame) {
            stream.id = Join({stations[0], BigEndian(first, 2)});
            stream.destination = Join({FromHex("91 e0 f0 00"), BigEndian(first, 2)});
            const auto values = std::min(perFrame, count - first + 1);
            wires[0]->Send(MsrpFrame(stations[0], {msrpTalker, mrpJoinIn, TalkerValue(stream)}, values));
        }
    }

    // They stay until the bridge asks for them in a LeaveAll, and are declared again until all are shown.
    void ExpectShown(unsigned count) {
        EXPECT_TRUE(WaitFor([&] {
            DeclareTalkers(count);
            return RunNorvadctl({"streams", "--count"}).output == std::to_string(count) + "\n";
        }));
    }

    // An answer of which norvadctl has not read the beginning, and the daemon not written the end.
    std::unique_ptr<Process> StopHalfWay(const std::string& patience) {
        const std::vector<std::string> words{"streams", "--count", "--patience", patience};
        kill(daemon, SIGSTOP);
        auto norvadctl = std::make_unique<Process>(NorvadctlCommand(words));
        EXPECT_TRUE(WaitFor([] { return PeerQueue::Open(requestQueue).Waiting() == 1; }));
        Freeze(norvadctl->Id());
        kill(daemon, SIGCONT);
        const PeerQueue answers = PeerQueue::Open(AnswersTo(norvadctl->Id()));
        EXPECT_TRUE(WaitFor([&] { return answers.Waiting() == 4; }));
        kill(daemon, SIGKILL);
        EXPECT_TRUE(board->WaitForEvent("daemon ended with status 137")) << board->Program().Output();
        return norvadctl;
    }
};

TEST_F(NorvadctlAndStreams, ShowsAllHoweverManyThereAre) {
    StartBoard();
    for (const unsigned count : {0, 1, 1'000, 10'000}) {
        SCOPED_TRACE(count);
        ExpectShown(count);

        const Shown all = RunNorvadctl({});
        EXPECT_EQ(all.status, 0) << all.errors;
        EXPECT_NE(all.output.find("\n" + std::to_string(count) + (count == 1 ? " stream\n" : " streams\n")),
                  std::string::npos)
            << all.output;
        if (count == 0) continue;
        char last[32];
        snprintf(last, sizeof last, "02:00:00:00:00:a0:%02x:%02x", count >> 8, count & 0xFF);
        const std::string before = std::to_string(count - 1);
        const Shown page = RunNorvadctl({"streams", "--offset", before, "--limit", "9"});
        EXPECT_NE(page.output.find(std::string("\n") + last + "  91:e0:f0:00:"), std::string::npos) << page.output;
        EXPECT_NE(RunNorvadctl({"explain", "stream", last}).output.find("\ntalker, port 0 "), std::string::npos);
    }
}

TEST_F(NorvadctlAndStreams, SaysThatTheDaemonDiedHalfWayThroughItsAnswer) {
    StartBoard({"-n"}, {"--restart", "3600000"});
    ExpectShown(1'000);

    const auto norvadctl = StopHalfWay("2");
    norvadctl->Signal(SIGCONT);

    const Shown streams = EndOf(*norvadctl);
    EXPECT_EQ(streams.status, 3);
    EXPECT_EQ(streams.output, "");
    EXPECT_EQ(streams.errors, "norvadctl: the daemon's answer stopped half way\n");
}

TEST_F(NorvadctlAndStreams, AsksAnewWhenTheDaemonThatDiedHalfWayIsStartedAgain) {
    StartBoard({"-n"}, {"--restart", "100"});
    ExpectShown(1'000);

    const auto norvadctl = StopHalfWay("30");
    norvadctl->Signal(SIGCONT);

    const Shown streams = EndOf(*norvadctl);
    EXPECT_EQ(streams.status, 0) << streams.errors;
    EXPECT_EQ(streams.output, "0\n");
}

// norvad3 itself asks through one queue for all its clients.
// Class, priority and VLAN of each domain: the rest of a row changes while many ask, one after the other.
std::vector<std::string> DomainsIn(const std::string& table) {
    std::vector<std::string> domains;
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string srClass, priority, vid;
        words >> srClass >> priority >> vid;
        domains.push_back(srClass + " " + priority + " " + vid);
    }
    return domains;
}

TEST_F(NorvadctlAndStreams, AnswersManyBesideAClientOfTheDaemon) {
    StartBoard();
    RecordDaemon(daemon);
    ExpectShown(45);
    for (const int count : {2, 50}) {
        SCOPED_TRACE(count);
        std::vector<std::unique_ptr<Process>> crowd;
        for (int i = 0; i < count; ++i) {
            crowd.push_back(std::make_unique<Process>(NorvadctlCommand({"domains", "--patience", "60"})));
        }

        EXPECT_TRUE(Ask({"-r"}).starts_with("Port 0\n"));

        for (const auto& one : crowd) {
            const Shown domains = EndOf(*one);
            EXPECT_EQ(domains.status, 0) << domains.errors;
            EXPECT_EQ(DomainsIn(domains.output), (std::vector<std::string>{"CLASS PRIORITY VLAN", "B 2 2", "A 3 2"}));
        }
        EXPECT_FALSE(PeerQueue::Exists(replyQueue));
    }
}

}  // namespace
}  // namespace norvad::test
