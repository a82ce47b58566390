#include <gtest/gtest.h>

#include <cstdlib>
#include <deque>

#include "lab/network/bridge_node.h"
#include "lab/network/network.h"
#include "lab/network/station_node.h"

namespace norvad::test {

using network::BridgeNode;
using network::Network;
using network::StationNode;

namespace {

constexpr size_t bridgeCount = 100;
constexpr uint16_t streamCount = 20;
constexpr uint16_t streamVid = 2;

StreamID StreamNumber(uint16_t n) {
    return {0x02, 0, 0, 0, 0, 0x01, static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)};
}
MacAddress AddressOfStream(uint16_t n) {
    return {0x91, 0xE0, 0xF0, 0x00, static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)};
}

station::StationSettings Talkers() {
    station::StationSettings settings;
    settings.framesPerSecond = 1;
    for (uint16_t n = 0; n < streamCount; ++n) {
        settings.talkers.push_back({.id = StreamNumber(n), .destination = AddressOfStream(n), .tag = {streamVid, 3}});
    }
    return settings;
}

station::StationSettings Listeners() {
    station::StationSettings settings;
    for (uint16_t n = 0; n < streamCount; ++n) {
        settings.listeners.push_back({.id = StreamNumber(n), .declaration = ListenerDeclaration::READY});
    }
    return settings;
}

// Talkers, a hundred bridges whose clocks are up to 100 ppm off, listeners. The first bridge has the best priority1.
class LongRow : public testing::Test {
protected:
    LongRow()
        : talkers(world, {0x02, 0, 0, 0, 0, 0x01}, Talkers()), listeners(world, {0x02, 0, 0, 0, 0, 0x02}, Listeners()) {
        for (size_t n = 0; n < bridgeCount; ++n) {
            BridgeNode::Config config;
            config.mac = {0x02, 0, 0, 0, 0x10, static_cast<uint8_t>(n)};
            config.clockErrorPpb = static_cast<int32_t>(n * 37'777 % 200'001) - 100'000;
            config.clockNs = 1'000'000'000 * (n % 7);
            config.ptp.ptpPriority1 = n == 0 ? 1 : 250;
            bridges.emplace_back(world, config);
        }
        world.Connect(talkers, 0, bridges.front(), 0);
        for (size_t n = 1; n < bridges.size(); ++n) world.Connect(bridges[n - 1], 1, bridges[n], 0);
        world.Connect(bridges.back(), 1, listeners, 0);
    }

    // Bridges that let all streams out towards the listeners.
    size_t Reserved() {
        size_t count = 0;
        for (BridgeNode& bridge : bridges) {
            uint16_t streams = 0;
            for (uint16_t n = 0; n < streamCount; ++n) {
                streams += bridge.MulticastPorts(streamVid, AddressOfStream(n)) == 0x02;
            }
            count += streams == streamCount;
        }
        return count;
    }

    Network world;
    StationNode talkers, listeners;
    std::deque<BridgeNode> bridges;
};

}  // namespace

TEST_F(LongRow, CarriesStreamsAndTimeFromEndToEnd) {
    world.RunMs(60'000);

    EXPECT_EQ(Reserved(), bridgeCount);
    listeners.TakeStreamFrames();
    world.RunMs(10'000);
    EXPECT_NEAR(static_cast<double>(listeners.TakeStreamFrames()), 10 * streamCount, streamCount);
    for (size_t n = 1; n < bridges.size(); ++n) {
        EXPECT_EQ(bridges[n].Ask({"--ptp"}).substr(0, 8), "ST:SLAVE") << n;
        EXPECT_LT(std::llabs(bridges[n].AheadNs(bridges[0])), 1'000) << n;
    }
}

TEST_F(LongRow, KeepsEveryReservationThroughManyLeaveAlls) {
    ASSERT_TRUE(world.RunUntil([this] { return Reserved() == bridgeCount; }, 60'000));

    for (int second = 0; second < 60; ++second) {
        world.RunMs(1'000);
        EXPECT_EQ(Reserved(), bridgeCount) << "second " << second;
    }
}

}  // namespace norvad::test
