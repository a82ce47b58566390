#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "lab/network/network.h"

namespace norvad::test {
namespace {

using network::CableSettings;
using network::Network;
using testing::ElementsAre;
using testing::SizeIs;

// Keeps when and which frames came and went.
class Post final : public network::Node {
public:
    struct Frame {
        uint64_t ns;
        uint64_t beganNs;
        size_t length;
    };

    explicit Post(Network& network) : network(network) {}
    void Arrive(uint8_t, std::span<const uint8_t> frame, uint64_t beganNs) override {
        arrived.push_back({network.clock.Ns(), beganNs, frame.size()});
    }
    void BeginsToLeave(uint8_t, std::span<const uint8_t>) override { leftNs.push_back(network.clock.Ns()); }
    void LinkChanged(uint8_t, bool) override {}
    void Refresh() override {}

    std::vector<Frame> arrived;
    std::vector<uint64_t> leftNs;

private:
    Network& network;
};

class TwoPosts : public testing::Test {
protected:
    void Connect(const CableSettings& settings) { network.Connect(left, 0, right, 0, settings); }
    void SendAndWait(Post& from, int frames) {
        for (int i = 0; i < frames; ++i) {
            network.Send(from, 0, network::Bytes(100));
            network.RunMs(1);
        }
    }

    Network network;
    Post left{network}, right{network};
};

TEST_F(TwoPosts, HearOneAnotherAfterTheDelayOfEachWay) {
    CableSettings settings;
    settings.delayNs = {300, 700};
    Connect(settings);
    const uint64_t startNs = network.clock.Ns();

    network.Send(left, 0, network::Bytes(100));
    network.Send(right, 0, network::Bytes(100));
    network.RunMs(1);

    ASSERT_THAT(right.arrived, SizeIs(1));
    ASSERT_THAT(left.arrived, SizeIs(1));
    EXPECT_EQ(right.arrived[0].ns, startNs + 300);
    EXPECT_EQ(right.arrived[0].beganNs, startNs + 300);
    EXPECT_EQ(left.arrived[0].ns, startNs + 700);
    EXPECT_THAT(left.leftNs, ElementsAre(startNs));
}

TEST_F(TwoPosts, LoseAsManyFramesAsTheCableLoses) {
    CableSettings settings;
    settings.lostPerMillion = {100'000, 0};
    Connect(settings);

    SendAndWait(left, 2'000);
    const network::PortTally& tally = network::Network::TallyOf(left, 0);
    EXPECT_NEAR(static_cast<double>(tally.lostOnCable), 200, 60);
    EXPECT_EQ(right.arrived.size() + tally.lostOnCable, 2'000u);
    EXPECT_EQ(tally.sent, 2'000u);
    SendAndWait(right, 2'000);
    EXPECT_EQ(left.arrived.size(), 2'000u);
}

TEST_F(TwoPosts, HearFramesLateAndInTheirOrder) {
    CableSettings settings;
    settings.jitterNs = 1'000;
    Connect(settings);
    const uint64_t startNs = network.clock.Ns();

    for (size_t length = 1; length <= 100; ++length) network.Send(left, 0, network::Bytes(length));
    network.RunMs(1);

    ASSERT_THAT(right.arrived, SizeIs(100));
    for (size_t i = 0; i < right.arrived.size(); ++i) EXPECT_EQ(right.arrived[i].length, i + 1);
    EXPECT_GT(right.arrived.back().ns, startNs + 900);
    EXPECT_LT(right.arrived.back().ns, startNs + 200 + 1'000);
}

// 100 Mbit/s: 1,008 bytes with preamble and check sequence take 80,640 ns, and the next frame begins 12 bytes later.
TEST_F(TwoPosts, HearAFrameWhenAllOfItIsThere) {
    CableSettings settings;
    settings.bitsPerSecond = 100'000'000;
    Connect(settings);
    const uint64_t startNs = network.clock.Ns();

    network.Send(left, 0, network::Bytes(996));
    network.Send(left, 0, network::Bytes(60));
    network.RunMs(1);

    ASSERT_THAT(right.arrived, SizeIs(2));
    EXPECT_EQ(right.arrived[0].beganNs, startNs + 200);
    EXPECT_EQ(right.arrived[0].ns, startNs + 200 + 80'640);
    EXPECT_EQ(right.arrived[1].beganNs, startNs + 200 + 81'600);
    EXPECT_EQ(right.arrived[1].ns, startNs + 200 + 81'600 + 5'760);
    EXPECT_THAT(left.leftNs, ElementsAre(startNs, startNs + 81'600));
}

TEST_F(TwoPosts, LoseWhatWaitsInAPortThatIsUnplugged) {
    CableSettings settings;
    settings.bitsPerSecond = 100'000'000;
    Connect(settings);
    for (int n = 0; n < 3; ++n) network.Send(left, 0, network::Bytes(996));

    network.Disconnect(left, 0);
    network.RunMs(1);

    EXPECT_THAT(right.arrived, SizeIs(0));
    EXPECT_THAT(left.leftNs, SizeIs(1));
    EXPECT_EQ(network::Network::TallyOf(left, 0).cutOff, 3u);  // one was under way
    EXPECT_EQ(network::Network::TallyOf(right, 0).cutOff, 0u);
}

TEST_F(TwoPosts, CrowdFramesOutOfAFullQueue) {
    CableSettings settings;
    settings.bitsPerSecond = 100'000'000;
    settings.queueFrames = 2;
    Connect(settings);

    for (int n = 0; n < 5; ++n) network.Send(left, 0, network::Bytes(996));

    EXPECT_EQ(network::Network::TallyOf(left, 0).CrowdedOut(), 2u);
}

TEST_F(TwoPosts, TellHowManyFramesHaveWaitedSinceTheyWereAsked) {
    using network::Network;
    CableSettings settings;
    settings.bitsPerSecond = 100'000'000;
    Connect(settings);
    constexpr size_t bestEffort = 3;

    SendAndWait(left, 1);
    EXPECT_EQ(Network::TakeDeepest(left, 0)[bestEffort], 1u);
    EXPECT_EQ(Network::TakeDeepest(left, 0)[bestEffort], 0u);
    for (int n = 0; n < 5; ++n) network.Send(left, 0, network::Bytes(996));
    EXPECT_EQ(Network::TakeDeepest(left, 0)[bestEffort], 4u);
    EXPECT_EQ(Network::TakeDeepest(left, 0)[bestEffort], 4u);  // they wait still
    network.Disconnect(left, 0);
    EXPECT_EQ(Network::TakeDeepest(left, 0)[bestEffort], 4u);
    EXPECT_EQ(Network::TakeDeepest(left, 0)[bestEffort], 0u);
}

}  // namespace
}  // namespace norvad::test
