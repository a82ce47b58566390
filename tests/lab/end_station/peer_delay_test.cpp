#include "lab/end_station/peer_delay.h"

#include <gtest/gtest.h>

#include "tests/lab/end_station/support.h"

namespace norvad::station {

namespace {

constexpr auto request = R"(
    01 80 c2 00 00 0e 00 11 22 33 44 55 88 f7
    12 02 00 36 00 00 02 08 00 00 00 00 00 00 00 00 00 00 00 00
    00 11 22 ff fe 33 44 55 00 01       // source port
    12 34 05 00
    00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00
)";

class StationPeerDelay : public testing::Test {
protected:
    PeerDelay Make(const PeerDelaySettings& settings) {
        return PeerDelay(settings, clock, port, [this](const std::string& text) { events.push_back(text); });
    }
    void Receive(PeerDelay& peerDelay, const Bytes& frame, std::optional<uint64_t> timeNs = 0) {
        peerDelay.Receive({frame, {}, timeNs});
    }

    test::SteppedClock clock{5'000'000'001};
    FakePort port{{0x02, 0, 0, 0, 0, 0x0A}, clock};
    std::vector<std::string> events;
};

}  // namespace

TEST_F(StationPeerDelay, RequestIsAnsweredByResponseAndFollowUp) {
    auto peerDelay = Make({});
    port.transmitDelayNs = 700;

    Receive(peerDelay, FromHex(request), 4'999'999'000);

    ASSERT_EQ(port.sent.size(), 2u);
    EXPECT_EQ(port.sent[0], FromHex(R"(
        01 80 c2 00 00 0e 02 00 00 00 00 0a 88 f7
        13 02 00 36 00 00 02 08 00 00 00 00 00 00 00 00 00 00 00 00
        02 00 00 ff fe 00 00 0a 00 01  12 34 05 7f
        00 00 00 00 00 04 3b 9a c6 18       // 4.999999000 s
        00 11 22 ff fe 33 44 55 00 01)"));
    EXPECT_EQ(port.sent[1], FromHex(R"(
        01 80 c2 00 00 0e 02 00 00 00 00 0a 88 f7
        1a 02 00 36 00 00 00 08 00 00 00 00 00 00 00 00 00 00 00 00
        02 00 00 ff fe 00 00 0a 00 01  12 34 05 7f
        00 00 00 00 00 05 00 00 02 bd       // 5.000000701 s
        00 11 22 ff fe 33 44 55 00 01)"));
    EXPECT_EQ(events, std::vector<std::string>{"peer delay answered"});
}

TEST_F(StationPeerDelay, OnlyTheFirstAnswerIsAnEvent) {
    auto peerDelay = Make({});

    Receive(peerDelay, FromHex(request));
    Receive(peerDelay, FromHex(request));

    EXPECT_EQ(port.sent.size(), 4u);
    EXPECT_EQ(events.size(), 1u);
}

TEST_F(StationPeerDelay, EveryTruncatedRequestStaysUnanswered) {
    auto peerDelay = Make({});
    const Bytes whole = FromHex(request);

    for (size_t length = sizeof(EthernetHeader); length < whole.size(); ++length) {
        Receive(peerDelay, Part(whole, 0, length));
    }

    EXPECT_TRUE(port.sent.empty());
}

TEST_F(StationPeerDelay, WhatIsNotGptpStaysUnanswered) {
    auto peerDelay = Make({});
    for (const auto& [offset, value] : {std::pair{14, 0x02}, {14, 0x10}, {15, 0x01}, {18, 0x01}}) {
        Bytes frame = FromHex(request);
        frame[static_cast<size_t>(offset)] = static_cast<uint8_t>(value);
        Receive(peerDelay, frame);
    }

    EXPECT_TRUE(port.sent.empty());
}

TEST_F(StationPeerDelay, StationToldNotToAnswerIsSilent) {
    auto peerDelay = Make({.answer = false});

    Receive(peerDelay, FromHex(request));

    EXPECT_TRUE(port.sent.empty());
    EXPECT_EQ(peerDelay.DueNs(), never);
}

TEST_F(StationPeerDelay, ResponseThatCouldNotBeSentHasNoFollowUp) {
    auto peerDelay = Make({});
    port.isDown = true;

    Receive(peerDelay, FromHex(request));

    EXPECT_TRUE(port.sent.empty());
    EXPECT_TRUE(events.empty());
}

TEST_F(StationPeerDelay, ResponseThatNobodyStampedHasNoFollowUpAndIsTold) {
    auto peerDelay = Make({});
    port.stampsNothing = true;

    Receive(peerDelay, FromHex(request));

    EXPECT_EQ(port.sent.size(), 1u);
    EXPECT_EQ(events, std::vector<std::string>{"no transmit stamp type 3 sequence 4660"});
}

TEST_F(StationPeerDelay, RequestThatNobodyStampedStaysUnansweredAndIsTold) {
    auto peerDelay = Make({});

    Receive(peerDelay, FromHex(request), std::nullopt);

    EXPECT_TRUE(port.sent.empty());
    EXPECT_EQ(events, std::vector<std::string>{"no receive stamp type 2 sequence 4660"});
}

TEST_F(StationPeerDelay, ResponseThatNobodyStampedMeasuresNothingAndIsTold) {
    auto asking = Make({.measure = true});
    FakePort otherPort({0x02, 0, 0, 0, 0, 0x0B}, clock);
    PeerDelay answering({}, clock, otherPort, [](const std::string&) {});
    asking.RunDue();
    answering.Receive({port.sent[0], {}, clock.Ns()});

    asking.Receive({otherPort.sent[0], {}, std::nullopt});
    asking.Receive({otherPort.sent[1], {}, 0});

    EXPECT_EQ(events, std::vector<std::string>{"no receive stamp type 3 sequence 1"});
}

TEST_F(StationPeerDelay, OwnRequestsMeasureTheLink) {
    auto asking = Make({.measure = true});
    FakePort otherPort({0x02, 0, 0, 0, 0, 0x0B}, clock);
    PeerDelay answering({}, clock, otherPort, [](const std::string&) {});

    asking.RunDue();  // t1 is now
    ASSERT_EQ(port.sent.size(), 1u);
    answering.Receive({port.sent[0], {}, clock.Ns() + 9'000'000'000'000 + 300});  // t2, a clock far away
    otherPort.transmitDelayNs = 0;
    ASSERT_EQ(otherPort.sent.size(), 2u);
    // The answering clock reads t3 from the fake's own clock: shift t2 back beside it.
    const uint64_t turnaroundNs = 0 - (9'000'000'000'000 + 300);
    asking.Receive({otherPort.sent[0], {}, clock.Ns() + turnaroundNs + 1'000});
    asking.Receive({otherPort.sent[1], {}, 0});

    EXPECT_EQ(events, std::vector<std::string>{"link delay 500 ns"});
    EXPECT_EQ(asking.DueNs(), NowNs(clock) + PeerDelay::requestIntervalNs);
}

TEST_F(StationPeerDelay, FollowUpOfAnotherExchangeMeasuresNothing) {
    auto asking = Make({.measure = true});
    FakePort otherPort({0x02, 0, 0, 0, 0, 0x0B}, clock);
    PeerDelay answering({}, clock, otherPort, [](const std::string&) {});
    asking.RunDue();
    answering.Receive({port.sent[0], {}, clock.Ns()});
    clock.AdvanceMs(1000);
    asking.RunDue();

    asking.Receive({otherPort.sent[0], {}, clock.Ns()});
    asking.Receive({otherPort.sent[1], {}, 0});

    EXPECT_TRUE(events.empty());
}

}  // namespace norvad::station
