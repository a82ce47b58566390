#include <regex>

#include "tests/support/system/board_test.h"
#include "tests/support/system/control_client.h"

namespace norvad::test {
namespace {

// A board whose daemon is in the foreground and found by its clients.
class Control : public BoardTest {
protected:
    void StartFoundBoard() {
        StartBoard();
        RecordDaemon(daemon);
    }

    static bool WaitForMatch(const std::string& command, const std::string& expression) {
        const std::regex wanted(expression);
        return WaitFor([&] { return std::regex_search(Ask({command}), wanted); });
    }
};

TEST_F(Control, PortsAreShownByADetachedDaemon) {
    StartBoard({});
    EXPECT_EQ(ReadTextFile(pidFile), std::to_string(daemon));
    EXPECT_EQ(Ask({"-s"}),
              "Port  0  status: is Up,   STP status: Up,   AVB status: Down,\n"
              "Port  1  status: is Up,   STP status: Up,   AVB status: Down,\n"
              "CPU Port status: is Down\n");

    SetInterfaceUp("peer1", false);

    EXPECT_TRUE(WaitForAnswer({"--ports"}, "AVB status: Down,\nPort  1  status: is Down\nCPU Port"));
    EXPECT_TRUE(DaemonLives());
}

TEST_F(Control, StreamsAreShownAndPutOut) {
    StartFoundBoard();
    EXPECT_EQ(Ask({"-l", "0"}), "Listener not found");
    EXPECT_EQ(Ask({"-t", "0"}), "Talker not found");
    MakeAsCapable(1);
    const std::string talker =
        R"(\[MSRP\] Talker: 02:00:00:00:00:a0:00:01: MAC: 91:e0:f0:00:01:00: AccLatency = 0x[0-9a-f]+ \(\d+ns\) )"
        R"(Applicant [A-Z]{2} Registrar )";
    const std::string listener = R"(\[MSRP\] Listener:0200000000a0:0001 decl:READY Applicant [A-Z]{2} Registrar )";
    const std::string registered = "^Port 0\n" + talker + "IN\n" + listener + "MT\nPort 1\n" + talker + "MT\n" +
                                   listener + "IN\nPort 2\nPort 3\nPort 4\nPort 5\nPort 6\n";
    const auto isShown = [&] {
        SendMsrp(0, {msrpTalker, mrpJoinIn, TalkerValue(Stream())});
        SendMsrp(1, {msrpListener, mrpJoinIn, Stream().id, listenerReady});
        return std::regex_match(Ask({"-r"}), std::regex(registered));
    };
    ASSERT_TRUE(WaitFor(isShown)) << Ask({"-r"});
    EXPECT_EQ(Ask({"-l", "2"}), "Listener not found");

    // Entry 0 is what this bridge declares on port 0; the one that its neighbour declares comes second.
    EXPECT_TRUE(std::regex_match(Ask({"-l", "1"}), std::regex("Sending LV to: " + listener + "[A-Z]{2}\n")));

    EXPECT_FALSE(std::regex_search(Ask({"-r"}), std::regex(listener + "IN")));
    EXPECT_TRUE(board->WaitForEvent("multicast remove port mask 0x02 vid 2 91:e0:f0:00:01:00")) << Log();

    EXPECT_TRUE(std::regex_match(Ask({"-t", "0"}), std::regex("Sending LV to: " + talker + "[A-Z]{2}\n")));

    EXPECT_FALSE(std::regex_search(Ask({"-r"}), std::regex(talker + "IN")));
    EXPECT_TRUE(WaitForLeft(1, msrpTalker, Stream().id)) << Log();
}

TEST_F(Control, DomainsAndVlansAreShownPortByPort) {
    StartFoundBoard();

    const std::string domains =
        "\n\\[MSRP\\] Domain:5 Pri2 VLAN2 Applicant [A-Z]{2} Registrar MT"
        "\n\\[MSRP\\] Domain:6 Pri3 VLAN2 Applicant [A-Z]{2} Registrar MT\n";
    EXPECT_TRUE(std::regex_search(Ask({"-o"}), std::regex("^Port 0" + domains + "Port 1" + domains + "Port 2\n")))
        << Ask({"-o"});
    EXPECT_EQ(Ask({"-v"}), "Port 0\nPort 1\nPort 2\nPort 3\nPort 4\nPort 5\nPort 6\n");
}

TEST_F(Control, TimeIsShownAndSet) {
    StartFoundBoard();
    const std::string status =
        R"(ST:[A-Z]+:MC:0x[0-9a-f]{16}:LC:0x[0-9a-f]{16}:SR:0:PD0:-?\d+ns:PD1:-?\d+ns:AD:-?\d+ns:RMS:[^:]+:)"
        R"(RR0:[^:]+:RR1:[^:]+:CRR:[^:]+:w:)";
    EXPECT_TRUE(std::regex_match(Ask({"-p"}), std::regex(status + "0\n"))) << Ask({"-p"});

    EXPECT_EQ(Ask({"-w", "1"}), "OK");
    EXPECT_TRUE(std::regex_match(Ask({"--ptp"}), std::regex(status + "1\n"))) << Ask({"-p"});
    EXPECT_EQ(Ask({"-w", "0"}), "OK");
    EXPECT_TRUE(std::regex_match(Ask({"-p"}), std::regex(status + "0\n"))) << Ask({"-p"});

    EXPECT_EQ(Ask({"-a", "3"}), "OK");
    EXPECT_TRUE(WaitForMatch("-s", "^Port  0 .*AVB status: Up,  \nPort  1 .*AVB status: Up,  \n")) << Ask({"-s"});
    EXPECT_EQ(Ask({"-m", "256"}), "priority1 out of range 0..255\n");
    EXPECT_EQ(Ask({"-m", "5"}), "OK");
    const auto bids = [](const Bytes& frame) {
        return EtherType(frame) == 0x88F7 && frame.at(payloadAt) == 0x1B && frame.at(payloadAt + 47) == 5;
    };
    for (int port : {0, 1}) EXPECT_TRUE(wires[port]->WaitForFrame(bids)) << Log();
    EXPECT_EQ(Ask({"-a", "0"}), "OK");
    EXPECT_TRUE(WaitForMatch("-s", "^Port  0 .*AVB status: Down,\nPort  1 .*AVB status: Down,\n")) << Ask({"-s"});
}

TEST_F(Control, DriverIsToldOfLimitsAndAskedForItsTable) {
    StartFoundBoard();

    EXPECT_EQ(Ask({"-0", "50"}), "OK");
    EXPECT_EQ(Ask({"--egress1", "99"}), "OK");
    EXPECT_EQ(Ask({"-1", "4294967295"}), "OK");
    EXPECT_EQ(Ask({"-i"}), "OK");

    EXPECT_TRUE(board->WaitForEvent("egress limit port 0 parameter 2 limit 50")) << board->Program().Output();
    EXPECT_TRUE(board->WaitForEvent("egress limit port 1 parameter 2 limit 99")) << board->Program().Output();
    EXPECT_TRUE(board->WaitForEvent("egress limit port 1 parameter 2 limit -1")) << board->Program().Output();
    EXPECT_TRUE(board->WaitForEvent("status asked: 0 VLANs, 0 multicast addresses")) << board->Program().Output();
}

class ControlWords : public DaemonTest {
protected:
    ControlWords() : daemon(StartAndWait({"-n"})) { RecordDaemon(daemon.Id()); }

    Process& daemon;
};

TEST_F(ControlWords, HelpListsEveryOption) {
    const std::string help = Ask({"-h"});

    EXPECT_TRUE(help.starts_with("Supported daemon control options")) << help;
    size_t at = 0;
    for (const char* option : {"--msrp", "--dom", "--listenerlv", "--talkerlv", "--mvrp", "--window", "--ptp", "--as",
                               "--priority1", "--info", "--ports", "--egress0", "--egress1", "--help", "--debug"}) {
        const size_t found = help.find(option);
        EXPECT_NE(found, std::string::npos) << option;
        EXPECT_GT(found, at) << option << " is out of order";
        at = found;
    }
    EXPECT_EQ(Ask({"-d", "mrp"}), help);
}

TEST_F(ControlWords, LevelsAreSetInEitherCase) {
    EXPECT_EQ(Ask({"-d", "ptp", "2"}), "OK");
    EXPECT_EQ(Ask({"--debug", "MRP", "1"}), "OK");

    EXPECT_TRUE(daemon.WaitForOutput("LOG_PTP debugLevel = 2\n")) << daemon.Output();
    EXPECT_TRUE(daemon.WaitForOutput("LOG_MRP debugLevel = 1\n")) << daemon.Output();
}

TEST_F(ControlWords, ThatMeanNothingAreAnsweredWithWhatIsWrong) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"-x"}, "unrecognised option '-x'\n"},
        {{"--nothing"}, "unrecognised option '--nothing'\n"},
        {{"--%value%"}, "unrecognised option '--%value%'\n"},
        {{"-l"}, "the required argument for option '--listenerlv' is missing\n"},
        {{"-0", "half"}, "the argument ('half') for option '--egress0' is invalid\n"},
        {{"-w", "12345678901"}, "the argument ('12345678901') for option '--window' is invalid\n"},
    };
    for (const auto& [words, answer] : cases) EXPECT_EQ(Ask(words), answer);

    EXPECT_EQ(Ask({"no", "option"}), "OK");
    EXPECT_TRUE(daemon.IsRunning());
}

TEST_F(ControlWords, MayBeQuotedAndEscaped) {
    EXPECT_EQ(Ask({"\"-d\"", "'mvrp'", "\"1\""}), "OK");
    EXPECT_TRUE(daemon.WaitForOutput("LOG_MVRP debugLevel = 1\n")) << daemon.Output();

    EXPECT_EQ(Ask({"--\\\"\\\\"}), "unrecognised option '--\"\\'\n");
    EXPECT_EQ(Ask({"--a\\q"}), "unknown escape sequence\n");
    EXPECT_EQ(Ask({"'--never closed"}), "unrecognised option '--never closed '\n");
    EXPECT_TRUE(daemon.IsRunning());
}

}  // namespace
}  // namespace norvad::test
