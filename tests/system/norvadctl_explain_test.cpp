#include "tests/support/system/board_test.h"
#include "tests/support/system/norvadctl.h"

namespace norvad::test {
namespace {

constexpr const char* streamId = "02:00:00:00:00:a0:00:01";

class NorvadctlExplain : public BoardTest {
protected:
    NorvadctlExplain() { StartBoard(); }

    // The neighbour at port declares the bridge's own class A; the stations' frames come again until that is shown.
    bool DeclareDomain(int port) {
        return WaitFor([&] {
            SendMsrp(port, {msrpDomain, mrpJoinIn, FromHex("06 03 00 02")});
            return Shows("port " + std::to_string(port), "domain, port ", "holds");
        });
    }

    // Whether the first line that begins with step goes on with state.
    static bool Shows(const std::string& subject, const std::string& step, const std::string& state) {
        const size_t blank = subject.find(' ');
        const std::string output =
            RunNorvadctl({"explain", subject.substr(0, blank), subject.substr(blank + 1)}).output;
        const size_t line = output.find("\n" + step);
        return line != std::string::npos &&
               output.substr(line, output.find('\n', line + 1) - line).find(" " + state + " ") != std::string::npos;
    }
};

TEST_F(NorvadctlExplain, SaysWhyAPortIsNotAsCapableUntilItIs) {
    const Shown before = RunNorvadctl({"explain", "port", "1"});
    EXPECT_EQ(before.status, 1) << before.errors;
    EXPECT_NE(
        before.output.find("\nmissing: AS capable, port 1\n    A port becomes AS capable with the first peer delay "),
        std::string::npos)
        << before.output;

    MakeAsCapable(1);
    ASSERT_TRUE(DeclareDomain(1));

    const Shown after = RunNorvadctl({"explain", "port", "1"});
    EXPECT_EQ(after.status, 0) << after.output;
    EXPECT_NE(after.output.find("\nnothing is missing\n"), std::string::npos) << after.output;
    EXPECT_EQ(after.errors, "");
}

TEST_F(NorvadctlExplain, FollowsAStreamUntilItIsReserved) {
    const std::string stream = std::string("stream ") + streamId;
    MakeAsCapable(1);
    ASSERT_TRUE(DeclareDomain(1));
    EXPECT_TRUE(Shows(stream, "talker ", "missing"));

    SendMsrp(0, {msrpTalker, mrpNew, TalkerValue(Stream())});
    ASSERT_TRUE(WaitForDeclared(1, msrpTalker, Stream().id)) << Log();
    EXPECT_TRUE(Shows(stream, "talker, port 0 ", "holds"));
    EXPECT_TRUE(Shows(stream, "listener, port 1 ", "missing"));

    EXPECT_TRUE(WaitFor([&] {
        SendMsrp(0, {msrpTalker, mrpJoinIn, TalkerValue(Stream())});
        SendMsrp(1, {msrpListener, mrpJoinIn, Stream().id, listenerReady});
        SendMsrp(1, {msrpDomain, mrpJoinIn, FromHex("06 03 00 02")});
        return RunNorvadctl({"explain", "stream", streamId}).status == 0;
    })) << RunNorvadctl({"explain", "stream", streamId}).output;
    EXPECT_TRUE(board->WaitForEvent("multicast add port mask 0x02 vid 2 91:e0:f0:00:01:00"));
}

TEST_F(NorvadctlExplain, NamesTheBridgeWhereATalkerFailed) {
    const Bytes failure = FromHex("80 00 02 00 00 00 00 77 01");
    SendMsrp(0, {msrpTalkerFailed, mrpNew, Join({TalkerValue(Stream()), failure})});
    ASSERT_TRUE(WaitForDeclared(1, msrpTalkerFailed, Stream().id)) << Log();

    const Shown shown = RunNorvadctl({"explain", "stream", streamId});

    EXPECT_EQ(shown.status, 1);
    EXPECT_NE(shown.output.find("failed: code 1 Insufficient bandwidth, at bridge 80:00:02:00:00:00:00:77"),
              std::string::npos)
        << shown.output;
}

TEST_F(NorvadctlExplain, NamesALinkThatIsDown) {
    SetInterfaceUp("peer1", false);
    ASSERT_TRUE(board->WaitForEvent("port 1 link down")) << board->Program().Output();

    EXPECT_TRUE(WaitFor([&] { return Shows("port 1", "link, port 1", "missing"); }));
}

}  // namespace
}  // namespace norvad::test
