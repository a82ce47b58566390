#include <gtest/gtest.h>

#include "lab/end_station/stream_frame.h"
#include "lab/end_station/stream_traffic.h"
#include "tests/lab/end_station/support.h"

namespace norvad::station {

namespace {

constexpr StreamID streamId{0x02, 0, 0, 0, 0, 0x01, 0, 0x01};
constexpr MacAddress destination{0x91, 0xE0, 0xF0, 0x00, 0x01, 0x00};
constexpr MacAddress source{0x02, 0, 0, 0, 0, 0x0A};

}  // namespace

TEST(StationStreamFrame, IsTaggedAndCounted) {
    StreamFrame frame(streamId, destination, source, {2, 3}, 42);

    (void)frame.Next();

    EXPECT_EQ(Copy(frame.Next()), FromHex(R"(
        91 e0 f0 00 01 00  02 00 00 00 00 0a  81 00 60 02  22 f0
        7f 80 01 00  02 00 00 00 00 01 00 01  00 00 00 00  00 00 00 00  00 12  00 00
        00 00 00 01  00 00 00 00 00 00 00 00 00 00 00 00 00 00)"));
    EXPECT_EQ(frame.Count(), 2u);
}

TEST(StationStreamFrame, LengthStaysWithinWhatAFrameHolds) {
    EXPECT_EQ(StreamFrame(streamId, destination, source, {}, 0).Next().size(), 60u);
    EXPECT_EQ(StreamFrame(streamId, destination, source, {}, 100).Next().size(), 118u);
    EXPECT_EQ(StreamFrame(streamId, destination, source, {}, 65535).Next().size(), 1518u);
}

TEST(StationStreamFrame, IsReadBackAndNoTruncationIs) {
    StreamFrame frame(streamId, destination, source, {2, 3}, 100);
    const Bytes whole = Untagged(frame.Next()).bytes;
    constexpr size_t needed = 14 + 24 + 4;

    const auto read = ReadStreamFrame(whole);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->streamId, streamId);
    EXPECT_EQ(read->counter, 0u);
    for (size_t length = 0; length < needed; ++length) {
        const Bytes cut = Part(whole, 0, length);
        EXPECT_FALSE(ReadStreamFrame(cut)) << length;
    }
}

TEST(StationStreamFrame, ForeignStreamsAreNotCounted) {
    StreamFrame frame(streamId, destination, source, {2, 3}, 100);
    Bytes other = Untagged(frame.Next()).bytes;
    other[14] = 0x02;  // another subtype

    EXPECT_FALSE(ReadStreamFrame(other));
}

TEST(StationStreamCounter, TellsLossFromReordering) {
    StreamCounter counter;
    for (const uint32_t count : {100u, 101u, 104u, 103u, 105u}) counter.Count(count);

    EXPECT_EQ(counter.received, 5u);
    EXPECT_EQ(counter.lost, 1u);
    EXPECT_EQ(counter.reordered, 1u);
}

TEST(StationStreamCounter, WrapsAroundWithoutLoss) {
    StreamCounter counter;
    for (const uint32_t count : {0xFFFFFFFEu, 0xFFFFFFFFu, 0u, 1u}) counter.Count(count);

    EXPECT_EQ(counter.lost, 0u);
    EXPECT_EQ(counter.reordered, 0u);
}

TEST(StationStreamCounter, PauseOnPurposeIsNoLoss) {
    StreamCounter counter;
    counter.Count(1);
    counter.Resume();
    counter.Count(500);

    EXPECT_EQ(counter.lost, 0u);
}

TEST(StationStreamCounter, TalkerThatStartsAnewIsNeitherLossNorReordering) {
    StreamCounter counter;
    counter.Count(1'000'000);
    counter.Count(0);
    counter.Count(1);

    EXPECT_EQ(counter.lost, 0u);
    EXPECT_EQ(counter.reordered, 0u);
}

class StationStreamTraffic : public testing::Test {
protected:
    EventLog Log() {
        return [this](const std::string& text) { events.push_back(text); };
    }

    test::SteppedClock clock;
    FakePort port{source, clock};
    std::vector<std::string> events;
};

TEST_F(StationStreamTraffic, SenderKeepsItsPaceWhileAListenerIsReady) {
    StreamSender sender({streamId, destination}, 100, false, clock, port, Log());
    for (int ms = 0; ms < 3000; ++ms) {
        sender.SetWanted(ms >= 1000 && ms < 2000);
        sender.RunDue();
        clock.AdvanceMs(1);
    }

    EXPECT_EQ(port.sent.size(), 100u);
    EXPECT_EQ(events, (std::vector<std::string>{"sends 02:00:00:00:00:01:00:01 100 frames/s",
                                                "stops sending 02:00:00:00:00:01:00:01"}));
}

TEST_F(StationStreamTraffic, EagerSenderNeedsNoListener) {
    StreamSender sender({streamId, destination}, 100, true, clock, port, Log());

    sender.SetWanted(false);
    sender.RunDue();

    EXPECT_EQ(port.sent.size(), 1u);
    EXPECT_EQ(sender.DueNs(), NowNs(clock) + 10 * nsPerMs);
}

TEST_F(StationStreamTraffic, SenderThatWasHeldUpCatchesUpWithAShortBurstOnly) {
    StreamSender sender({streamId, destination}, 1000, true, clock, port, Log());
    sender.RunDue();
    clock.AdvanceMs(500);

    sender.RunDue();

    EXPECT_EQ(port.sent.size(), 17u);
    EXPECT_EQ(sender.DueNs(), NowNs(clock) + nsPerMs);
}

TEST_F(StationStreamTraffic, ReceiverTellsBeginRateAndEnd) {
    StreamReceiver receiver(streamId, clock, Log());
    for (uint32_t ms = 0; ms < 3000; ++ms) {
        if (ms < 1500 && ms % 10 == 0) receiver.Receive(ms / 10, VlanTag{2, 3}, VlanTag{2, 3});
        receiver.RunDue();
        clock.AdvanceMs(1);
    }
    receiver.RunDue();
    receiver.LogCount();

    EXPECT_EQ(events, (std::vector<std::string>{
                          "02:00:00:00:00:01:00:01 frames begin vid 2 priority 3",
                          "receiving 02:00:00:00:00:01:00:01 101 frames/s",  // both ends of the second
                          "receiving 02:00:00:00:00:01:00:01 49 frames/s",
                          "02:00:00:00:00:01:00:01 frames stopped",
                          "received 02:00:00:00:00:01:00:01 150 frames, lost 0, out of order 0, wrongly tagged 0",
                      }));
    EXPECT_EQ(receiver.DueNs(), never);
}

TEST_F(StationStreamTraffic, ReceiverIsFoundByItsStream) {
    StreamReceivers receivers(clock, Log());
    auto& first = receivers.Add({1});
    auto& second = receivers.Add({2}, "second");
    const auto& third = receivers.Add({1});

    EXPECT_EQ(receivers.Find({1}), &first);
    EXPECT_EQ(receivers.Find({2}), &second);
    EXPECT_EQ(receivers.Find({3}), nullptr);
    EXPECT_NE(&third, &first);
    EXPECT_EQ(receivers.Size(), 3u);
}

TEST_F(StationStreamTraffic, ReceiversAreRunAndToldInTheirOrder) {
    StreamReceivers receivers(clock, Log());
    receivers.Add({2}, "second");
    receivers.Add({1}, "first");
    EXPECT_EQ(receivers.DueNs(), never);

    receivers.Find({1})->Receive(0, {}, {});
    EXPECT_EQ(receivers.DueNs(), NowNs(clock) + nsPerSecond);
    clock.AdvanceMs(1'000);
    receivers.RunDue();
    receivers.LogCounts();

    EXPECT_EQ(events, (std::vector<std::string>{
                          "first frames begin untagged",
                          "receiving first 1 frames/s",
                          "received second 0 frames, lost 0, out of order 0, wrongly tagged 0",
                          "received first 1 frames, lost 0, out of order 0, wrongly tagged 0",
                      }));
}

TEST_F(StationStreamTraffic, FramesThatAreNotTaggedAsAdvertisedAreCounted) {
    StreamReceiver receiver(streamId, clock, Log());

    receiver.Receive(0, VlanTag{2, 3}, {});
    receiver.Receive(1, VlanTag{2, 3}, VlanTag{2, 3});
    receiver.Receive(2, VlanTag{2, 2}, VlanTag{2, 3});
    receiver.Receive(3, {}, VlanTag{2, 3});
    receiver.LogCount();

    EXPECT_EQ(events.back(), "received 02:00:00:00:00:01:00:01 4 frames, lost 0, out of order 0, wrongly tagged 2");
}

}  // namespace norvad::station
