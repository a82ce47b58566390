#include <csignal>
#include <regex>

#include "tests/support/http_client.h"
#include "tests/support/system/board_test.h"
#include "tests/support/system/control_client.h"
#include "tests/support/system/network.h"
#include "tests/support/system/norvadctl.h"

namespace norvad::test {
namespace {

// A connection to a norvadctl that serves, at the address that it says.
HttpClient ClientOf(const Process& serving) {
    SetInterfaceUp("lo", true);
    EXPECT_TRUE(serving.WaitForOutput("/\n"));
    const std::string url = serving.Output();
    const auto port = static_cast<uint16_t>(std::stoi(url.substr(url.rfind(':') + 1)));
    return HttpClient({boost::asio::ip::address_v4::loopback(), port});
}

class Norvadctl : public BoardTest {
protected:
    // A stream from port 0 is reserved on port 1, and its declarations come again until norvadctl shows that.
    bool ReserveAStream() {
        MakeAsCapable(1);
        return WaitFor([&] {
            SendMsrp(0, {msrpTalker, mrpJoinIn, TalkerValue(Stream())});
            SendMsrp(1, {msrpListener, mrpJoinIn, Stream().id, listenerReady});
            return RunNorvadctl({"streams"}).output.find("port 1 ready") != std::string::npos;
        });
    }
};

TEST_F(Norvadctl, ShowsThePortsOfARunningBoard) {
    StartBoard();

    const Shown ports = RunNorvadctl({"ports"});

    EXPECT_EQ(ports.status, 0) << ports.errors;
    EXPECT_EQ(ports.output,
              "PORT  LINK  STP  AS CAPABLE\n"
              "0     up    up   no\n"
              "1     up    up   no\n"
              "CPU   down  -    -\n");
    EXPECT_EQ(ports.errors, "");
}

TEST_F(Norvadctl, ShowsWhatIsReservedInOneRow) {
    StartBoard();
    ASSERT_TRUE(ReserveAStream()) << Log();

    const Shown streams = RunNorvadctl({"streams", "--stream", "0200:0000:00a0:0001"});

    EXPECT_EQ(streams.status, 0) << streams.errors;
    const std::string row = R"(02:00:00:00:00:a0:00:01  91:e0:f0:00:01:00  \d+ ns  port 0  port 1 ready  port 1    )";
    EXPECT_TRUE(std::regex_search(streams.output, std::regex("\n" + row))) << streams.output;
    EXPECT_EQ(RunNorvadctl({"streams", "--count"}).output, "1\n");
    EXPECT_EQ(RunNorvadctl({"streams", "--count", "--port", "5"}).output, "0\n");
}

TEST_F(Norvadctl, SaysWhyAStreamFailsAtAPortThatIsNotAsCapable) {
    StartBoard();
    SendMsrp(0, {msrpTalker, mrpNew, TalkerValue(Stream())});
    ASSERT_TRUE(WaitForDeclared(1, msrpTalkerFailed, Stream().id)) << Log();

    const Shown streams = RunNorvadctl({"streams"});

    EXPECT_NE(streams.output.find("port 1: 8 Egress port is not AVB capable, bridge 80:00:"), std::string::npos)
        << streams.output;
}

TEST_F(Norvadctl, UnderstandsEverythingThatTheDaemonSays) {
    StartBoard();
    ASSERT_TRUE(ReserveAStream()) << Log();

    for (const char* view : {"ports", "streams", "vlans", "domains", "clock"}) {
        const Shown shown = RunNorvadctl({view});
        EXPECT_EQ(shown.status, 0) << view;
        EXPECT_EQ(shown.errors, "") << view;
        const Shown json = RunNorvadctl({view, "--json"});
        EXPECT_NE(json.output.find(R"("notUnderstood":{"count":0,"lines":[]}})"), std::string::npos) << json.output;
    }
    const Shown all = RunNorvadctl({});
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(all.errors, "");
    EXPECT_NE(all.output.find("\n1 stream\n"), std::string::npos) << all.output;
}

TEST_F(Norvadctl, ServesWhatItShows) {
    StartBoard();
    Process serving({NORVADCTL, "serve", "--listen", "127.0.0.1:0"});
    HttpClient client = ClientOf(serving);

    EXPECT_NE(client.Get("/api/v1/ports").find(R"({"port":0,"up":true,"stp":true,"asCapable":false})"),
              std::string::npos)
        << client.Received();
    EXPECT_NE(client.Get("/metrics").find("\nnorvad3_up 1\n"), std::string::npos) << client.Received();
    EXPECT_NE(client.Get("/").find("<title>"), std::string::npos) << client.Received();
    serving.Signal(SIGTERM);
    EXPECT_EQ(serving.WaitForExit(), -SIGTERM);
}

class NorvadctlAlone : public DaemonTest {};

TEST_F(NorvadctlAlone, SaysThatNoDaemonRuns) {
    const Shown ports = RunNorvadctl({"ports"});

    EXPECT_EQ(ports.status, 3);
    EXPECT_EQ(ports.output, "");
    EXPECT_EQ(ports.errors, "norvadctl: no daemon runs: there is no request queue /norvad.mq\n");
}

TEST_F(NorvadctlAlone, LeavesNoQueueBehindWhenItIsInterrupted) {
    const PeerQueue requests = PeerQueue::Make(requestQueue, controlMessageSize);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        Process waiting({NORVADCTL, "ports", "--patience", "600"});
        ASSERT_TRUE(WaitFor([&] { return HasQueue(waiting.Id()); }));
        waiting.Signal(signal);

        EXPECT_EQ(waiting.WaitForExit(), -signal);
        EXPECT_FALSE(HasQueue(waiting.Id()));
    }
}

TEST_F(NorvadctlAlone, ServesAlsoWithoutADaemonAndLeavesNoQueueBehind) {
    Process serving({NORVADCTL, "serve", "--listen", "127.0.0.1:0"});
    HttpClient client = ClientOf(serving);

    EXPECT_NE(client.Get("/api/v1/ports").find("no daemon runs"), std::string::npos) << client.Received();
    serving.Signal(SIGINT);
    EXPECT_EQ(serving.WaitForExit(), -SIGINT);
    EXPECT_FALSE(HasQueue(serving.Id()));

    const Shown taken = RunNorvadctl({"serve", "--listen", "192.0.2.1:1"});
    EXPECT_EQ(taken.status, 1);
    EXPECT_EQ(taken.errors, "norvadctl: nothing can be served at 192.0.2.1:1: Cannot assign requested address\n");
    EXPECT_EQ(RunNorvadctl({"serve", "--listen", "localhost:1"}).status, 2);
    EXPECT_EQ(RunNorvadctl({"serve", "more"}).status, 2);
}

TEST_F(NorvadctlAlone, IsAnsweredBesideManyOthers) {
    StartAndWait({"-n"});
    std::vector<std::unique_ptr<Process>> crowd;
    for (int i = 0; i < 20; ++i) {
        crowd.push_back(std::make_unique<Process>(std::vector<std::string>{NORVADCTL, "domains", "--patience", "60"}));
    }

    for (const auto& one : crowd) {
        EXPECT_EQ(one->WaitForExit(), 0) << one->Errors();
        EXPECT_EQ(one->Output(), crowd[0]->Output());
        EXPECT_FALSE(HasQueue(one->Id()));
    }
}

}  // namespace
}  // namespace norvad::test
