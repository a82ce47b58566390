#include "lab/network/egress_port.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

#include "base/wire.h"
#include "lab/common/ethernet_frame.h"

namespace norvad::test {
namespace {

using network::EgressPort;
using network::Engine;
using network::PortTally;
using network::TrafficClass;
using testing::ElementsAre;
using testing::Pair;

constexpr uint64_t us = 1'000;
constexpr uint64_t fast = 100'000'000;  // 80 ns a byte

// Of this many bytes without its check sequence: 24 more keep the port busy.
std::vector<uint8_t> Tagged(uint8_t priority, size_t length) {
    std::vector<uint8_t> frame(length);
    (void)Put(frame, 12, lab::VlanTagBytes{lab::etherTypeVlan, lab::ControlOf({2, priority})});
    return frame;
}

class AFastPort : public testing::Test {
protected:
    explicit AFastPort(size_t queueFrames = 64)
        : port(std::make_shared<EgressPort>(
              engine, EgressPort::Settings{fast, queueFrames},
              [this](std::span<const uint8_t> frame, uint64_t) { began.emplace_back(frame.size(), engine.NowNs()); },
              tally)) {}

    Engine engine{0};
    PortTally tally;
    std::vector<std::pair<size_t, uint64_t>> began;  // length and instant
    std::shared_ptr<EgressPort> port;
};

TEST(TheWire, IsTakenByAFrameWithAllThatIsAroundIt) {
    // 1,000 bytes with the check sequence, the preamble in front, the gap behind.
    EXPECT_EQ(EgressPort::FrameNs(996, fast), 1'008 * 80u);
    EXPECT_EQ(EgressPort::BusyNs(996, fast), 1'020 * 80u);
    EXPECT_EQ(EgressPort::FrameNs(996, 1'000'000'000), 1'008 * 8u);
    EXPECT_EQ(EgressPort::BusyNs(14, fast), 84 * 80u);  // padded to the shortest frame
    EXPECT_EQ(EgressPort::BusyNs(60, fast), 84 * 80u);
    EXPECT_EQ(EgressPort::BusyNs(996, 3), (1'020 * 8 * 1'000'000'000ull + 2) / 3);  // ends in the next nanosecond
}

TEST_F(AFastPort, SendsOneFrameAfterTheOther) {
    port->Send(Tagged(0, 996));
    port->Send(Tagged(0, 226));
    engine.RunUntil(1'000 * us);

    EXPECT_THAT(began, ElementsAre(Pair(996u, 0u), Pair(226u, 81'600u)));
}

TEST_F(AFastPort, SendsTheHighestPriorityThatWaits) {
    port->Send(Tagged(0, 996));
    for (uint8_t priority = 0; priority < 8; ++priority) port->Send(Tagged(priority, 100u + priority));
    engine.RunUntil(1'000 * us);

    std::vector<size_t> order;
    for (const auto& [length, ns] : began) order.push_back(length);
    EXPECT_THAT(order, ElementsAre(996, 103, 102, 107, 106, 105, 104, 100, 101));
}

TEST_F(AFastPort, RanksWhatBridgesTellOneAnotherLikePrioritySeven) {
    std::vector<uint8_t> control(60);
    control[0] = 0x01;
    control[1] = 0x80;
    control[2] = 0xC2;
    control[5] = 0x0E;

    EXPECT_EQ(EgressPort::QueueOf(control), EgressPort::QueueOf(Tagged(7, 60)));
    EXPECT_EQ(EgressPort::QueueOf(std::vector<uint8_t>(60)), EgressPort::QueueOf(Tagged(0, 60)));
    EXPECT_EQ(EgressPort::QueueOf(std::vector<uint8_t>(3)), EgressPort::QueueOf(Tagged(0, 60)));
}

// 250 bytes keep the port busy for 20 us; at a quarter of its rate there is one every 80 us.
TEST_F(AFastPort, ShapesABurstToWhatIsReserved) {
    port->Reserve(25'000'000 / 8);
    for (int n = 0; n < 3; ++n) port->Send(Tagged(3, 226));
    engine.RunUntil(1'000 * us);

    EXPECT_THAT(began, ElementsAre(Pair(226u, 0u), Pair(226u, 80 * us), Pair(226u, 160 * us)));
}

// While another frame is on the wire for 100 us the class earns 2,500 bits: enough for one frame, which leaves 1,000,
// and for the next, which owes 500 and those take 20 us.
TEST_F(AFastPort, LetsAClassMakeUpForWhatItWaited) {
    port->Reserve(25'000'000 / 8);
    port->Send(Tagged(0, 1'226));
    for (int n = 0; n < 3; ++n) port->Send(Tagged(3, 226));
    engine.RunUntil(1'000 * us);

    EXPECT_THAT(began, ElementsAre(Pair(1'226u, 0u), Pair(226u, 100 * us), Pair(226u, 120 * us), Pair(226u, 160 * us)));
}

TEST_F(AFastPort, FillsTheRestsOfAClassWithOthers) {
    port->Reserve(25'000'000 / 8);
    for (int n = 0; n < 2; ++n) port->Send(Tagged(3, 226));
    for (int n = 0; n < 2; ++n) port->Send(Tagged(0, 476));  // 40 us each
    engine.RunUntil(1'000 * us);

    EXPECT_THAT(began, ElementsAre(Pair(226u, 0u), Pair(476u, 20 * us), Pair(476u, 60 * us), Pair(226u, 100 * us)));
}

TEST_F(AFastPort, ShapesBothClassesTogether) {
    port->Reserve(25'000'000 / 8);
    port->Send(Tagged(2, 226));
    port->Send(Tagged(3, 226));
    engine.RunUntil(1'000 * us);

    EXPECT_THAT(began, ElementsAre(Pair(226u, 0u), Pair(226u, 80 * us)));
}

TEST_F(AFastPort, DoesNotShapeWhereNothingIsReserved) {
    for (int n = 0; n < 3; ++n) port->Send(Tagged(3, 226));
    engine.RunUntil(1'000 * us);

    EXPECT_THAT(began, ElementsAre(Pair(226u, 0u), Pair(226u, 20 * us), Pair(226u, 40 * us)));
}

TEST_F(AFastPort, LetsAFrameGoBeforeAllThatWait) {
    port->Send(Tagged(0, 996));
    port->Send(Tagged(7, 226));

    EXPECT_EQ(port->SendNext(Tagged(0, 100)), 81'600u);
    engine.RunUntil(1'000 * us);
    EXPECT_THAT(began, ElementsAre(Pair(996u, 0u), Pair(100u, 81'600u), Pair(226u, 81'600u + 124 * 80)));
}

class ACrowdedPort : public AFastPort {
protected:
    ACrowdedPort() : AFastPort(2) {}
};

TEST_F(ACrowdedPort, LosesWhatFindsNoRoomInItsQueue) {
    for (int n = 0; n < 3; ++n) EXPECT_TRUE(port->Send(Tagged(0, 100)));  // one is under way
    EXPECT_FALSE(port->Send(Tagged(0, 100)));
    EXPECT_TRUE(port->Send(Tagged(5, 100)));
    EXPECT_EQ(port->Waiting(), 3u);
    engine.RunUntil(1'000 * us);

    EXPECT_EQ(began.size(), 4u);
    EXPECT_EQ(tally.Of(TrafficClass::BEST_EFFORT).lost, 1u);
    EXPECT_EQ(tally.Of(TrafficClass::BEST_EFFORT).deepest, 2u);
    EXPECT_EQ(tally.CrowdedOut(), 1u);
}

// Of 16 frames the first is under way at once.
TEST_F(AFastPort, CountsWhatWaitsByClass) {
    port->Send(Tagged(0, 996));
    const std::vector<uint8_t> priorities{0, 1, 1, 2, 2, 2, 3, 3, 3, 3, 7, 7, 7, 7, 7};
    for (const uint8_t priority : priorities) port->Send(Tagged(priority, 100));

    EXPECT_EQ(tally.Of(TrafficClass::STREAMS_A).deepest, 4u);
    EXPECT_EQ(tally.Of(TrafficClass::STREAMS_B).deepest, 3u);
    EXPECT_EQ(tally.Of(TrafficClass::CONTROL).deepest, 5u);
    EXPECT_EQ(tally.Of(TrafficClass::BEST_EFFORT).deepest, 2u);  // in the fullest of its queues
}

TEST_F(AFastPort, CountsWhatStillWaitsAgain) {
    for (int n = 0; n < 4; ++n) port->Send(Tagged(3, 996));
    engine.RunUntil(100 * us);
    tally.Of(TrafficClass::STREAMS_A).deepestLately = 0;
    port->CountDepths();

    EXPECT_EQ(tally.Of(TrafficClass::STREAMS_A).deepestLately, 2u);
    EXPECT_EQ(tally.Of(TrafficClass::STREAMS_A).deepest, 3u);
}

}  // namespace
}  // namespace norvad::test
