#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lab/network/bridge_node.h"

namespace norvad::test {
namespace {

using network::BridgeNode;
using network::CpuPort;
using network::Network;
using testing::ElementsAre;

constexpr uint64_t us = 1'000;
constexpr uint64_t cableNs = 200;

class Silent final : public network::Node {
public:
    void Arrive(uint8_t, std::span<const uint8_t>, uint64_t) override {}
    void BeginsToLeave(uint8_t, std::span<const uint8_t>) override {}
    void LinkChanged(uint8_t, bool) override {}
    void Refresh() override {}
};

// A bridge whose daemon logs each LLDP frame as it handles it, and a neighbour that sends only these.
class TheWayToADaemon : public testing::Test {
protected:
    void Begin(uint64_t handlingNs, std::optional<CpuPort> cpuPort) {
        BridgeNode::Config config;
        config.handlingNs = [handlingNs] { return handlingNs; };
        config.cpuPort = cpuPort;
        config.log = {[this](uint64_t ns, const char* message) {
                          if (std::string(message).find("LLDP] Handle") != std::string::npos) handledNs.push_back(ns);
                      },
                      {}};
        config.log->levels[static_cast<size_t>(LogCategory::SOCKET)] = 2;
        bridge.emplace(world, config);
        world.Connect(*bridge, 0, neighbour, 0, cableNs);
        world.RunMs(100);
    }

    // After how long each of so many frames that come at once is handled.
    std::vector<uint64_t> Handled(size_t frames) {
        handledNs.clear();
        network::Bytes frame{0x01, 0x80, 0xC2, 0, 0, 0x0E, 0x02, 0, 0, 0, 0, 9, 0x88, 0xCC};
        frame.resize(60);
        const uint64_t arriveNs = world.clock.Ns() + cableNs;
        for (size_t n = 0; n < frames; ++n) world.Send(neighbour, 0, frame);
        world.RunMs(1);
        for (uint64_t& ns : handledNs) ns -= arriveNs;
        return handledNs;
    }

    Network world;
    Silent neighbour;
    std::optional<BridgeNode> bridge;
    std::vector<uint64_t> handledNs;
};

TEST_F(TheWayToADaemon, LetsEachFrameWaitAloneUnlessItIsAPort) {
    Begin(100 * us, {});

    EXPECT_THAT(Handled(3), ElementsAre(100 * us, 100 * us, 100 * us));
    EXPECT_EQ(bridge->TakeDeepestCpuQueue(), 3u);
}

TEST_F(TheWayToADaemon, IsAQueueBeforeOneThatHandlesOneFrameAfterTheOther) {
    Begin(100 * us, CpuPort{});

    EXPECT_THAT(Handled(3), ElementsAre(100 * us, 200 * us, 300 * us));
    EXPECT_THAT(Handled(1), ElementsAre(100 * us));
}

// 60 bytes, the tag of 8, and 24 around them at 80 ns each.
TEST_F(TheWayToADaemon, TakesTimeAtARate) {
    Begin(0, CpuPort{.bitsPerSecond = 100'000'000});

    EXPECT_THAT(Handled(3), ElementsAre(7'360, 2 * 7'360, 3 * 7'360));
    EXPECT_THAT(Handled(1), ElementsAre(7'360));
}

TEST_F(TheWayToADaemon, LosesWhatFindsNoRoom) {
    Begin(100 * us, CpuPort{.queueFrames = 2});
    const auto& counts = bridge->CpuTally().queues[static_cast<size_t>(network::TrafficClass::CONTROL)];

    EXPECT_THAT(Handled(5), ElementsAre(100 * us, 200 * us));
    EXPECT_EQ(counts.lost, 3u);
    EXPECT_EQ(counts.deepest, 2u);
    EXPECT_EQ(bridge->CpuTally().sent, 2u);
    EXPECT_EQ(bridge->TakeDeepestCpuQueue(), 2u);
    EXPECT_EQ(bridge->TakeDeepestCpuQueue(), 0u);
    EXPECT_THAT(Handled(2), ElementsAre(100 * us, 200 * us));
    EXPECT_EQ(counts.lost, 3u);
}

}  // namespace
}  // namespace norvad::test
