// What listeners hold of the switch.

#include "msrp/reservation.h"

#include "tests/msrp/msrp_bridge.h"

namespace norvad::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ReservationsTest : public ::testing::Test {
protected:
    FakeSwitch board;
    Reservations reservations{board};
    Listener first{Stream(1), 1};
    Listener second{Stream(2), 1};
    const FakeSwitch::Multicast firstAddress = {1, 2, {0x91, 0xE0, 0xF0, 0, 0, 1}};
    const FakeSwitch::Multicast secondAddress = {1, 2, {0x91, 0xE0, 0xF0, 0, 0, 2}};
};

TEST(StreamBandwidth, CountsEveryFrameOfASecondWithItsOverhead) {
    TalkerFirstValue talker = TalkerOf(Stream(1));
    EXPECT_EQ(StreamBandwidth(talker), 1'200'000u);

    talker.maxIntervalFrames = 3;
    EXPECT_EQ(StreamBandwidth(talker), 3'600'000u);

    talker.maxFrameSize = 0;
    EXPECT_EQ(StreamBandwidth(talker), 1'200'000u);

    talker.maxIntervalFrames = 0;
    EXPECT_EQ(StreamBandwidth(talker), 0u);
}

TEST(StreamBandwidth, WrapsAtThirtyTwoBits) {
    TalkerFirstValue talker = TalkerOf(Stream(1));
    talker.maxFrameSize = 0xFFFF;
    talker.maxIntervalFrames = 0xFFFF;

    EXPECT_EQ(StreamBandwidth(talker), static_cast<uint32_t>(65535ull * (8000ull * 65535 + 400000)));
}

TEST_F(ReservationsTest, TwoListenersAddUpAndOneLeavesTheOtherAlone) {
    reservations.Reserve(first, TalkerOf(Stream(1)));
    reservations.Reserve(second, TalkerOf(Stream(2)));
    EXPECT_THAT(board.bandwidthCalls,
                ElementsAre(FakeSwitch::BandwidthCall{1, 2, 1'200'000}, FakeSwitch::BandwidthCall{1, 2, 2'400'000}));
    EXPECT_THAT(board.multicasts, ElementsAre(firstAddress, secondAddress));

    reservations.Release(first);
    EXPECT_EQ(board.bandwidthCalls.back(), (FakeSwitch::BandwidthCall{1, 2, 1'200'000}));
    EXPECT_THAT(board.multicasts, ElementsAre(secondAddress));
    EXPECT_FALSE(first.reservation.active);
    EXPECT_EQ(first.reservation.bandwidth, 0u);

    reservations.Release(second);
    EXPECT_EQ(board.bandwidthCalls.back(), (FakeSwitch::BandwidthCall{1, 2, 0}));
    EXPECT_THAT(board.multicasts, IsEmpty());
}

TEST_F(ReservationsTest, TheEgressLimitIsSetBeforeTheStreamMayPass) {
    reservations.Reserve(first, TalkerOf(Stream(1)));

    EXPECT_THAT(board.calls, ElementsAre("SetBandwidth", "EnableMulticast"));
}

TEST_F(ReservationsTest, TheStreamIsStoppedBeforeItsShareOfTheEgressLimitGoes) {
    reservations.Reserve(first, TalkerOf(Stream(1)));
    board.calls.clear();
    reservations.Release(first);

    EXPECT_THAT(board.calls, ElementsAre("DisableMulticast", "SetBandwidth"));
}

TEST_F(ReservationsTest, AnActiveReservationStaysAsItIs) {
    reservations.Reserve(first, TalkerOf(Stream(1)));
    TalkerFirstValue larger = TalkerOf(Stream(1));
    larger.maxFrameSize = 1500;
    reservations.Reserve(first, larger);

    EXPECT_EQ(board.bandwidthCalls.size(), 1u);
    EXPECT_EQ(first.reservation.bandwidth, 1'200'000u);
}

TEST_F(ReservationsTest, ReleasingWithoutAReservationTouchesNothing) {
    board.multicasts.insert(firstAddress);
    reservations.Release(first);

    EXPECT_THAT(board.bandwidthCalls, IsEmpty());
    EXPECT_THAT(board.multicasts, ElementsAre(firstAddress));
}

TEST_F(ReservationsTest, VlansAndPortsHaveTotalsOfTheirOwn) {
    TalkerFirstValue otherVlan = TalkerOf(Stream(2));
    otherVlan.vid = 3;
    Listener elsewhere(Stream(1), 0);

    reservations.Reserve(first, TalkerOf(Stream(1)));
    reservations.Reserve(second, otherVlan);
    reservations.Reserve(elsewhere, TalkerOf(Stream(1)));
    reservations.Release(first);

    // The switch ignores the second call: the value of port 1 did not change.
    EXPECT_THAT(board.bandwidthCalls,
                ElementsAre(FakeSwitch::BandwidthCall{1, 2, 1'200'000}, FakeSwitch::BandwidthCall{0, 2, 1'200'000},
                            FakeSwitch::BandwidthCall{1, 2, 0}));
    EXPECT_TRUE(second.reservation.active);
    EXPECT_EQ(second.reservation.vid, 3);
}

TEST_F(ReservationsTest, ATotalThatWrappedComesBack) {
    TalkerFirstValue huge = TalkerOf(Stream(2));
    huge.maxFrameSize = 0xFFFF;
    huge.maxIntervalFrames = 8;  // 4,197,440,000
    Listener third(Stream(3), 1);
    reservations.Reserve(first, huge);
    reservations.Reserve(second, huge);
    EXPECT_EQ(board.reserved[1], static_cast<uint32_t>(2 * 4'197'440'000ull));

    reservations.Reserve(third, TalkerOf(Stream(3)));
    reservations.Release(first);
    reservations.Release(second);
    EXPECT_EQ(board.reserved[1], 1'200'000u);
}

}  // namespace
}  // namespace norvad::test
