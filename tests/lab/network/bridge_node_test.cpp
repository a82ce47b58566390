#include "lab/network/bridge_node.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <deque>
#include <string>
#include <vector>

#include "ptp/ptp_messages.h"

namespace norvad::test {
namespace {

using network::BridgeNode;
using network::Network;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::Field;
using testing::Gt;
using testing::HasSubstr;
using testing::Le;

BridgeNode::Config Numbered(uint8_t number) {
    BridgeNode::Config config;
    config.mac = {0x02, 0, 0, 0, 0x10, number};
    return config;
}

TEST(BridgeInANetwork, HearsOfItsLinksAtOnce) {
    Network world;
    BridgeNode left(world, Numbered(1)), right(world, Numbered(2));
    world.Connect(left, 0, right, 1);

    EXPECT_TRUE(left.Model().IsPortUp(0));
    EXPECT_TRUE(right.Model().IsStpUp(1));
    world.Disconnect(right, 1);
    EXPECT_FALSE(left.Model().IsPortUp(0));
}

// A request costs its sender a wait of 1 ms for the transmit stamp, in which time goes on for everybody else: the
// neighbour reads it and answers meanwhile.
TEST(BridgeInANetwork, WaitsAloneForATimeStamp) {
    Network world;
    BridgeNode left(world, Numbered(1)), right(world, Numbered(2));
    world.Connect(left, 0, right, 0, 500);
    uint64_t requestNs = 0, answerNs = 0;
    world.filter = [&](const network::Node& from, uint8_t, std::span<const uint8_t> frame) {
        const auto message = static_cast<PTPMessage>(frame[14]);
        if (&from == &left && message == PTPMessage::PDELAY_REQ) requestNs = world.clock.Ns();
        if (&from == &right && message == PTPMessage::PDELAY_RESP && answerNs == 0) answerNs = world.clock.Ns();
        return true;
    };

    ASSERT_TRUE(world.RunUntil([&] { return requestNs != 0 && answerNs > requestNs; }, 5'000));
    EXPECT_EQ(answerNs - requestNs, 500u);
}

TEST(BridgeInANetwork, FindsOutOfPlaceWhoeverSleepsInItsStead) {
    Network world;
    const network::Engine& engine = world.engine;
    network::NetworkClock clock(engine);

    EXPECT_THROW(clock.Sleep(1), std::logic_error);
}

TEST(BridgeInANetwork, LogsUnderItsNameAtItsOwnTime) {
    struct Line {
        std::string bridge;
        uint64_t ns;
        std::string text;
    };
    Network world;
    std::vector<Line> lines;
    auto named = [&](const std::string& name, uint8_t number) {
        auto config = Numbered(number);
        config.log = {[&lines, name](uint64_t ns, const char* message) { lines.push_back({name, ns, message}); }, {}};
        return config;
    };
    BridgeNode left(world, named("left", 1)), right(world, named("right", 2));
    world.Connect(left, 0, right, 1);
    const uint64_t startNs = world.clock.Ns();
    world.RunMs(5'000);

    EXPECT_THAT(lines, Contains(AllOf(Field(&Line::bridge, "left"), Field(&Line::text, HasSubstr("Port 0 IS AVB")))));
    EXPECT_THAT(lines, Contains(AllOf(Field(&Line::bridge, "right"), Field(&Line::text, HasSubstr("Port 1 IS AVB")))));
    EXPECT_THAT(lines, Each(Field(&Line::ns, AllOf(Gt(startNs), Le(world.clock.Ns())))));
}

// One that says nothing of its log stays at the levels of the process, and at its sink.
TEST(BridgeInANetwork, LogsAtLevelsOfItsOwn) {
    Network world;
    std::string lines;
    const auto logged = [&](int32_t mrpLevel) {
        auto config = Numbered(1);
        config.log = {[&](uint64_t, const char* message) { lines += message; }, {}};
        config.log->levels[static_cast<size_t>(LogCategory::MRP)] = mrpLevel;
        lines.clear();
        BridgeNode left(world, config), right(world, Numbered(2));
        world.Connect(left, 0, right, 1);
        world.RunMs(5'000);
        world.Disconnect(left, 0);
        left.KillDaemon();
        right.KillDaemon();
        return lines;
    };

    const std::string few = logged(0), many = logged(2);
    EXPECT_THAT(few, AllOf(HasSubstr("Port 0 IS AVB"), testing::Not(HasSubstr("Applicant state"))));
    EXPECT_THAT(many, AllOf(HasSubstr("Port 0 IS AVB"), HasSubstr("Applicant state")));
    EXPECT_THAT(many, testing::Not(HasSubstr("Port 1")));
    EXPECT_FALSE(IsLogged(LogCategory::MRP, 1));
}

// A long frame is in the way of its request, so that it waits for a stamp when it is killed, and would go on from
// there.
TEST(BridgeInANetwork, LogsNothingMoreWhenItsDaemonIsKilled) {
    Network world;
    size_t lines = 0;
    auto config = Numbered(1);
    config.log = {[&](uint64_t, const char*) { ++lines; }, {}};
    config.log->levels.fill(9);
    BridgeNode left(world, config), right(world, Numbered(2));
    network::CableSettings slow;
    slow.bitsPerSecond = 1'000'000;
    world.Connect(left, 0, right, 0, slow);
    world.RunMs(1'500);
    const auto waiting = [&] {
        return Network::TakeDeepest(left, 0)[static_cast<size_t>(network::TrafficClass::CONTROL)];
    };
    for ((void)waiting(); waiting() == 0; world.RunMs(1)) world.Send(left, 0, network::Bytes(1'400));

    const size_t before = lines;
    left.KillDaemon();
    EXPECT_GT(before, 0u);
    EXPECT_EQ(lines, before);
}

// The same world twice gives the same frames at the same instants.
TEST(BridgeInANetwork, RunsTheSameEveryTime) {
    const auto run = [] {
        std::vector<std::pair<uint64_t, network::Bytes>> sent;
        Network world;
        std::deque<BridgeNode> bridges;
        for (uint8_t n = 0; n < 4; ++n) bridges.emplace_back(world, Numbered(n));
        world.filter = [&](const network::Node&, uint8_t, std::span<const uint8_t> frame) {
            sent.emplace_back(world.clock.Ns(), network::Bytes(frame.begin(), frame.end()));
            return true;
        };
        for (size_t n = 1; n < bridges.size(); ++n) world.Connect(bridges[n - 1], 1, bridges[n], 0);
        world.RunMs(20'000);
        return sent;
    };

    const auto first = run();
    EXPECT_GT(first.size(), 1'000u);
    EXPECT_EQ(first, run());
}

TEST(BridgeInANetwork, GoesWhileItWaitsForATimeStamp) {
    Network world;
    auto left = std::make_unique<BridgeNode>(world, Numbered(1));
    BridgeNode right(world, Numbered(2));
    world.Connect(*left, 0, right, 0);
    bool asked = false;
    world.filter = [&](const network::Node& from, uint8_t, std::span<const uint8_t> frame) {
        asked |= &from == left.get() && frame[14] == static_cast<uint8_t>(PTPMessage::PDELAY_REQ);
        return true;
    };
    ASSERT_TRUE(world.RunUntil([&] { return asked; }, 5'000));
    world.filter = {};

    left.reset();
}

// A neighbour finds its port no longer AS capable, and capable again when somebody answers.
TEST(BridgeInANetwork, LivesOnWithANewDaemonWhenItsOwnWasKilled) {
    Network world;
    BridgeNode left(world, Numbered(1)), right(world, Numbered(2));
    world.Connect(left, 0, right, 0);
    ASSERT_TRUE(world.RunUntil([&] { return left.Model().IsAvbUp(0); }, 10'000));

    right.KillDaemon();
    EXPECT_FALSE(right.DaemonRuns());
    EXPECT_TRUE(world.RunUntil([&] { return !left.Model().IsAvbUp(0); }, 10'000));
    right.StartDaemon();

    EXPECT_TRUE(world.RunUntil([&] { return left.Model().IsAvbUp(0) && right.Model().IsAvbUp(0); }, 10'000));
}

TEST(BridgeInANetwork, LosesWhatItsKilledDaemonProgrammed) {
    Network world;
    BridgeNode bridge(world, Numbered(1));
    constexpr MacAddress address{0x91, 0xE0, 0xF0, 0, 0, 1};
    bridge.Model().EnableMulticast(1, 2, address);
    ASSERT_EQ(bridge.MulticastPorts(2, address), 0x02);

    bridge.KillDaemon();

    EXPECT_EQ(bridge.MulticastPorts(2, address), 0);
}

TEST(BridgeInANetwork, SaysNothingWhileItIsKilled) {
    Network world;
    BridgeNode left(world, Numbered(1)), right(world, Numbered(2));
    world.Connect(left, 0, right, 0);
    world.RunMs(5'000);
    size_t said = 0;
    world.filter = [&](const network::Node& from, uint8_t, std::span<const uint8_t>) {
        said += &from == &left;
        return true;
    };

    left.KillDaemon();
    world.RunMs(5'000);

    EXPECT_EQ(said, 0u);
}

// Both stamps of an exchange are of the first bit, so a slow cable is no longer than a fast one.
TEST(BridgeInANetwork, MeasuresTheDelayOfACableAtAnyRate) {
    for (const uint64_t rate : {uint64_t{10'000'000}, uint64_t{100'000'000}, uint64_t{1'000'000'000}}) {
        Network world;
        BridgeNode left(world, Numbered(1)), right(world, Numbered(2));
        network::CableSettings settings;
        settings.delayNs = {3'000, 3'000};
        settings.bitsPerSecond = rate;
        world.Connect(left, 0, right, 0, settings);
        world.RunMs(10'000);

        EXPECT_THAT(left.Ask({"--ptp"}), HasSubstr(":PD0:3000ns:")) << rate;
    }
}

TEST(BridgeInANetwork, ShapesStreamsToWhatItsDaemonReserved) {
    Network world;
    BridgeNode left(world, Numbered(1)), right(world, Numbered(2));
    network::CableSettings settings;
    settings.bitsPerSecond = 100'000'000;
    world.Connect(left, 0, right, 0, settings);
    std::vector<uint64_t> beganNs;
    world.filter = [&](const network::Node&, uint8_t, std::span<const uint8_t> frame) {
        if (frame.size() == 226) beganNs.push_back(world.clock.Ns());
        return true;
    };
    const uint64_t startNs = world.clock.Ns();
    std::vector<uint8_t> stream(226);
    stream[12] = 0x81;
    stream[14] = 0x60;  // priority 3

    left.Model().SetBandwidth(0, 2, 25'000'000 / 8);
    world.Send(left, 0, stream);
    world.Send(left, 0, stream);
    world.RunMs(1);

    EXPECT_THAT(beganNs, testing::ElementsAre(startNs, startNs + 80'000));
}

TEST(BridgeInANetwork, ComesUpWithAnotherTimeWhenItsPowerReturns) {
    Network world;
    auto config = Numbered(1);
    config.clockNs = 7'000;
    BridgeNode bridge(world, config), other(world, Numbered(2));
    world.Connect(bridge, 0, other, 0);
    world.RunMs(10'000);

    bridge.PowerOff();
    EXPECT_FALSE(bridge.IsOn());
    bridge.StartDaemon();
    EXPECT_FALSE(bridge.DaemonRuns());
    world.RunMs(3'000);
    bridge.PowerOn();

    EXPECT_EQ(bridge.Hardware().Clock().At(static_cast<int64_t>(world.clock.Ns())), 7'000u);
    EXPECT_TRUE(bridge.Model().IsPortUp(0));
}

}  // namespace
}  // namespace norvad::test
