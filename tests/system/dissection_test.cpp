#include <csignal>

#include "tests/support/system/board_test.h"

namespace norvad::test {
namespace {

using Dissection = BoardTest;

// What every other test relies on when it finds the daemon's frames whole.
TEST_F(Dissection, TellsAWholeFrameFromOneThatEndsTooEarly) {
    StartBoard();
    const Bytes whole = MsrpFrame(stations[0], {msrpTalker, mrpNew, TalkerValue(Stream())});
    wires[0]->Send(whole);
    wires[0]->Send(Part(whole, 0, 30));
    ASSERT_TRUE(WaitForDeclared(1, msrpTalkerFailed, Stream().id)) << Log();

    board->Program().Signal(SIGTERM);
    ASSERT_EQ(board->Program().WaitForExit(), 0);

    const auto frames = Dissect(VirtualBoard::captures + std::string("/port0.pcap"), stations[0]);
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_NE(frames[0].protocols.find("mrp-msrp"), std::string::npos) << frames[0].protocols;
    EXPECT_FALSE(frames[0].malformed);
    EXPECT_TRUE(frames[1].malformed);
}

}  // namespace
}  // namespace norvad::test
