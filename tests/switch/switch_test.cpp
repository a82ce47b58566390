#include "switch/switch.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <functional>

#include "base/ethertypes.h"
#include "tests/support/bytes.h"
#include "tests/support/captured_log.h"
#include "tests/support/fake_doors.h"
#include "tests/support/recording_handler.h"
#include "tests/support/stepped_clock.h"
#include "tests/switch/command_block.h"

namespace norvad {
namespace {

using namespace test;
using Events = std::vector<std::string>;

class SwitchTest : public testing::Test {
protected:
    SwitchTest() {
        auto handler = boost::make_shared<RecordingHandler>(ETHERTYPE_MSRP, "handler", events);
        bridge.Dispatcher().AddHandler(handler);
    }
    void ReportLinks(std::initializer_list<uint32_t> values) {
        doors.SetPortLinks(values);
        bridge.UpdateLinks();
    }
    Events TakeEvents() { return std::exchange(events, {}); }

    Events events;
    SteppedClock clock;
    FakeDoors doors{clock};
    Switch bridge{"sw0", clock, doors};
    const MacAddress stream{0x91, 0xE0, 0xF0, 0x00, 0xFE, 0x01};
};

TEST_F(SwitchTest, OpensItsDoorsInOrderAndWaitsForTheInterfaceOnce) {
    EXPECT_EQ(doors.opened, (Events{"driver sw0 dada", "frames sw0 dada", "links", "requests"}));
    EXPECT_EQ(doors.frames.waits, 1);
    EXPECT_EQ(doors.links.requests.size(), 1U);
    EXPECT_EQ(bridge.LinkDescriptor(), doors.links.Descriptor());
    EXPECT_EQ(bridge.Requests().Descriptor(), doors.requests.Descriptor());
    EXPECT_EQ(bridge.Dispatcher().Descriptor(), doors.frames.Descriptor());
}

TEST_F(SwitchTest, StartsWithTheInterfacesAddressAnEmptySecondOneAndEveryPortDown) {
    const I4Switch& asSwitch = bridge;
    EXPECT_EQ(ToHex({asSwitch.GetMacAddress(), 6}), "02 00 00 00 10 01");
    EXPECT_EQ(ToHex({asSwitch.GetSecondAddress(), 6}), "00 00 00 00 00 00");
    EXPECT_EQ(bridge.GetMaxPorts(), 7);
    for (uint8_t port = 0; port < 8; ++port) {
        EXPECT_FALSE(bridge.IsPortUp(port) || bridge.IsStpUp(port) || bridge.IsAvbUp(port));
        EXPECT_FALSE(bridge.GetPeerIsSameMake(port));
    }
}

TEST(Switch, SeedsItsRandomnessFromItsAddressAndTheTimeOfDay) {
    SteppedClock clock(123'456'000);  // 123456 us past the second
    const auto firstRandom = [&](uint8_t lastByte) {
        FakeDoors doors(clock);
        doors.SetHardwareAddress({1, 2, 3, 4, 5, lastByte});
        Switch bridge("sw0", clock, doors);
        return bridge.Timers().Random().Below(1'000'000);
    };

    const int ofSix = firstRandom(6);
    RandomSource random;
    random.Seed(1 + 2 + 3 + 4 + 5 + 6 + 123'456);
    EXPECT_EQ(ofSix, random.Below(1'000'000));
    EXPECT_NE(firstRandom(7), ofSix);
}

TEST(Switch, DestroysItsHandlersFirst) {
    Events events;
    SteppedClock clock;
    FakeDoors doors(clock);
    // A handler that still does in its destructor what handlers do: cancels its timer and sends.
    class LeavingHandler final : public ProtoHandler {
    public:
        LeavingHandler(Switch& bridge, Events& events)
            : bridge(bridge),
              events(events),
              timer(bridge.Timers().addTimer(
                  10, [](uint32_t) {}, 0)) {}
        ~LeavingHandler() override {
            bridge.Timers().cancel(timer);
            std::array<uint8_t, minimumTaggedFrame> frame{};
            bridge.write(0, frame.data(), frame.size());
            events.emplace_back("left");
        }
        uint16_t GetEtherType() const override { return ETHERTYPE_MSRP; }
        void HandleFrame(std::span<const uint8_t>, uint16_t) override {}

    private:
        Switch& bridge;
        Events& events;
        Timer* timer;
    };
    int framesSent = 0;
    doors.frames.carry = [&](std::span<const uint8_t>) { ++framesSent; };
    {
        Switch bridge("sw0", clock, doors);
        doors.SetPortLinks({linkFast});
        bridge.UpdateLinks();
        bridge.Dispatcher().AddHandler(boost::make_shared<LeavingHandler>(bridge, events));
    }

    EXPECT_EQ(events, Events{"left"});
    EXPECT_EQ(framesSent, 1);
}

TEST_F(SwitchTest, LinkChangesOfAllPortsAreAnnouncedBeforeAnyStpChange) {
    ReportLinks({linkGigabit, linkFast, 0, 0, 0, 0, linkGigabitBlocked});
    EXPECT_EQ(TakeEvents(),
              (Events{"handler up 0", "handler up 1", "handler up 6", "handler STP up 0", "handler STP up 1"}));
    EXPECT_TRUE(bridge.IsPortUp(0) && bridge.IsPortUp(1) && bridge.IsPortUp(6));
    EXPECT_TRUE(bridge.IsStpUp(0) && bridge.IsStpUp(1));
    EXPECT_FALSE(bridge.IsStpUp(6));

    ReportLinks({0, linkFastBlocked, 0, 0, 0, 0, linkGigabitBlocked});
    EXPECT_EQ(TakeEvents(), (Events{"handler down 0", "handler STP down 0", "handler STP down 1"}));
    EXPECT_TRUE(bridge.IsPortUp(1));
}

TEST_F(SwitchTest, UnchangedLinksAreNotAnnouncedAgain) {
    ReportLinks({linkGigabit});
    TakeEvents();

    ReportLinks({linkGigabit});
    bridge.UpdateLinks();

    EXPECT_EQ(TakeEvents(), Events{});
}

TEST_F(SwitchTest, ChangeOfSpeedIsAnnouncedAsUp) {
    ReportLinks({linkGigabit});
    TakeEvents();

    ReportLinks({linkFast});

    EXPECT_EQ(TakeEvents(), Events{"handler up 0"});
}

TEST_F(SwitchTest, LinkBitWithoutASpeedCodeIsNotUp) {
    ReportLinks({0x8});
    EXPECT_EQ(TakeEvents(), Events{"handler down 0"});
    EXPECT_FALSE(bridge.IsPortUp(0));

    ReportLinks({0x9});
    EXPECT_EQ(TakeEvents(), Events{"handler up 0"});
    EXPECT_TRUE(bridge.IsPortUp(0));
}

TEST_F(SwitchTest, StpBitAloneDoesNotTouchTheLink) {
    ReportLinks({0x4});

    EXPECT_EQ(TakeEvents(), Events{"handler STP up 0"});
    EXPECT_FALSE(bridge.IsPortUp(0));
}

TEST_F(SwitchTest, EighthPortOfTheLinkValueIsIgnored) {
    ReportLinks({0, 0, 0, 0, 0, 0, 0, linkGigabit});

    EXPECT_EQ(TakeEvents(), Events{});
}

TEST_F(SwitchTest, AsCapabilityIsBroadcastOnChangeOnly) {
    bridge.SetAsCapable(1, true, true);
    EXPECT_EQ(TakeEvents(), Events{"handler AVB up 1"});
    EXPECT_TRUE(bridge.IsAvbUp(1));
    EXPECT_TRUE(bridge.GetPeerIsSameMake(1));

    bridge.SetAsCapable(1, true, true);
    bridge.SetAsCapable(1, true, false);
    EXPECT_EQ(TakeEvents(), Events{});
    EXPECT_FALSE(bridge.GetPeerIsSameMake(1));

    bridge.SetAsCapable(1, false, false);
    EXPECT_EQ(TakeEvents(), Events{"handler AVB down 1"});
    EXPECT_FALSE(bridge.IsAvbUp(1));
}

TEST_F(SwitchTest, AsCapabilityOfAPortWithoutARecordIsIgnored) {
    bridge.SetAsCapable(7, true, true);

    EXPECT_EQ(TakeEvents(), Events{});
    EXPECT_FALSE(bridge.IsAvbUp(7));
    EXPECT_FALSE(bridge.GetPeerIsSameMake(7));
}

// A dead link clears the decision but not the AVB state that follows it: gPTP, which hears of the link as well, is
// the one to announce that, and finds its "not capable" to be a change.
TEST_F(SwitchTest, DeadLinkLeavesTheAvbStateToGptp) {
    ReportLinks({linkGigabit});
    bridge.SetAsCapable(0, true, true);
    TakeEvents();

    ReportLinks({linkDown});
    EXPECT_EQ(TakeEvents(), (Events{"handler down 0", "handler STP down 0"}));
    EXPECT_TRUE(bridge.IsAvbUp(0));
    EXPECT_FALSE(bridge.GetPeerIsSameMake(0));

    bridge.SetAsCapable(0, false, false);
    EXPECT_EQ(TakeEvents(), Events{"handler AVB down 0"});
}

TEST_F(SwitchTest, PeersMakeIsForgottenOnlyWhenTheWholeLinkValueIsZero) {
    ReportLinks({linkGigabit});
    bridge.SetAsCapable(0, true, true);

    ReportLinks({0x4});  // down, STP state still up

    EXPECT_FALSE(bridge.IsPortUp(0));
    EXPECT_TRUE(bridge.GetPeerIsSameMake(0));
}

class SwitchOutputTest : public SwitchTest {
protected:
    SwitchOutputTest() { ReportLinks({linkGigabit, linkFast, 0, 0, 0, 0, linkGigabit}); }

    // A frame as callers leave it: destination, then whatever the buffer held, then the protocol's bytes.
    static std::vector<uint8_t> Buffer() {
        auto bytes = FromHex("01 80 c2 00 00 0e");
        bytes.resize(2048, 0xAA);
        return bytes;
    }
};

TEST_F(SwitchOutputTest, ShortFrameIsSentWithZeroPaddingTo68Bytes) {
    auto frame = Buffer();

    bridge.write(1, frame.data(), 30);

    ASSERT_EQ(doors.frames.sent.size(), 1U);
    EXPECT_EQ(ToHex(doors.frames.sent[0]),
              "01 80 c2 00 00 0e "              // destination
              "02 00 00 00 10 01 "              // the interface's own address
              "da da 00 00 40 08 e0 01 "        // from the CPU, port 1
              "aa aa aa aa aa aa aa aa aa aa "  // up to byte 29
              "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
              "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
    EXPECT_EQ(frame[68], 0xAA);
}

TEST_F(SwitchOutputTest, PaddingEndsAt68Bytes) {
    for (const size_t length : {67U, 68U, 69U, 1500U}) {
        auto frame = Buffer();
        bridge.write(0, frame.data(), length);
        const auto sent = doors.frames.TakeSent();
        ASSERT_EQ(sent.size(), 1U);
        EXPECT_EQ(sent[0].size(), std::max<size_t>(length, 68));
        EXPECT_EQ(sent[0][67], length == 67 ? 0 : 0xAA);
    }
}

TEST_F(SwitchOutputTest, FrameForADownOrAbsentPortIsNotSent) {
    auto frame = Buffer();

    for (const uint8_t port : std::initializer_list<uint8_t>{2, 5, 7, 31, 32, 255})
        bridge.write(port, frame.data(), 100);

    EXPECT_TRUE(doors.frames.sent.empty());
    EXPECT_EQ(frame, Buffer());
}

TEST_F(SwitchOutputTest, NullOrEmptyFrameIsNotSent) {
    auto frame = Buffer();

    bridge.write(0, nullptr, 100);
    bridge.write(0, frame.data(), 0);

    EXPECT_TRUE(doors.frames.sent.empty());
}

TEST_F(SwitchOutputTest, FrameForAllPortsLeavesByEveryUpPortButOneInAscendingOrder) {
    auto frame = Buffer();

    bridge.writeAllPorts(1, frame.data(), 100);
    bridge.writeAllPorts(99, frame.data(), 100);

    Events ports;
    for (const auto& sent : doors.frames.sent) ports.push_back(std::to_string(*TaggedPort(sent)));
    EXPECT_EQ(ports, (Events{"0", "6", "0", "1", "6"}));
}

TEST_F(SwitchOutputTest, FailedSendIsLogged) {
    auto frame = Buffer();
    doors.frames.failWrites = 1;

    EXPECT_EQ(Logged(0, [&] { bridge.write(0, frame.data(), 30); }), "[Switch] write error\n");
    EXPECT_EQ(Logged(0, [&] { bridge.write(0, frame.data(), 30); }), "");
}

TEST_F(SwitchTest, EnablingTheSameAddressTwiceOnOnePortCallsTheDriverOnce) {
    bridge.EnableMulticast(1, 2, stream);
    bridge.EnableMulticast(1, 2, stream);

    ASSERT_EQ(doors.driver.records.size(), 1U);
    EXPECT_EQ(ToHex(doors.driver.records[0]),
              Block("13 00 00 00 00 00 00 00 01 00 00 00 02 00 00 00 02 00 00 00 91 e0 f0 00 fe 01"));
}

TEST_F(SwitchTest, DriverGetsTheMaskOfTheOnePortThatChanges) {
    bridge.EnableMulticast(0, 2, stream);
    bridge.EnableMulticast(6, 2, stream);
    EXPECT_EQ(doors.driver.records[1][12], 0x40);
    EXPECT_EQ((doors.driver.multicast[{2, stream}]), 0x41U);

    bridge.DisableMulticast(0, 2, stream);
    EXPECT_EQ(doors.driver.records[2][8], 0);
    EXPECT_EQ(doors.driver.records[2][12], 0x01);
    EXPECT_EQ((doors.driver.multicast[{2, stream}]), 0x40U);
}

TEST_F(SwitchTest, DisablingAnAddressNeverEnabledCallsNothing) {
    bridge.EnableMulticast(0, 2, stream);

    bridge.DisableMulticast(1, 2, stream);
    bridge.DisableMulticast(0, 3, stream);

    EXPECT_EQ(doors.driver.records.size(), 1U);
}

TEST_F(SwitchTest, VlanMembershipReachesTheDriverOnChange) {
    bridge.EnableVlan(1, 100);
    bridge.EnableVlan(1, 100);
    bridge.EnableVlan(0, 100);
    EXPECT_EQ(doors.driver.records.size(), 2U);
    EXPECT_EQ(ToHex(doors.driver.records[1]), Block("14 00 00 00 00 00 00 00 01 00 00 00 01 00 00 00 64 00 00 00"));
    EXPECT_EQ(doors.driver.vlans[100], 3);

    bridge.DisableVlan(1, 100);
    bridge.DisableVlan(1, 100);
    bridge.DisableVlan(1, 101);
    EXPECT_EQ(doors.driver.records.size(), 3U);
    EXPECT_EQ(doors.driver.vlans[100], 1);
}

TEST_F(SwitchTest, MembershipsOfAPortWithoutARecordAreLoggedAndIgnored) {
    const std::string lines = Logged(1, [this] {
        bridge.EnableVlan(7, 100);
        bridge.DisableVlan(7, 100);
        bridge.EnableMulticast(7, 2, stream);
        bridge.DisableMulticast(7, 2, stream);
    });

    EXPECT_EQ(lines,
              "[Switch] EnableVlan 100 on port 7\n"
              "[Switch] DisableVlan 100 on port 7\n"
              "[Switch] EnableMulticast on port 7 vlan 2 addr 91:e0:f0:00:fe:01\n"
              "[Switch] DisableMulticast on port 7 vlan 2 addr 91:e0:f0:00:fe:01\n");
    EXPECT_TRUE(doors.driver.records.empty());
    EXPECT_EQ(Logged(0, [this] { bridge.EnableVlan(7, 100); }), "");
}

TEST_F(SwitchTest, BandwidthGoesByTheSpeedOfThePort) {
    ReportLinks({linkGigabit, linkFast});

    EXPECT_TRUE(bridge.HasBandwidth(0, 93'750'000));
    EXPECT_FALSE(bridge.HasBandwidth(1, 9'375'001));
    bridge.AddBandwidth(1, 3, 9'375'000);
    bridge.SubstractBandwidth(1, 3, 375'000);
    bridge.SetBandwidth(0, 2, 42);

    EXPECT_EQ(doors.driver.egress[1].limit, 9'000'000);
    EXPECT_EQ(doors.driver.egress[0].parameter, 2U);
    EXPECT_EQ(doors.driver.egress[0].limit, 42);
}

TEST_F(SwitchTest, EgressIsOnlyLogged) {
    const auto set = [this] { bridge.SetEgress(1, 1'000'000); };

    EXPECT_EQ(Logged(2, set), "[Switch] SetEgress on port 1 1000000 bps\n");
    EXPECT_EQ(Logged(1, set), "");
    EXPECT_TRUE(doors.driver.records.empty());
}

TEST_F(SwitchTest, TimestampQueriesGiveTheirSideOfTheDriversPair) {
    const std::pair<std::function<uint64_t()>, uint64_t> cases[] = {
        {[this] { return bridge.GetSyncTxTimestamp(1, 0, 7); }, 20},
        {[this] { return bridge.GetSyncRxTimestamp(1, 0, 7); }, 40},
        {[this] { return bridge.GetTxTimestamp(1, 0, 7); }, 10},
        {[this] { return bridge.GetRxTimestamp(1, 0, 7); }, 30},
    };
    for (const auto& [query, expected] : cases) {
        doors.driver.transmitted[{1, 0, 7}] = {10, 20};
        doors.driver.arrived[{1, 0, 7}] = {30, 40};
        EXPECT_EQ(query(), expected);
        doors.driver.transmitted.clear();
        doors.driver.arrived.clear();
        (void)Logged(0, [&, &missing = query] { EXPECT_EQ(missing(), noTimestamp); });
    }
}

TEST_F(SwitchTest, TimestampPairsComeWhole) {
    doors.driver.transmitted[{1, 0, 7}] = {10, 20};
    doors.driver.arrived[{0, 3, 9}] = {30, 40};
    uint64_t first = 0, second = 0;

    bridge.GetTxTimestamps(1, 0, 7, first, second);
    EXPECT_EQ(first, 10U);
    EXPECT_EQ(second, 20U);
    bridge.GetRxTimestamps(0, 3, 9, first, second);
    EXPECT_EQ(first, 30U);
    EXPECT_EQ(second, 40U);
    (void)Logged(0, [&] { bridge.GetRxTimestamps(0, 3, 9, first, second); });
    EXPECT_EQ(first, noTimestamp);
    EXPECT_EQ(second, noTimestamp);
}

TEST_F(SwitchTest, ClockIsSteppedAndSteeredThroughTheDriver) {
    const auto change = [this] {
        bridge.SetClockSteering(-7);
        bridge.SetClock(~uint64_t{0});
    };
    EXPECT_EQ(Logged(4, change), "");
    EXPECT_EQ(Logged(5, change),
              "[Switch] SetClockSteering -7\n"
              "[Switch] SetClock 18446744073709551615\n");

    EXPECT_EQ(doors.driver.steering, -7);
    EXPECT_EQ(ToHex(doors.driver.records[1]), Block("10 00 00 00 00 00 00 00 ff ff ff ff ff ff ff ff"));
}

TEST_F(SwitchTest, PendingErrorOfTheLinkSocketCanBeTaken) {
    doors.links.pendingError = ENOBUFS;

    EXPECT_NE(Logged(0, [this] { EXPECT_EQ(bridge.TakeLinkError(), ENOBUFS); }), "");
    EXPECT_EQ(bridge.TakeLinkError(), 0);
}

TEST_F(SwitchTest, HookOfTheSocketSideDoesNothing) {
    EXPECT_EQ(Logged(9, [this] { bridge.FrameSocketEvent(); }), "");
    EXPECT_TRUE(events.empty());
}

}  // namespace
}  // namespace norvad
