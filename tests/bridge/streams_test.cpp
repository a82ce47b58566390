#include <gtest/gtest.h>

#include <deque>
#include <string>

#include "lab/network/bridge_node.h"
#include "lab/network/network.h"
#include "lab/network/station_node.h"

namespace norvad::test {

using network::BridgeNode;
using network::Network;
using network::StationNode;

namespace {

constexpr MacAddress talkerMac = {0x02, 0, 0, 0, 0, 0x01};
constexpr MacAddress listenerMac = {0x02, 0, 0, 0, 0, 0x02};
constexpr StreamID streamId = {0x02, 0, 0, 0, 0, 0x01, 0x00, 0x01};
constexpr MacAddress streamAddress = {0x91, 0xE0, 0xF0, 0x00, 0x01, 0x00};
constexpr uint16_t streamVid = 2;

// MaxFrameSize 100, one frame an interval: 8000 * 100 + 400000.
constexpr int32_t streamReservation = 1'200'000;

station::StationSettings OneTalker(bool eager = false) {
    station::StationSettings settings;
    settings.talkers = {{.id = streamId, .destination = streamAddress, .tag = {streamVid, 3}}};
    settings.eager = eager;
    return settings;
}

station::StationSettings OneListener(ListenerDeclaration declaration = ListenerDeclaration::READY) {
    station::StationSettings settings;
    settings.listeners = {{.id = streamId, .declaration = declaration}};
    settings.hold = true;
    return settings;
}

BridgeNode::Config BridgeNumber(uint8_t number) {
    BridgeNode::Config config;
    config.mac = {0x02, 0, 0, 0, 0x10, number};
    return config;
}

// A talker, bridges in a row, a listener: port 0 of each bridge looks towards the talker.
class Row {
public:
    explicit Row(uint8_t bridgeCount, const station::StationSettings& talkerSettings = OneTalker(),
                 const station::StationSettings& listenerSettings = OneListener())
        : talker(network, talkerMac, talkerSettings), listener(network, listenerMac, listenerSettings) {
        for (uint8_t n = 0; n < bridgeCount; ++n) bridges.emplace_back(network, BridgeNumber(n));
        network.Connect(talker, 0, bridges.front(), 0);
        for (size_t n = 1; n < bridges.size(); ++n) network.Connect(bridges[n - 1], 1, bridges[n], 0);
        network.Connect(bridges.back(), 1, listener, 0);
    }

    bool RunUntilTold(const StationNode& station, const std::string& text, uint64_t atMostMs = 15'000) {
        return network.RunUntil([&] { return station.Told(text) > 0; }, atMostMs);
    }
    bool RunUntilStreamPasses(BridgeNode& bridge, uint8_t portMask, uint64_t atMostMs = 15'000) {
        return network.RunUntil([&] { return bridge.MulticastPorts(streamVid, streamAddress) == portMask; }, atMostMs);
    }
    // Until the stream is reserved all the way.
    bool Reserve() {
        listener.Program().DeclareListeners();
        return RunUntilTold(talker, "listener 02:00:00:00:00:01:00:01 ready");
    }

    Network network;
    StationNode talker;
    StationNode listener;
    std::deque<BridgeNode> bridges;
};

}  // namespace

TEST(OneBridge, PutsItsLatencyOnATalkerThatItCarries) {
    Row row(1);

    EXPECT_TRUE(row.RunUntilTold(row.listener, "talker 02:00:00:00:00:01:00:01 registered latency 139264 ns"));
}

TEST(OneBridge, ReservesForAReadyListenerOnItsPortOnly) {
    Row row(1);
    ASSERT_TRUE(row.RunUntilTold(row.listener, "registered latency"));
    ASSERT_EQ(row.bridges[0].MulticastPorts(streamVid, streamAddress), 0);

    ASSERT_TRUE(row.Reserve());

    EXPECT_EQ(row.bridges[0].MulticastPorts(streamVid, streamAddress), 1 << 1);
    EXPECT_EQ(row.bridges[0].EgressLimit(1, streamVid), streamReservation);
    EXPECT_EQ(row.bridges[0].EgressLimit(0, streamVid), 0);
}

TEST(OneBridge, ReservesForAListenerThatCameBeforeItsTalker) {
    Row row(1);
    row.talker.Program().WithdrawAll();
    row.network.RunMs(5'000);
    row.listener.Program().DeclareListeners();
    row.network.RunMs(5'000);
    ASSERT_EQ(row.bridges[0].MulticastPorts(streamVid, streamAddress), 0);

    StationNode late(row.network, talkerMac, OneTalker());
    row.network.Disconnect(row.bridges[0], 0);
    row.network.Connect(late, 0, row.bridges[0], 0);

    EXPECT_TRUE(row.RunUntilStreamPasses(row.bridges[0], 1 << 1));
    EXPECT_TRUE(row.RunUntilTold(late, "listener 02:00:00:00:00:01:00:01 ready"));
}

TEST(OneBridge, NeverReservesForAListenerThatAsksFailed) {
    Row row(1, OneTalker(), OneListener(ListenerDeclaration::ASKING_FAILED));
    ASSERT_TRUE(row.RunUntilTold(row.listener, "registered latency"));

    row.listener.Program().DeclareListeners();
    row.network.RunMs(20'000);

    EXPECT_EQ(row.bridges[0].MulticastPorts(streamVid, streamAddress), 0);
    EXPECT_EQ(row.bridges[0].EgressLimit(1, streamVid), 0);
}

TEST(OneBridge, LetsStreamFramesPassOnlyWhileTheStreamIsReserved) {
    Row row(1, OneTalker(true));
    ASSERT_TRUE(row.RunUntilTold(row.listener, "registered latency"));
    row.network.RunMs(2'000);
    EXPECT_EQ(row.listener.TakeStreamFrames(), 0u);

    ASSERT_TRUE(row.Reserve());
    row.network.RunMs(1'000);
    EXPECT_GE(row.listener.TakeStreamFrames(), 99u);  // of 100 a second

    row.listener.Program().WithdrawListeners();
    ASSERT_TRUE(row.RunUntilStreamPasses(row.bridges[0], 0, 1'500));
    row.network.RunMs(1);  // what was already on the last cable
    row.listener.TakeStreamFrames();
    row.network.RunMs(2'000);
    EXPECT_EQ(row.listener.TakeStreamFrames(), 0u);
    EXPECT_EQ(row.bridges[0].EgressLimit(1, streamVid), 0);
}

TEST(OneBridge, ReleasesTheStreamWhenItsTalkerLeaves) {
    Row row(1);
    ASSERT_TRUE(row.RunUntilTold(row.listener, "registered latency"));
    ASSERT_TRUE(row.Reserve());

    row.talker.Program().WithdrawAll();

    EXPECT_TRUE(row.RunUntilStreamPasses(row.bridges[0], 0, 2'000));
    EXPECT_EQ(row.bridges[0].EgressLimit(1, streamVid), 0);
    EXPECT_TRUE(row.RunUntilTold(row.listener, "talker 02:00:00:00:00:01:00:01 withdrawn"));
}

TEST(OneBridge, ReleasesTheStreamWhenTheTalkersCableIsPulledAndReservesItAgain) {
    Row row(1);
    ASSERT_TRUE(row.RunUntilTold(row.listener, "registered latency"));
    ASSERT_TRUE(row.Reserve());

    row.network.Disconnect(row.talker, 0);
    EXPECT_EQ(row.bridges[0].MulticastPorts(streamVid, streamAddress), 0);

    row.network.Connect(row.talker, 0, row.bridges[0], 0);
    EXPECT_TRUE(row.RunUntilStreamPasses(row.bridges[0], 1 << 1));
}

TEST(OneBridge, ReleasesTheStreamWhenTheListenersCableIsPulledAndReservesItAgain) {
    Row row(1);
    ASSERT_TRUE(row.RunUntilTold(row.listener, "registered latency"));
    ASSERT_TRUE(row.Reserve());

    row.network.Disconnect(row.listener, 0);
    EXPECT_EQ(row.bridges[0].MulticastPorts(streamVid, streamAddress), 0);
    EXPECT_EQ(row.bridges[0].EgressLimit(1, streamVid), 0);

    row.network.Connect(row.listener, 0, row.bridges[0], 1);
    EXPECT_TRUE(row.RunUntilStreamPasses(row.bridges[0], 1 << 1));
}

TEST(OneBridge, DeclaresATalkerAsFailedWhereTheNeighbourIsNotAsCapable) {
    auto deaf = OneListener();
    deaf.peerDelay.answer = false;
    Row row(1, OneTalker(), deaf);

    EXPECT_TRUE(row.RunUntilTold(row.listener, "talker failed 02:00:00:00:00:01:00:01 code 8"));
    EXPECT_EQ(row.listener.Told("registered latency"), 0u);
}

TEST(OneBridge, TheFourthSilentPeriodTakesAsCapabilityFromThePort) {
    Row row(1);
    Switch& bridge = row.bridges[0].Model();
    ASSERT_TRUE(row.network.RunUntil([&] { return bridge.IsAvbUp(0); }, 5'000));
    row.network.filter = [](const network::Node&, uint8_t, std::span<const uint8_t>) { return false; };

    row.network.RunMs(3'000);
    EXPECT_TRUE(bridge.IsAvbUp(0));

    row.network.RunMs(3'000);
    EXPECT_FALSE(bridge.IsAvbUp(0));
}

TEST(TwoBridges, EachAddsItsLatencyAndReserves) {
    Row row(2);

    ASSERT_TRUE(row.RunUntilTold(row.listener, "talker 02:00:00:00:00:01:00:01 registered latency 278528 ns"));
    ASSERT_TRUE(row.Reserve());

    for (BridgeNode& bridge : row.bridges) {
        EXPECT_EQ(bridge.MulticastPorts(streamVid, streamAddress), 1 << 1);
        EXPECT_EQ(bridge.EgressLimit(1, streamVid), streamReservation);
    }
}

TEST(TwoBridges, FindEachOtherToBeOfTheSameMake) {
    Row row(2);

    EXPECT_TRUE(row.network.RunUntil([&] { return row.bridges[0].Model().GetPeerIsSameMake(1); }, 5'000));
    EXPECT_TRUE(row.network.RunUntil([&] { return row.bridges[1].Model().GetPeerIsSameMake(0); }, 5'000));
    EXPECT_FALSE(row.bridges[0].Model().GetPeerIsSameMake(0));  // the talker is a station
}

TEST(TwoBridges, ReleaseEverythingWhenTheCableBetweenThemIsPulled) {
    Row row(2);
    ASSERT_TRUE(row.RunUntilTold(row.listener, "registered latency"));
    ASSERT_TRUE(row.Reserve());

    row.network.Disconnect(row.bridges[0], 1);

    EXPECT_TRUE(row.RunUntilStreamPasses(row.bridges[0], 0, 1'000));
    EXPECT_TRUE(row.RunUntilStreamPasses(row.bridges[1], 0, 1'000));
    EXPECT_TRUE(row.RunUntilTold(row.listener, "talker 02:00:00:00:00:01:00:01 withdrawn"));
}

TEST(TwoBridges, HoldAReservationForAnHour) {
    auto slow = OneTalker();
    slow.framesPerSecond = 1;
    Row row(2, slow);
    ASSERT_TRUE(row.RunUntilTold(row.listener, "registered latency"));
    ASSERT_TRUE(row.Reserve());

    for (int minute = 0; minute < 60; ++minute) {
        row.network.RunMs(60'000);
        for (BridgeNode& bridge : row.bridges) {
            ASSERT_EQ(bridge.MulticastPorts(streamVid, streamAddress), 1 << 1) << "minute " << minute;
        }
    }

    EXPECT_EQ(row.talker.Told("listener 02:00:00:00:00:01:00:01 ready"), 1u);
    EXPECT_EQ(row.listener.Told("registered latency"), 1u);
}

TEST(SevenBridges, CarryAStreamWithSevenTimesTheLatency) {
    Row row(7);

    ASSERT_TRUE(row.RunUntilTold(row.listener, "registered latency 974848 ns", 30'000));
    EXPECT_TRUE(row.Reserve());
}

TEST(TwoRuns, OfTheSameNetworkAreTheSame) {
    const auto run = [] {
        Row row(2);
        std::vector<network::Bytes> frames;
        row.network.filter = [&](const network::Node&, uint8_t, std::span<const uint8_t> frame) {
            frames.emplace_back(frame.begin(), frame.end());
            return true;
        };
        row.network.RunMs(60'000);
        return frames;
    };

    const auto first = run();

    EXPECT_GT(first.size(), 1'000u);
    EXPECT_EQ(run(), first);
}

}  // namespace norvad::test
