#include "lab/network/station_node.h"

#include <gtest/gtest.h>

#include "lab/network/network.h"

namespace norvad::test {
namespace {

using network::Network;
using network::StationNode;

// Each time a station changed its mind while a plan was waiting, it kept one plan more for ever: an hour with a few
// changes a minute took ten times as long as a quiet one.
TEST(StationInANetwork, PlansOneWakeUpHoweverOftenItChangesItsMind) {
    Network world;
    station::StationSettings settings;
    settings.vlans = {10};
    StationNode station(world, {0x02, 0, 0, 0, 0, 0x01}, settings);
    world.RunMs(1'000);

    for (int i = 0; i < 100; ++i) {
        station.Program().DeclareVlans();
        world.RunMs(500);
    }
    world.RunMs(20'000);

    EXPECT_LE(world.engine.Waiting(), 2u);
}

TEST(StationInANetwork, ForgetsItsLinesWhenItIsToldTo) {
    Network world;
    StationNode station(world, {0x02, 0, 0, 0, 0, 0x01}, {});
    ASSERT_GT(station.Told("declares domain"), 0u);

    station.ForgetLines();

    EXPECT_EQ(station.Told(""), 0u);
}

}  // namespace
}  // namespace norvad::test
