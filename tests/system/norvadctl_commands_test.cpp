#include "tests/support/system/board_test.h"
#include "tests/support/system/gptp_frame.h"
#include "tests/support/system/norvadctl.h"

namespace norvad::test {
namespace {

// Each command is carried out by the daemon, which norvadctl asks for silently.
class NorvadctlCommands : public BoardTest {
protected:
    NorvadctlCommands() { StartBoard(); }

    void Carry(const std::vector<std::string>& command) {
        const Shown shown = RunNorvadctl(command);
        EXPECT_EQ(shown.status, 0) << shown.errors;
        EXPECT_EQ(shown.output + shown.errors, "");
    }

    static bool Shows(const std::string& view, const std::string& part) {
        return RunNorvadctl({view}).output.find(part) != std::string::npos;
    }
};

TEST_F(NorvadctlCommands, SetWhatTheDaemonLogs) {
    const std::string line = "[SW-MSRP] TALKER_ADVERTISE on port 0";
    SendMsrp(0, {msrpTalker, mrpNew, TalkerValue(Stream())});
    ASSERT_TRUE(WaitForDeclared(1, msrpTalkerFailed, Stream().id)) << Log();
    EXPECT_FALSE(log.Has(line)) << Log();

    Carry({"log", "msrp", "1"});

    SendMsrp(0, {msrpTalker, mrpJoinIn, TalkerValue(Stream())});
    EXPECT_TRUE(log.WaitForText(line)) << Log();
}

TEST_F(NorvadctlCommands, SetTheTimeOfTheBridge) {
    Carry({"force", "0", "1"});
    EXPECT_TRUE(Shows("ports", "0     up    up   yes\n1     up    up   yes\n"));

    Carry({"priority", "5"});
    const auto bids = [](const Bytes& frame) { return IsGptp(frame, gptpAnnounce) && frame.at(payloadAt + 47) == 5; };
    for (int port : {0, 1}) EXPECT_TRUE(wires[port]->WaitForFrame(bids)) << Log();

    Carry({"window", "growing"});
    EXPECT_TRUE(Shows("clock", "growing"));
    Carry({"window", "running"});
    EXPECT_TRUE(Shows("clock", "running"));

    Carry({"force", "1"});
    EXPECT_TRUE(Shows("ports", "0     up    up   no\n1     up    up   yes\n"));
    Carry({"force", "none"});
    EXPECT_TRUE(Shows("ports", "0     up    up   no\n1     up    up   no\n"));
}

TEST_F(NorvadctlCommands, LimitTheEgress) {
    Carry({"egress", "0", "50"});
    Carry({"egress", "1", "99"});

    EXPECT_TRUE(board->WaitForEvent("egress limit port 0 parameter 2 limit 50")) << board->Program().Output();
    EXPECT_TRUE(board->WaitForEvent("egress limit port 1 parameter 2 limit 99")) << board->Program().Output();
}

}  // namespace
}  // namespace norvad::test
