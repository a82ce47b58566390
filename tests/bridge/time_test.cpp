#include <gtest/gtest.h>

#include <cstdlib>
#include <deque>
#include <string>

#include "lab/network/bridge_node.h"
#include "lab/network/network.h"

namespace norvad::test {

namespace {

constexpr uint64_t startNs = 5'000'000'000;

// A row of whole bridges, port 1 of each to port 0 of the next. The first has the best priority1; the clocks run 20
// ppm apart and start far from one another.
class TimeRow : public testing::Test {
protected:
    TimeRow() {
        for (uint8_t n = 0; n < 3; ++n) {
            BridgeNode::Config config;
            config.mac = {0x02, 0, 0, 0, 0x10, n};
            config.clockErrorPpb = 20'000 * (n - 1);
            config.clockNs = startNs * (n + 1);
            config.ptp.ptpPriority1 = 100u + n;
            bridges.emplace_back(network, config);
        }
        network.Connect(bridges[0], 1, bridges[1], 0);
        network.Connect(bridges[1], 1, bridges[2], 0);
    }

    std::string State(size_t bridge) {
        const std::string line = bridges[bridge].Ask({"--ptp"});
        return line.substr(0, line.find(":MC"));
    }
    // How far the bridge's hardware clock is ahead of the first one's.
    int64_t OffsetNs(size_t bridge) {
        const auto now = static_cast<int64_t>(network.clock.Ns());
        return static_cast<int64_t>(bridges[bridge].Hardware().Clock().At(now) - bridges[0].Hardware().Clock().At(now));
    }

    Network network;
    std::deque<BridgeNode> bridges;
};

}  // namespace

TEST_F(TimeRow, TheBestClockIsFollowedByAll) {
    network.RunMs(20'000);

    EXPECT_EQ(State(0), "ST:MASTER");
    EXPECT_EQ(State(1), "ST:SLAVE");
    EXPECT_EQ(State(2), "ST:SLAVE");
    ASSERT_FALSE(bridges[2].Grandmasters().identities.empty());
    EXPECT_EQ(bridges[2].Grandmasters().identities.back(), bridges[0].Grandmasters().identities.back());
}

TEST_F(TimeRow, TheClocksAgreeWithinAMicrosecondAfterAMinute) {
    network.RunMs(60'000);

    for (int second = 0; second < 60; ++second) {
        network.RunMs(1'000);
        EXPECT_LT(std::abs(OffsetNs(1)), 1'000) << "second " << second;
        EXPECT_LT(std::abs(OffsetNs(2)), 1'000) << "second " << second;
    }
}

TEST_F(TimeRow, TheNextBestTakesOverWhenTheFirstIsGoneAndYieldsWhenItIsBack) {
    network.RunMs(20'000);
    network.Disconnect(bridges[0], 1);

    EXPECT_TRUE(network.RunUntil([&] { return State(1) == "ST:MASTER" && State(2) == "ST:SLAVE"; }, 60'000));

    network.Connect(bridges[0], 1, bridges[1], 0);
    EXPECT_TRUE(network.RunUntil([&] { return State(1) == "ST:SLAVE" && State(2) == "ST:SLAVE"; }, 60'000));
}

}  // namespace norvad::test
