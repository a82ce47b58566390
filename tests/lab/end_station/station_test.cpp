#include "lab/end_station/station.h"

#include <gtest/gtest.h>

#include "lab/end_station/text.h"
#include "tests/lab/end_station/support.h"

namespace norvad::station {

namespace {

constexpr StreamID streamId{0x02, 0, 0, 0, 0, 0x01, 0, 0x01};
constexpr MacAddress destination{0x91, 0xE0, 0xF0, 0x00, 0x01, 0x00};

StationSettings TalkerOnly() {
    StationSettings settings;
    settings.talkers = {{streamId, destination}};
    settings.vlans = {7};
    return settings;
}

StationSettings ListenerOnly() {
    StationSettings settings;
    settings.listeners = {{streamId}};
    return settings;
}

// A talker's and a listener's station on one cable.
class TwoStations : public testing::Test {
protected:
    explicit TwoStations(const StationSettings& ofTalker = TalkerOnly(),
                         const StationSettings& ofListener = ListenerOnly())
        : talker(ofTalker, clock, talkerPort, [this](const auto& text) { talkerEvents.push_back(text); }),
          listener(ofListener, clock, listenerPort, [this](const auto& text) { listenerEvents.push_back(text); }) {}

    void Start() {
        talker.Start();
        listener.Start();
    }
    void RunFor(uint64_t ms, uint64_t stepMs = 1) {
        for (; ms > 0; ms -= stepMs) {
            clock.AdvanceMs(stepMs);
            talker.RunDue();
            listener.RunDue();
            Carry(talkerPort, listener);
            Carry(listenerPort, talker);
        }
    }
    bool TalkerSaid(const std::string& text) const { return Said(talkerEvents, text); }
    bool ListenerSaid(const std::string& text) const { return Said(listenerEvents, text); }

    test::SteppedClock clock;
    FakePort talkerPort{{0x02, 0, 0, 0, 0, 0x0A}, clock};
    FakePort listenerPort{{0x02, 0, 0, 0, 0, 0x0B}, clock};
    std::vector<std::string> talkerEvents;
    std::vector<std::string> listenerEvents;
    Station talker;
    Station listener;

private:
    static bool Said(const std::vector<std::string>& events, const std::string& text) {
        return std::ranges::find(events, text) != events.end();
    }
    static void Carry(FakePort& from, Station& to) {
        for (; !from.sent.empty(); from.sent.pop_front()) {
            const Bytes& frame = from.sent.front();
            if (BigEndianAt(frame, 12, 2) == 0x8100) {
                to.Receive(Untagged(frame).Frame());
            } else {
                to.Receive({frame, {}, 0});
            }
        }
    }
};

constexpr uint16_t manyStreams = 4'000;

StreamID NthStream(uint16_t n) {
    return {0x02, 0, 0, 0, 0, 0x01, static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)};
}

StationSettings ManyTalkers() {
    StationSettings settings;
    settings.framesPerSecond = 2;
    for (uint16_t n = 0; n < manyStreams; ++n) settings.talkers.push_back({NthStream(n), destination});
    return settings;
}

// Every second listener cannot receive its stream.
StationSettings ManyListeners() {
    StationSettings settings;
    for (uint16_t n = 0; n < manyStreams; ++n) {
        const auto declaration = n % 2 == 0 ? ListenerDeclaration::READY : ListenerDeclaration::ASKING_FAILED;
        settings.listeners.push_back({NthStream(n), declaration});
    }
    return settings;
}

class ThousandsOfStreams : public TwoStations {
protected:
    ThousandsOfStreams() : TwoStations(ManyTalkers(), ManyListeners()) {}

    // How many of the events begin and end so.
    static ptrdiff_t Count(const std::vector<std::string>& events, std::string_view begin, std::string_view end) {
        return std::ranges::count_if(
            events, [&](const std::string& event) { return event.starts_with(begin) && event.ends_with(end); });
    }
};

}  // namespace

TEST_F(TwoStations, MsrpAndMvrpGoToTheirGroupAddressesInFramesOfLegalLength) {
    talker.Start();
    talker.RunDue();

    ASSERT_EQ(talkerPort.sent.size(), 2u);
    EXPECT_EQ(talkerPort.sent[0], FromHex(R"(
        01 80 c2 00 00 0e 02 00 00 00 00 0a 22 ea
        00
        01 19 00 1e 00 01
        02 00 00 00 00 01 00 01 91 e0 f0 00 01 00 00 02 00 64 00 01 70 00 00 00 00  00  00 00
        04 04 00 10 00 01  05 02 00 02  00  00 01  06 03 00 02  00  00 00
        00 00)"));
    Bytes mvrp = FromHex("01 80 c2 00 00 21 02 00 00 00 00 0a 88 f5 00 01 02 00 01 00 07 00 00 00 00 00");
    mvrp.resize(60);
    EXPECT_EQ(talkerPort.sent[1], mvrp);
}

TEST_F(TwoStations, StreamFlowsFromReadyUntilTheListenerLeaves) {
    Start();
    RunFor(3000);
    EXPECT_TRUE(
        ListenerSaid("talker 02:00:00:00:00:01:00:01 registered latency 0 ns vid 2 priority 3 destination "
                     "91:e0:f0:00:01:00 max-frame-size 100 interval-frames 1"));
    EXPECT_TRUE(TalkerSaid("listener 02:00:00:00:00:01:00:01 ready"));
    EXPECT_TRUE(ListenerSaid("receiving 02:00:00:00:00:01:00:01 100 frames/s"));
    EXPECT_TRUE(ListenerSaid("vlan 7 registered"));

    listener.WithdrawListeners();
    RunFor(4000);

    EXPECT_TRUE(TalkerSaid("listener 02:00:00:00:00:01:00:01 withdrawn"));
    EXPECT_TRUE(ListenerSaid("02:00:00:00:00:01:00:01 frames stopped"));
    EXPECT_FALSE(TalkerSaid("domain class 6 priority 3 vid 2 withdrawn"));
}

TEST_F(TwoStations, ListenerMayDeclareAgain) {
    Start();
    RunFor(1000);
    listener.WithdrawListeners();
    RunFor(4000);
    talkerEvents.clear();

    listener.DeclareListeners();
    RunFor(1000);

    EXPECT_TRUE(TalkerSaid("sends 02:00:00:00:00:01:00:01 100 frames/s"));
}

TEST_F(TwoStations, AskingFailedMakesTheTalkerSendNothing) {
    StationSettings settings = ListenerOnly();
    settings.listeners[0].declaration = ListenerDeclaration::ASKING_FAILED;
    Station asking(settings, clock, listenerPort, [](const auto&) {});
    asking.Start();
    asking.RunDue();
    for (const auto& frame : listenerPort.sent) talker.Receive({frame, {}, 0});

    talker.RunDue();

    EXPECT_TRUE(TalkerSaid("listener 02:00:00:00:00:01:00:01 asking-failed"));
    EXPECT_FALSE(TalkerSaid("sends 02:00:00:00:00:01:00:01 100 frames/s"));
}

TEST_F(TwoStations, HeldListenerDeclaresOnlyWhenTold) {
    StationSettings settings = ListenerOnly();
    settings.hold = true;
    std::vector<std::string> events;
    Station held(settings, clock, listenerPort, [&](const auto& text) { events.push_back(text); });

    held.Start();
    EXPECT_EQ(std::ranges::count(events, "declares listener 02:00:00:00:00:01:00:01 ready"), 0);
    held.DeclareListeners();

    EXPECT_EQ(std::ranges::count(events, "declares listener 02:00:00:00:00:01:00:01 ready"), 1);
}

TEST_F(TwoStations, WithdrawingEverythingIsHeardAtTheOtherEnd) {
    Start();
    RunFor(1500);

    talker.WithdrawAll();
    RunFor(150);
    EXPECT_FALSE(talker.HasUnsent());
    RunFor(1500);

    EXPECT_TRUE(TalkerSaid("stops sending 02:00:00:00:00:01:00:01"));
    EXPECT_TRUE(ListenerSaid("talker 02:00:00:00:00:01:00:01 withdrawn"));
    EXPECT_TRUE(ListenerSaid("domain class 5 priority 2 vid 2 withdrawn"));
    EXPECT_TRUE(ListenerSaid("vlan 7 withdrawn"));
}

TEST_F(TwoStations, MinutesOfLeaveAllsPassWithoutAnEvent) {
    Start();
    RunFor(2000);
    talkerEvents.clear();

    RunFor(120'000);

    EXPECT_EQ(talkerEvents, std::vector<std::string>{});
}

TEST_F(TwoStations, FailedTalkerIsToldWithItsReasonAndBridge) {
    MrpPduWriter writer(msrpApplication);
    Bytes failed(34);
    std::ranges::copy(streamId, failed.begin());
    std::ranges::copy(FromHex("80 00 00 11 22 33 44 55 08"), failed.begin() + 25);
    writer.AddValue({TALKER_FAILED, failed}, AttributeEvent::NEW, false);
    const Bytes frame = Join({FromHex("01 80 c2 00 00 0e 00 11 22 33 44 55 22 ea"), Copy(writer.Finish())});

    listener.Receive({frame, {}, 0});

    EXPECT_TRUE(
        ListenerSaid("talker failed 02:00:00:00:00:01:00:01 code 8 (Egress port is not AVB capable) bridge "
                     "80:00:00:11:22:33:44:55"));
}

TEST_F(TwoStations, StreamNobodyAskedForIsNoticed) {
    StreamFrame frame(StreamID{9}, destination, {}, {2, 3}, 100);
    const Untagged bare(frame.Next());

    listener.Receive(bare.Frame());
    listener.Receive(bare.Frame());
    listener.LogCounts();

    EXPECT_EQ(std::ranges::count(listenerEvents, "unexpected stream frame 09:00:00:00:00:00:00:00"), 1);
    EXPECT_TRUE(ListenerSaid("received of other streams 2 frames"));
}

TEST_F(TwoStations, EveryTruncatedFrameIsSurvived) {
    talker.Start();
    talker.RunDue();
    const auto frames = talkerPort.sent;

    for (const auto& whole : frames) {
        for (size_t length = 0; length < whole.size(); ++length) {
            const Bytes cut = Part(whole, 0, length);
            listener.Receive({cut, {}, 0});
        }
    }

    EXPECT_FALSE(ListenerSaid("domain class 6 priority 3 vid 2 withdrawn"));
}

TEST_F(ThousandsOfStreams, AreSentWhereAListenerIsReadyAndCountedEachOnItsOwn) {
    Start();
    RunFor(1'200, 10);
    EXPECT_EQ(Count(talkerEvents, "sends ", " 2 frames/s"), manyStreams / 2);

    listener.LogCounts();
    ASSERT_GT(listenerEvents.size(), size_t{manyStreams});
    const std::vector<std::string> counts(listenerEvents.end() - manyStreams, listenerEvents.end());
    for (uint16_t n = 0; n < manyStreams; ++n) {
        const auto* const frames = n % 2 == 0 ? " 3 frames" : " 0 frames";
        ASSERT_EQ(counts[n],
                  "received " + HexText(NthStream(n)) + frames + ", lost 0, out of order 0, wrongly tagged 0");
    }
}

TEST_F(ThousandsOfStreams, EndWithTheirListeners) {
    Start();
    RunFor(500, 10);

    listener.WithdrawListeners();
    RunFor(1'500, 10);
    EXPECT_EQ(Count(talkerEvents, "stops sending ", ""), manyStreams / 2);
    EXPECT_EQ(Count(talkerEvents, "listener ", " withdrawn"), manyStreams);

    talker.WithdrawAll();
    RunFor(1'500, 10);
    EXPECT_EQ(Count(listenerEvents, "talker ", " withdrawn"), manyStreams);
}

TEST_F(TwoStations, WaitsForNothingThatIsAlreadyDone) {
    Start();
    RunFor(500);

    EXPECT_GT(talker.DueNs(), NowNs(clock));
    EXPECT_LE(talker.DueNs(), NowNs(clock) + 10 * nsPerMs);  // the next stream frame
    EXPECT_LE(listener.DueNs(), NowNs(clock) + nsPerSecond);
}

}  // namespace norvad::station
