#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "switch/ports.h"
#include "tests/lab/board/support.h"

namespace norvad::board::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

// Frames of a station, each with 46 bytes of payload.
Bytes Frame(const char* destination, const char* source, const char* rest) {
    return Join({FromHex(destination), FromHex(source), FromHex(rest), Bytes(46)});
}

constexpr auto left = "02 00 00 00 00 0a";
constexpr auto right = "02 00 00 00 00 0b";
constexpr auto everybody = "ff ff ff ff ff ff";
constexpr auto stream = "91 e0 f0 00 01 00";
constexpr auto control = "01 80 c2 00 00 0e";
constexpr auto plain = "08 00";
constexpr auto vlan10 = "81 00 00 0a 08 00";
constexpr auto vlan2 = "81 00 60 02 22 f0";
constexpr MacAddress streamAddress{0x91, 0xE0, 0xF0, 0, 0x01, 0};

class Forwarding : public BoardTest {
protected:
    void Arrive(uint8_t port, const Bytes& frame, int64_t referenceNs = 0) {
        board.FrameArrived(port, frame, referenceNs);
    }
    uint64_t Dropped(uint8_t port, DropReason reason) const { return board.Counters(port).Dropped(reason); }
};

TEST_F(Forwarding, BroadcastGoesToTheOtherPortUnchangedAndNotToTheCpu) {
    const auto frame = Frame(everybody, left, plain);
    Arrive(0, frame);

    EXPECT_THAT(wires.sent, ElementsAre(Pair(1, frame)));
    EXPECT_THAT(wires.toCpu, IsEmpty());
    EXPECT_EQ(board.Counters(0).forwarded, 1u);
    EXPECT_EQ(board.Counters(1).sent.frames, 1u);
    EXPECT_EQ(board.Counters(1).sent.bytes, frame.size());
}

TEST_F(Forwarding, UnknownStationIsFlooded) {
    Arrive(1, Frame(left, right, plain));

    EXPECT_THAT(wires.sent, ElementsAre(Pair(0, testing::_)));
}

TEST_F(Forwarding, KnownStationBehindTheSamePortIsNotReachedThroughTheOther) {
    Arrive(0, Frame(everybody, left, plain));
    wires.sent.clear();

    Arrive(0, Frame(left, right, plain));

    EXPECT_THAT(wires.sent, IsEmpty());
    EXPECT_EQ(Dropped(0, DropReason::SAME_PORT), 1u);
}

TEST_F(Forwarding, StationThatMovedIsFollowed) {
    Arrive(0, Frame(everybody, left, plain));
    Arrive(1, Frame(everybody, left, plain));
    wires.sent.clear();

    Arrive(0, Frame(left, right, plain));

    EXPECT_THAT(wires.sent, ElementsAre(Pair(1, testing::_)));
}

TEST_F(Forwarding, StationBehindAPortThatWentDownIsForgotten) {
    Arrive(0, Frame(everybody, left, plain));
    board.SetLink(0, {});
    board.SetLink(0, {true, true, PortLink::gigabit});
    wires.sent.clear();

    Arrive(0, Frame(left, right, plain));

    EXPECT_THAT(wires.sent, ElementsAre(Pair(1, testing::_)));
}

TEST_F(Forwarding, FrameToTheCpuInterfaceIsHandedUpAlone) {
    Arrive(0, Frame("02 00 00 00 10 01", left, plain));

    EXPECT_THAT(wires.sent, IsEmpty());
    EXPECT_THAT(wires.toCpu, SizeIs(1));
}

TEST_F(Forwarding, ControlFrameIsTrappedWithATagThatNamesItsPort) {
    Arrive(1, Frame(control, left, "88 f7"));

    EXPECT_THAT(wires.sent, IsEmpty());
    ASSERT_THAT(wires.toCpu, SizeIs(1));
    EXPECT_EQ(wires.toCpu[0],
              Join({FromHex("01 80 c2 00 00 0e  02 00 00 00 00 0a  da da 00 00 00 08 00 00  88 f7"), Bytes(46)}));
    EXPECT_EQ(board.Counters(1).trapped, 1u);
    EXPECT_EQ(board.Counters(cpuPort).sent.frames, 1u);
}

TEST_F(Forwarding, EveryControlAddressIsTrappedAndItsNeighboursAreFlooded) {
    for (unsigned last = 0; last < 256; ++last) {
        auto frame = Frame(control, left, plain);
        frame[5] = static_cast<uint8_t>(last);
        wires.sent.clear();
        wires.toCpu.clear();

        Arrive(0, frame);

        const bool isTrapped = last < 0x10 || (last >= 0x20 && last < 0x30);
        EXPECT_EQ(wires.toCpu.size(), isTrapped ? 1u : 0u) << last;
        EXPECT_EQ(wires.sent.size(), isTrapped ? 0u : 1u) << last;
    }
}

TEST_F(Forwarding, SenderOfAControlFrameIsNotLearned) {
    Arrive(0, Frame(control, left, "88 f7"));

    EXPECT_THAT(board.Stations().Entries(0), IsEmpty());
}

TEST_F(Forwarding, StreamGoesNowhereWithoutAnEntry) {
    Arrive(0, Frame(stream, left, vlan2));
    Arrive(0, Frame(stream, left, plain));

    EXPECT_THAT(wires.sent, IsEmpty());
    EXPECT_EQ(Dropped(0, DropReason::NO_RESERVATION), 2u);
}

TEST_F(Forwarding, StreamGoesByItsEntryAlone) {
    SetVlan(1, 0x01, 2);  // the table of VLANs has no say
    AddMulticast(0x02, 2, streamAddress);
    const auto frame = Frame(stream, left, vlan2);

    Arrive(0, frame);

    EXPECT_THAT(wires.sent, ElementsAre(Pair(1, frame)));
}

TEST_F(Forwarding, EntryOfAnotherVlanIsNoEntry) {
    AddMulticast(0x02, 3, streamAddress);

    Arrive(0, Frame(stream, left, vlan2));

    EXPECT_THAT(wires.sent, IsEmpty());
}

TEST_F(Forwarding, StreamDoesNotGoBackWhereItCameFrom) {
    AddMulticast(0x01, 2, streamAddress);

    Arrive(0, Frame(stream, left, vlan2));

    EXPECT_THAT(wires.sent, IsEmpty());
    EXPECT_EQ(Dropped(0, DropReason::NO_RESERVATION), 1u);
    EXPECT_EQ(board.Multicasts().Find(2, streamAddress)->frames, 0u);
}

TEST_F(Forwarding, StreamStopsWhenItsEntryIsRemoved) {
    AddMulticast(0x02, 2, streamAddress);
    Request(PortMcastRecord{Command(SwitchCommand::SWITCH_PORT_MCAST), 0, 0x02, 2, streamAddress});

    Arrive(0, Frame(stream, left, vlan2));

    EXPECT_THAT(wires.sent, IsEmpty());
}

TEST_F(Forwarding, EntryThatNamesTheCpuHandsTheStreamUp) {
    AddMulticast(0x42, 2, streamAddress);

    Arrive(0, Frame(stream, left, vlan2));

    EXPECT_THAT(wires.sent, SizeIs(1));
    ASSERT_THAT(wires.toCpu, SizeIs(1));
    EXPECT_EQ(Part(wires.toCpu[0], 12, 14), FromHex("da da 00 00 00 00 00 00  81 00 60 02 22 f0"));
}

TEST_F(Forwarding, EntryCountsItsFramesAndBytesOnTheWire) {
    AddMulticast(0x02, 2, streamAddress);
    const auto frame = Frame(stream, left, vlan2);  // 64 bytes, 88 on the wire
    Arrive(0, frame, 10 * second);
    for (int i = 1; i <= 1'000; ++i) Arrive(0, frame, 11 * second);

    EXPECT_EQ(board.Multicasts().Find(2, streamAddress)->frames, 1'001u);
    EXPECT_EQ(board.Multicasts().Find(2, streamAddress)->rate.BytesPerSecond(12 * second), 88'000u);
}

TEST_F(Forwarding, OtherGroupAddressFollowsItsEntryOnceItHasOne) {
    SetVlan(1, 0x03, 10);
    Arrive(0, Frame("01 00 5e 00 00 01", left, vlan10));
    EXPECT_THAT(wires.sent, SizeIs(1));

    AddMulticast(0x01, 10, {0x01, 0x00, 0x5E, 0, 0, 1});
    Arrive(0, Frame("01 00 5e 00 00 01", left, vlan10));

    EXPECT_THAT(wires.sent, SizeIs(1));
    EXPECT_EQ(Dropped(0, DropReason::NOT_A_MEMBER), 1u);
}

TEST_F(Forwarding, TaggedFramesGoToMembersOnly) {
    const auto vlan11 = "81 00 00 0b 08 00";
    SetVlan(1, 0x01, 10);
    SetVlan(1, 0x03, 11);
    Arrive(0, Frame(everybody, left, vlan10));
    Arrive(0, Frame(right, left, vlan10));
    EXPECT_THAT(wires.sent, IsEmpty());
    EXPECT_EQ(Dropped(0, DropReason::NOT_A_MEMBER), 2u);

    SetVlan(1, 0x02, 10);
    Arrive(0, Frame(everybody, left, vlan10));
    Arrive(0, Frame(right, left, vlan10));
    EXPECT_THAT(wires.sent, ElementsAre(Pair(1, testing::_), Pair(1, testing::_)));

    SetVlan(0, 0x02, 10);
    Arrive(0, Frame(everybody, left, vlan10));
    EXPECT_THAT(wires.sent, SizeIs(2));
    Arrive(0, Frame(everybody, left, vlan11));
    EXPECT_THAT(wires.sent, SizeIs(3));
}

TEST_F(Forwarding, TaggedFramesOfAVlanWithoutMembersGoNowhere) {
    Arrive(0, Frame(everybody, left, vlan10));
    Arrive(0, Frame(right, left, vlan10));

    EXPECT_THAT(wires.sent, IsEmpty());
    EXPECT_EQ(Dropped(0, DropReason::NOT_A_MEMBER), 2u);
}

TEST_F(Forwarding, SenderNeedsNoMembershipOfItsOwn) {
    SetVlan(1, 0x02, 10);

    Arrive(0, Frame(everybody, left, vlan10));

    EXPECT_THAT(wires.sent, ElementsAre(Pair(1, testing::_)));
}

TEST_F(Forwarding, KnownStationOutsideTheVlanIsNotReached) {
    Arrive(1, Frame(everybody, right, vlan10));
    wires.sent.clear();
    SetVlan(1, 0x01, 10);

    Arrive(0, Frame(right, left, vlan10));

    EXPECT_THAT(wires.sent, IsEmpty());
}

TEST_F(Forwarding, UntaggedFramesAreNotBoundByAnyVlan) {
    SetVlan(1, 0x01, 10);
    SetVlan(1, 0x01, 0);

    Arrive(0, Frame(everybody, left, plain));
    Arrive(0, Frame(everybody, left, "81 00 60 00 08 00"));  // priority 3, VLAN 0

    EXPECT_THAT(wires.sent, SizeIs(2));
}

TEST_F(Forwarding, PortWithoutLinkNeitherTakesNorSends) {
    board.SetLink(1, {});

    Arrive(1, Frame(everybody, right, plain));
    Arrive(1, Frame(control, right, "88 f7"));
    Arrive(0, Frame(everybody, left, plain));

    EXPECT_THAT(wires.sent, IsEmpty());
    EXPECT_THAT(wires.toCpu, IsEmpty());
    EXPECT_EQ(Dropped(1, DropReason::LINK_DOWN), 3u);
    EXPECT_EQ(board.Counters(0).forwarded, 0u);
}

TEST_F(Forwarding, PortThatSpanningTreeClosesPassesControlFramesOnly) {
    board.SetLink(1, {true, false, PortLink::gigabit});

    Arrive(1, Frame(everybody, right, plain));
    Arrive(0, Frame(everybody, left, plain));
    EXPECT_THAT(wires.sent, IsEmpty());
    EXPECT_EQ(Dropped(1, DropReason::BLOCKED), 2u);

    Arrive(1, Frame(control, right, "88 f7"));
    EXPECT_THAT(wires.toCpu, SizeIs(1));
}

TEST_F(Forwarding, FrameTooLongForTheCpuIsDropped) {
    auto frame = Frame(control, left, "88 f7");
    frame.resize(receiveBufferSize - sizeof(CpuTag));
    Arrive(0, frame);
    EXPECT_THAT(wires.toCpu, SizeIs(1));

    frame.resize(frame.size() + 1);
    Arrive(0, frame);
    EXPECT_THAT(wires.toCpu, SizeIs(1));
    EXPECT_EQ(Dropped(0, DropReason::TOO_LONG), 1u);
}

TEST_F(Forwarding, RefusedFramesAreCountedWhereTheyWouldLeave) {
    wires.refuses = true;
    Arrive(0, Frame(everybody, left, plain));
    Arrive(0, Frame(control, left, "88 f7"));

    EXPECT_EQ(Dropped(1, DropReason::SEND_FAILED), 1u);
    EXPECT_EQ(Dropped(cpuPort, DropReason::SEND_FAILED), 1u);
    EXPECT_EQ(board.Counters(0).forwarded, 0u);
    EXPECT_EQ(board.Counters(0).trapped, 0u);
}

TEST_F(Forwarding, EveryTruncationOfEveryKindOfFrameIsTaken) {
    AddMulticast(0x42, 2, streamAddress);
    for (const auto& whole : {Frame(control, left, "88 f7 12 02 00 36"), Frame(stream, left, vlan2),
                              Frame(everybody, left, vlan10), Frame(right, left, plain)}) {
        for (size_t length = 0; length <= whole.size(); ++length) {
            const Bytes cut = Part(whole, 0, length);
            const auto malformed = Dropped(0, DropReason::MALFORMED);
            Arrive(0, cut);
            const size_t header = whole[12] == 0x81 && length >= 14 ? 18 : 14;
            EXPECT_EQ(Dropped(0, DropReason::MALFORMED) - malformed, length < header ? 1u : 0u) << length;
        }
    }
}

TEST_F(Forwarding, PortsBeyondTheBoardAreIgnored) {
    for (const uint8_t port : std::initializer_list<uint8_t>{2, 6, 7, 255}) {
        Arrive(port, Frame(everybody, left, plain));
        board.FrameSent(port, Frame(control, left, "88 f7"), 0);
    }
    EXPECT_THAT(wires.sent, IsEmpty());
}

class FromTheCpu : public Forwarding {};

// Destination, source, tag with the given two bytes, then a frame of that EtherType.
Bytes Tagged(const char* tag, const char* etherType, const Bytes& payload) {
    return Join({FromHex(control), FromHex("02 00 00 00 10 01"), FromHex("da da 00 00"), FromHex(tag), FromHex("e0 01"),
                 FromHex(etherType), payload});
}

TEST_F(FromTheCpu, FrameLeavesThePortOfItsTagWithoutIt) {
    board.FrameFromCpu(Tagged("40 00", "22 ea", Bytes(46)));
    board.FrameFromCpu(Tagged("40 08", "88 f5", Bytes(46)));

    EXPECT_THAT(wires.sent,
                ElementsAre(Pair(0, Join({FromHex("01 80 c2 00 00 0e 02 00 00 00 10 01 22 ea"), Bytes(46)})),
                            Pair(1, Join({FromHex("01 80 c2 00 00 0e 02 00 00 00 10 01 88 f5"), Bytes(46)}))));
    EXPECT_EQ(board.Counters(cpuPort).received.frames, 2u);
    EXPECT_EQ(board.Counters(cpuPort).forwarded, 2u);
}

TEST_F(FromTheCpu, FrameLeavesAPortThatSpanningTreeCloses) {
    board.SetLink(0, {true, false, PortLink::gigabit});

    board.FrameFromCpu(Tagged("40 00", "22 ea", Bytes(46)));

    EXPECT_THAT(wires.sent, SizeIs(1));
}

TEST_F(FromTheCpu, FrameForAPortWithoutLinkIsDropped) {
    board.SetLink(0, {});

    board.FrameFromCpu(Tagged("40 00", "22 ea", Bytes(46)));

    EXPECT_THAT(wires.sent, IsEmpty());
    EXPECT_EQ(Dropped(0, DropReason::LINK_DOWN), 1u);
}

TEST_F(FromTheCpu, FrameForAPortThatDoesNotExistIsDropped) {
    for (const auto* tag : {"40 10", "40 30", "40 f8"}) board.FrameFromCpu(Tagged(tag, "22 ea", Bytes(46)));

    EXPECT_THAT(wires.sent, IsEmpty());
    EXPECT_EQ(Dropped(cpuPort, DropReason::NO_SUCH_PORT), 3u);
}

TEST_F(FromTheCpu, OtherTagTypesAreDropped) {
    for (const auto* tag : {"00 00", "80 00", "c0 00"}) board.FrameFromCpu(Tagged(tag, "22 ea", Bytes(46)));

    EXPECT_THAT(wires.sent, IsEmpty());
    EXPECT_EQ(Dropped(cpuPort, DropReason::WRONG_TAG), 3u);
}

TEST_F(FromTheCpu, FrameWithoutATagIsDropped) {
    board.FrameFromCpu(Frame(everybody, left, "86 dd"));

    EXPECT_THAT(wires.sent, IsEmpty());
    EXPECT_EQ(Dropped(cpuPort, DropReason::UNTAGGED), 1u);
}

TEST_F(FromTheCpu, EveryTruncationIsTaken) {
    const auto whole = Tagged("40 08", "88 f7", Bytes(54));
    for (size_t length = 0; length <= whole.size(); ++length) {
        wires.sent.clear();
        board.FrameFromCpu(std::span(whole).first(length));
        EXPECT_EQ(wires.sent.size(), length < taggedHeaderSize ? 0u : 1u) << length;
    }
}

TEST_F(FromTheCpu, TrailerIsCutOnThePortThatIsToldTo) {
    const Bytes followUp = Join({FromHex("1a 02 00 36"), Bytes(50), FromHex("4f 52 4c 41 00")});

    board.FrameFromCpu(Tagged("40 00", "88 f7", followUp));
    board.FrameFromCpu(Tagged("40 08", "88 f7", followUp));

    ASSERT_THAT(wires.sent, SizeIs(2));
    EXPECT_EQ(wires.sent[0].second.size(), 14u + 59);
    EXPECT_EQ(wires.sent[1].second.size(), 14u + 54);
}

class Stamping : public Forwarding {
protected:
    // An event message of type 2 with that sequence id.
    static Bytes Event(uint8_t low) {
        Bytes message = Join({FromHex("12 02 00 36"), Bytes(26), FromHex("01 00 05 7f"), Bytes(20)});
        message[31] = low;
        return Join({FromHex(control), FromHex(left), FromHex("88 f7"), message});
    }
};

TEST_F(Stamping, ReceivedEventMessageIsStampedBeforeItIsHandedUp) {
    board.Clock().Step(1'000'000, 0);
    Arrive(1, Event(7), 500);

    EXPECT_THAT(wires.toCpu, SizeIs(1));
    EXPECT_EQ(board.Stamps().Take({Direction::RECEIVE, 1, 2, 0x0107}, 500), 1'000'500u);
}

TEST_F(Stamping, EventMessageThatNobodyStampedIsHandedUpWithoutAStamp) {
    board.FrameArrived(1, Event(7), 500, false);

    EXPECT_THAT(wires.toCpu, SizeIs(1));
    EXPECT_FALSE(board.Stamps().Take({Direction::RECEIVE, 1, 2, 0x0107}, 500));
}

TEST_F(Stamping, SentEventMessageIsStampedWhenItLeft) {
    board.FrameSent(0, Event(7), 800);

    EXPECT_EQ(board.Stamps().Take({Direction::TRANSMIT, 0, 2, 0x0107}, 900), 800u);
    EXPECT_FALSE(board.Stamps().Take({Direction::RECEIVE, 0, 2, 0x0107}, 900));
}

TEST_F(Stamping, StampOfAFrameThatLeftBeforeAStepIsOfTheTimeBefore) {
    board.Clock().Step(1'000'000, 1'000);

    board.FrameSent(0, Event(7), 800);

    EXPECT_EQ(board.Stamps().Take({Direction::TRANSMIT, 0, 2, 0x0107}, 1'100), 800u);
}

TEST_F(Stamping, OtherFramesAreNotStamped) {
    auto followUp = Event(7);
    followUp[14] = 0x18;
    Arrive(0, followUp, 500);
    board.FrameSent(0, followUp, 500);
    board.FrameSent(0, Frame(control, left, "22 ea"), 500);

    EXPECT_FALSE(board.Stamps().Take({Direction::RECEIVE, 0, 8, 0x0107}, 500));
    EXPECT_FALSE(board.Stamps().Take({Direction::TRANSMIT, 0, 8, 0x0107}, 500));
}

}  // namespace
}  // namespace norvad::board::test
