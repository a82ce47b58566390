#include <gtest/gtest.h>

#include <cmath>

#include "driver/include/norvad3_switch.h"
#include "lab/board/board.h"

// The board plays a driver, and what it does is what the header tells drivers to do.

namespace norvad::board {
namespace {

TEST(DriverHeader, CountOfSteeringIsTheBoards) {
    EXPECT_EQ(BoardConfig{}.steeringUnit, std::ldexp(1.0, -NORVAD3_STEER_EXPONENT));
}

TEST(DriverHeader, LinkBitsAreTheBoards) {
    EXPECT_EQ((PortLink{true, true, PortLink::gigabit}.Nibble()),
              NORVAD3_LINK_UP | NORVAD3_LINK_FORWARDING | NORVAD3_LINK_1000);
    EXPECT_EQ((PortLink{true, false, PortLink::fast}.Nibble()), NORVAD3_LINK_UP | NORVAD3_LINK_100);
    EXPECT_EQ((PortLink{false, true, PortLink::gigabit}.Nibble()), 0);
}

}  // namespace
}  // namespace norvad::board
