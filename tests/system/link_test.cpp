#include "tests/support/system/board_test.h"

namespace norvad::test {
namespace {

using Links = BoardTest;

TEST_F(Links, ComeUpWithTheBoard) {
    StartBoard({"-n", "-d", "MSRP", "1"});

    for (const char* text :
         {"[SW-MSRP] port 0 up", "[SW-MSRP] port 1 up", "[SW-MSRP] port 0 STP up", "[SW-MSRP] port 1 STP up"})
        EXPECT_EQ(log.Count(text), 1U) << text << "\n" << Log();
}

TEST_F(Links, ThatLoseTheirCarrierAndGetItBackAreSeenByTheDaemon) {
    StartBoard({"-n", "-d", "MSRP", "1"});

    SetInterfaceUp("peer1", false);

    EXPECT_TRUE(log.WaitForText("[SW-MSRP] port 1 down")) << Log();
    EXPECT_TRUE(log.WaitForText("[SW-MSRP] port 1 STP down")) << Log();
    EXPECT_FALSE(log.Has("[SW-MSRP] port 0 down"));
    const size_t seen = wires[1]->Received().size();

    SetInterfaceUp("peer1", true);

    EXPECT_TRUE(WaitFor([&] { return log.Count("[SW-MSRP] port 1 up") == 2; })) << Log();
    EXPECT_TRUE(WaitForDeclared(1, msrpDomain, FromHex("05 02 00 02"), seen)) << Log();
}

TEST_F(Links, WithoutSpanningTreeAreUpAllTheSame) {
    StartBoard({"-n", "-d", "MSRP", "1"}, {"--no-stp"});

    EXPECT_TRUE(log.Has("[SW-MSRP] port 0 up")) << Log();
    EXPECT_FALSE(log.Has("[SW-MSRP] port 0 STP up")) << Log();
}

TEST_F(Links, OfAPortThatWasDownAtTheStartAreSeenLater) {
    SetInterfaceUp("peer1", false);
    board = std::make_unique<VirtualBoard>(std::vector<std::string>{"-n", "-d", "MSRP", "1"});
    ASSERT_TRUE(log.WaitForText("[SW-MSRP] port 0 up")) << Log();
    EXPECT_FALSE(log.Has("[SW-MSRP] port 1 up"));

    SetInterfaceUp("peer1", true);

    EXPECT_TRUE(log.WaitForText("[SW-MSRP] port 1 up")) << Log();
}

TEST_F(Links, ReachTheOtherHandlersToo) {
    StartBoard({"-n", "-d", "PTP", "2"});
    EXPECT_TRUE(log.WaitForText("[SW-PTP] port 0 up")) << Log();

    SetInterfaceUp("peer0", false);

    EXPECT_TRUE(log.WaitForText("[SW-PTP] port 0 down")) << Log();
}

}  // namespace
}  // namespace norvad::test
