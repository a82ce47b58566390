#include <gtest/gtest.h>

#include "lab/end_station/vlan_traffic.h"
#include "tests/lab/end_station/support.h"

namespace norvad::station {

namespace {

constexpr MacAddress source{0x02, 0, 0, 0, 0, 0x0A};

}  // namespace

class StationVlanTraffic : public testing::Test {
protected:
    EventLog Log() {
        return [this](const std::string& text) { events.push_back(text); };
    }
    VlanTraffic Traffic(const std::vector<uint16_t>& vids) { return {vids, 100, clock, port, Log()}; }
    // The frame of a sender that is told apart from others by number.
    Bytes FrameOf(uint8_t number) {
        FakePort other({0x02, 0, 0, 0, 0, number}, clock);
        VlanTraffic sender({10}, 100, clock, other, [](const auto&) {});
        sender.Start();
        sender.RunDue();
        return other.sent.at(0);
    }

    test::SteppedClock clock;
    FakePort port{source, clock};
    std::vector<std::string> events;
};

TEST_F(StationVlanTraffic, FramesGoToEverybodyInTheirVlan) {
    auto traffic = Traffic({10, 4094});

    traffic.Start();
    traffic.RunDue();

    ASSERT_EQ(port.sent.size(), 2u);
    port.sent[0].resize(18 + 28);
    EXPECT_EQ(port.sent[0], FromHex(R"(
        ff ff ff ff ff ff  02 00 00 00 00 0a  81 00 00 0a  22 f0
        7f 80 00 00  02 00 00 00 00 0a 00 0a  00 00 00 00  00 00 00 00  00 4c  00 00
        00 00 00 00)"));
    EXPECT_EQ(Part(port.sent[1], 12, 4), FromHex("81 00 0f fe"));
    EXPECT_EQ(events, (std::vector<std::string>{"sends vlan 10 from 02:00:00:00:00:0a 100 frames/s",
                                                "sends vlan 4094 from 02:00:00:00:00:0a 100 frames/s"}));
}

TEST_F(StationVlanTraffic, KeepsItsPaceFromStartToStop) {
    auto traffic = Traffic({10});
    for (int ms = 0; ms < 3000; ++ms) {
        if (ms == 1000) traffic.Start();
        if (ms == 2000) traffic.Stop();
        traffic.RunDue();
        clock.AdvanceMs(1);
    }
    traffic.LogCounts();

    EXPECT_EQ(port.sent.size(), 100u);
    EXPECT_EQ(traffic.DueNs(), never);
    EXPECT_EQ(events.back(), "sent vlan 10 from 02:00:00:00:00:0a 100 frames");
}

TEST_F(StationVlanTraffic, ReceiverTellsWhoSendsInWhichVlan) {
    auto traffic = Traffic({});
    const Untagged frame(FrameOf(0x0B));

    traffic.Receive(frame.Frame());
    traffic.Receive(frame.Frame());
    EXPECT_EQ(traffic.DueNs(), NowNs(clock) + nsPerSecond);
    clock.AdvanceMs(1000);
    traffic.RunDue();
    clock.AdvanceMs(1000);
    traffic.RunDue();

    EXPECT_EQ(events, (std::vector<std::string>{"vlan 10 from 02:00:00:00:00:0b frames begin vid 10 priority 0",
                                                "receiving vlan 10 from 02:00:00:00:00:0b 2 frames/s",
                                                "vlan 10 from 02:00:00:00:00:0b frames stopped"}));
}

TEST_F(StationVlanTraffic, FrameThatLostItsVlanIsCountedAsWronglyTagged) {
    auto traffic = Traffic({});
    Untagged frame(FrameOf(0x0B));

    traffic.Receive(frame.Frame());
    frame.tag.vid = 11;
    traffic.Receive(frame.Frame());
    traffic.Receive({frame.bytes, {}, 0});
    traffic.LogCounts();

    EXPECT_EQ(events.back(),
              "received vlan 10 from 02:00:00:00:00:0b 3 frames, lost 0, out of order 2, wrongly tagged 2");
}

TEST_F(StationVlanTraffic, SendersBeyondTheLastOneAreNotCounted) {
    auto traffic = Traffic({});
    for (size_t number = 0; number <= VlanTraffic::mostReceivers; ++number) {
        traffic.Receive(Untagged(FrameOf(static_cast<uint8_t>(number))).Frame());
    }

    EXPECT_EQ(events.size(), VlanTraffic::mostReceivers);
    EXPECT_EQ(events.back(), "vlan 10 from 02:00:00:00:00:3f frames begin vid 10 priority 0");
}

TEST_F(StationVlanTraffic, OnlyStreamFramesToEverybodyAreTaken) {
    Untagged frame(FrameOf(0x0B));

    EXPECT_TRUE(VlanTraffic::IsVlanFrame(frame.Frame()));
    frame.bytes[0] = 0x91;
    EXPECT_FALSE(VlanTraffic::IsVlanFrame(frame.Frame()));
    frame.bytes.resize(13);
    EXPECT_FALSE(VlanTraffic::IsVlanFrame(frame.Frame()));
}

TEST_F(StationVlanTraffic, NoTruncationIsCounted) {
    auto traffic = Traffic({});
    const Untagged frame(FrameOf(0x0B));
    constexpr size_t needed = 14 + 24 + 4;

    for (size_t length = 0; length < needed; ++length) {
        traffic.Receive({std::span(frame.bytes).first(length), frame.tag, 0});
    }

    EXPECT_EQ(events, std::vector<std::string>{});
}

class StationOfAVlan : public StationVlanTraffic {
protected:
    StationSettings Settings() {
        StationSettings settings;
        settings.vlans = {10};
        settings.vlanFrames = {11};
        settings.hold = true;
        return settings;
    }
    bool Said(const std::string& text) const { return std::ranges::find(events, text) != events.end(); }

    Station station{Settings(), clock, port, Log()};
};

TEST_F(StationOfAVlan, HeldMembershipWaitsWhileFramesAreSent) {
    station.Start();
    station.RunDue();

    EXPECT_FALSE(Said("declares vlan 10"));
    EXPECT_TRUE(Said("sends vlan 11 from 02:00:00:00:00:0a 100 frames/s"));
    EXPECT_LE(station.DueNs(), NowNs(clock) + 10 * nsPerMs);
}

TEST_F(StationOfAVlan, MembershipMayEndAndComeBackAndEachIsToldOnce) {
    station.Start();
    station.DeclareVlans();
    station.WithdrawVlans();
    station.WithdrawVlans();
    station.DeclareVlans();

    EXPECT_EQ(std::ranges::count(events, "declares vlan 10"), 2);
    EXPECT_EQ(std::ranges::count(events, "withdraws vlan 10"), 1);
}

TEST_F(StationOfAVlan, CountsWhatOthersSendToEverybody) {
    station.Receive(Untagged(FrameOf(0x0B)).Frame());
    station.LogCounts();

    EXPECT_TRUE(Said("vlan 10 from 02:00:00:00:00:0b frames begin vid 10 priority 0"));
    EXPECT_TRUE(Said("received vlan 10 from 02:00:00:00:00:0b 1 frames, lost 0, out of order 0, wrongly tagged 0"));
}

TEST_F(StationOfAVlan, NoVlanFrameIsSentAfterTheEnd) {
    station.Start();
    station.WithdrawAll();
    station.RunDue();

    EXPECT_TRUE(Said("stops sending vlan 11 from 02:00:00:00:00:0a"));
    for (const auto& frame : port.sent) EXPECT_NE(Part(frame, 0, 6), FromHex("ff ff ff ff ff ff"));
}

}  // namespace norvad::station
