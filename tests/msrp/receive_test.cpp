// Frames in: every byte given, every cut tried.

#include <algorithm>

#include "base/ethertypes.h"
#include "tests/msrp/msrp_bridge.h"

namespace norvad::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr auto New = static_cast<uint8_t>(AttributeEvent::NEW);
constexpr auto JoinIn = static_cast<uint8_t>(AttributeEvent::JOIN);
constexpr auto Leave = static_cast<uint8_t>(AttributeEvent::LV);

class MsrpReceive : public MsrpBridge {
protected:
    MsrpReceive() { Raise({0, 1}); }

    void ReceiveBytes(Bytes frame) { msrp.HandleFrame(frame, ETHERTYPE_MSRP); }

    // How many records of one type a port has.
    size_t Count(uint8_t port, uint8_t type) {
        size_t count = 0;
        msrp.ForEach(port, type, [&](MRPAttribute&) { ++count; });
        return count;
    }
};

// One value of every type, as a neighbour on port 1 sends them.
const char* const wholePdu =
    "01 80 c2 00 00 0e  02 aa bb cc dd ee"      // to the MSRP group address, from the neighbour
    " da da 00 00 00 08 00 00  22 ea"           // to the CPU, from port 1; MSRP
    " 00"                                       // protocol version
    " 01 19 00 1e"                              // talkers, 25 bytes each, 30 in the list
    "  00 01  00 1b 21 01 02 03 00 01"          // one value: stream id,
    "  91 e0 f0 00 00 01  00 02  00 64 00 01"   // destination, VLAN, frame size, frames,
    "  70  00 00 03 e8  00  00 00"              // priority and rank, latency; New; end of list
    " 02 22 00 27"                              // failed talkers, 34 bytes each
    "  00 01  00 1b 21 01 02 03 00 02"          //
    "  91 e0 f0 00 00 02  00 02  00 64 00 01"   //
    "  70  00 00 03 e8"                         //
    "  80 00 02 00 00 00 00 09  02  00  00 00"  // bridge id, code 2; New; end of list
    " 03 08 00 0e"                              // listeners, 8 bytes each
    "  00 01  00 1b 21 01 02 03 00 03"          //
    "  24 80  00 00"                            // JoinIn, READY; end of list
    " 04 04 00 09"                              // domains, 4 bytes each
    "  00 01  06 03 00 02  00  00 00"           // class A, priority 3, VLAN 2; New; end of list
    " 00 00";                                   // end of PDU

TEST_F(MsrpReceive, AWholePduRegistersOneValueOfEachType) {
    ReceiveBytes(FromHex(wholePdu));

    const Talker* talker = msrp.FindTalker(Stream(1), 1);
    ASSERT_NE(talker, nullptr);
    EXPECT_TRUE(talker->IsRegistered());
    EXPECT_EQ(talker->value.vid, 2);
    EXPECT_EQ(talker->value.maxFrameSize, 100);
    EXPECT_EQ(talker->value.maxIntervalFrames, 1);
    EXPECT_EQ(talker->value.DataFramePriority(), 3);
    EXPECT_EQ(talker->value.accumulatedLatency, 1000u + 139264);

    const TalkerFailed* failed = msrp.FindTalkerFailed(Stream(2), 1);
    ASSERT_NE(failed, nullptr);
    EXPECT_TRUE(failed->IsRegistered());
    EXPECT_EQ(failed->value.failureCode, 2);
    EXPECT_EQ(failed->value.bridgeId, (BridgeID{0x80, 0, 2, 0, 0, 0, 0, 9}));

    const Listener* listener = msrp.FindListener(Stream(3), 1);
    ASSERT_NE(listener, nullptr);
    EXPECT_TRUE(listener->IsRegistered());
    EXPECT_EQ(listener->registeredDeclaration, ListenerDeclaration::READY);

    const Domain* domain = msrp.FindDomain({6, 3, 2}, 1);
    ASSERT_NE(domain, nullptr);
    EXPECT_TRUE(domain->IsRegistered());
}

// Each cut comes in a buffer of its own length, so that a sanitizer sees a read beyond it.
TEST_F(MsrpReceive, EveryTruncationRegistersWhatArrivedWholeAndNothingElse) {
    const Bytes whole = FromHex(wholePdu);
    const size_t talkerEnds = 23 + 4 + 28, failedEnds = 23 + 34 + 4 + 37, listenerEnds = 23 + 34 + 43 + 4 + 12,
                 domainEnds = 23 + 34 + 43 + 18 + 4 + 7;
    for (size_t length = 0; length <= whole.size(); ++length) {
        MSRPHandler fresh(board, board, timers);
        Bytes cut = Part(whole, 0, length);
        cut.shrink_to_fit();
        fresh.HandleFrame(cut, ETHERTYPE_MSRP);

        EXPECT_EQ(fresh.FindTalker(Stream(1), 1) != nullptr, length >= talkerEnds) << length;
        EXPECT_EQ(fresh.FindTalkerFailed(Stream(2), 1) != nullptr, length >= failedEnds) << length;
        EXPECT_EQ(fresh.FindListener(Stream(3), 1) != nullptr, length >= listenerEnds) << length;
        EXPECT_EQ(fresh.FindDomain({6, 3, 2}, 1) != nullptr, length >= domainEnds) << length;
    }
}

TEST_F(MsrpReceive, EveryClaimedListLengthIsBoundedByWhatArrived) {
    const Bytes whole = FromHex(wholePdu);
    for (unsigned claimed = 0; claimed <= 0xFFFF; claimed += 7) {
        MSRPHandler fresh(board, board, timers);
        Bytes frame = whole;
        frame[25] = static_cast<uint8_t>(claimed >> 8);
        frame[26] = static_cast<uint8_t>(claimed);
        fresh.HandleFrame(frame, ETHERTYPE_MSRP);

        // A list that holds no more than its end mark has no vector, however much of it arrived.
        EXPECT_EQ(fresh.FindTalker(Stream(1), 1) != nullptr, claimed > 2) << claimed;
    }
}

TEST_F(MsrpReceive, APortWithoutARecordIsDropped) {
    for (uint8_t port = 7; port < 32; ++port) {
        Bytes frame = FromHex(wholePdu);
        frame[17] = static_cast<uint8_t>(port << 3);
        EXPECT_NO_THROW(ReceiveBytes(frame)) << int{port};
    }
    EXPECT_EQ(msrp.FindStream(Stream(1)), nullptr);
}

TEST_F(MsrpReceive, AFirstAttributeLengthOfZeroDropsThePdu) {
    Bytes frame = FromHex(wholePdu);
    frame[24] = 0;
    CapturedLog watch(6);
    ReceiveBytes(frame);

    EXPECT_EQ(watch.Text(), "");
    EXPECT_EQ(msrp.FindStream(Stream(1)), nullptr);
    EXPECT_EQ(msrp.FindStream(Stream(2)), nullptr);
}

TEST_F(MsrpReceive, AFirstAttributeTypeOfZeroDropsThePdu) {
    Bytes frame = FromHex(wholePdu);
    frame[23] = 0;
    ReceiveBytes(frame);

    EXPECT_EQ(msrp.FindStream(Stream(2)), nullptr);
}

TEST_F(MsrpReceive, ALaterAttributeLengthOfZeroEndsThePdu) {
    Bytes frame = FromHex(wholePdu);
    frame[23 + 34 + 1] = 0;
    ReceiveBytes(frame);

    EXPECT_NE(msrp.FindTalker(Stream(1), 1), nullptr);
    EXPECT_EQ(msrp.FindTalkerFailed(Stream(2), 1), nullptr);
    EXPECT_EQ(msrp.FindListener(Stream(3), 1), nullptr);
}

TEST_F(MsrpReceive, AnUnsupportedTypeEndsThePdu) {
    for (const uint8_t type : {uint8_t{5}, uint8_t{255}}) {
        Bytes frame = FromHex(wholePdu);
        frame[23 + 34] = type;
        CapturedLog watch(0);
        ReceiveBytes(frame);

        EXPECT_THAT(watch.Text(), HasSubstr("[SW-MSRP] unsupported attribute type " + std::to_string(type) + "\n"));
        EXPECT_NE(msrp.FindTalker(Stream(1), 1), nullptr);
        EXPECT_EQ(msrp.FindListener(Stream(3), 1), nullptr);
    }
}

TEST_F(MsrpReceive, AnIllegalLengthSkipsOnlyItsMessage) {
    constexpr struct {
        size_t offset;
        const char* text;
    } messages[] = {
        {24, "[SW-MSRP] TALKER_ADVERTISE illegal attribute_length 9\n"},
        {24 + 34, "[SW-MSRP] TALKER_FAILED illegal attribute_length 9\n"},
        {24 + 34 + 43, "[SW-MSRP] LISTENER_VECTOR illegal attribute_length 9\n"},
        {24 + 34 + 43 + 18, "[SW-MSRP] DOMAIN illegal attribute_length 9\n"},
    };
    for (size_t illegal = 0; illegal < 4; ++illegal) {
        MSRPHandler fresh(board, board, timers);
        Bytes frame = FromHex(wholePdu);
        frame[messages[illegal].offset] = 9;
        CapturedLog watch(0);
        fresh.HandleFrame(frame, ETHERTYPE_MSRP);

        EXPECT_THAT(watch.Text(), HasSubstr(messages[illegal].text));
        EXPECT_EQ(fresh.FindTalker(Stream(1), 1) != nullptr, illegal != 0);
        EXPECT_EQ(fresh.FindTalkerFailed(Stream(2), 1) != nullptr, illegal != 1);
        EXPECT_EQ(fresh.FindListener(Stream(3), 1) != nullptr, illegal != 2);
        EXPECT_EQ(fresh.FindDomain({6, 3, 2}, 1) != nullptr, illegal != 3);
    }
}

TEST_F(MsrpReceive, AVectorOfThreeTalkersCountsUpStreamAndDestination) {
    Receive(0, {Message(1, 25, {Vector(Copy(BytesOf(TalkerOf(Stream(7)))), {New, New, JoinIn})})});

    for (uint8_t n = 7; n <= 9; ++n) {
        const Talker* talker = msrp.FindTalker(Stream(n), 0);
        ASSERT_NE(talker, nullptr) << int{n};
        EXPECT_EQ(talker->value.destination, (MacAddress{0x91, 0xE0, 0xF0, 0, 0, n}));
    }
    EXPECT_EQ(Count(0, TALKER_ADVERTISE), 3u);
}

TEST_F(MsrpReceive, CountersWrapWithinTheirTwoBytes) {
    TalkerFirstValue first = TalkerOf(Stream(0xFF, 0xFF));
    first.destination = {0x91, 0xE0, 0xF0, 0x00, 0xFF, 0xFF};
    const TalkerFailedFirstValue failed = {first, {}, 1};
    const StreamID id = first.streamId;
    Receive(0, {Message(1, 25, {Vector(Copy(BytesOf(first)), {New, New})})});
    Receive(1, {Message(2, 34, {Vector(Copy(BytesOf(failed)), {New, New})}),
                Message(3, 8, {Vector({id.begin(), id.end()}, {New, New}, {2, 2})})});

    const StreamID wrapped = {0x00, 0x1B, 0x21, 0x01, 0x02, 0x03, 0x00, 0x00};
    const MacAddress wrappedDestination = {0x91, 0xE0, 0xF0, 0x00, 0x00, 0x00};
    ASSERT_NE(msrp.FindTalker(wrapped, 0), nullptr);
    EXPECT_EQ(msrp.FindTalker(wrapped, 0)->value.destination, wrappedDestination);
    ASSERT_NE(msrp.FindTalkerFailed(wrapped, 1), nullptr);
    EXPECT_EQ(msrp.FindTalkerFailed(wrapped, 1)->value.talker.destination, wrappedDestination);
    EXPECT_NE(msrp.FindListener(wrapped, 1), nullptr);
}

TEST_F(MsrpReceive, CountersCarryFromTheLowToTheHighByte) {
    TalkerFirstValue first = TalkerOf(Stream(0xFF));
    Receive(0, {Message(1, 25, {Vector(Copy(BytesOf(first)), {New, New})})});

    const Talker* talker = msrp.FindTalker(Stream(0x00, 0x01), 0);
    ASSERT_NE(talker, nullptr);
    EXPECT_EQ(talker->value.destination, (MacAddress{0x91, 0xE0, 0xF0, 0, 1, 0}));
}

TEST_F(MsrpReceive, DomainsCountUpClassAndPriorityAndKeepTheVlan) {
    Receive(0, {Message(4, 4, {Vector({0xFE, 0xFF, 0xFF, 0xFF}, {New, New, New})})});

    EXPECT_NE(msrp.FindDomain({0xFE, 0xFF, 0xFFFF}, 0), nullptr);
    EXPECT_NE(msrp.FindDomain({0xFF, 0x00, 0xFFFF}, 0), nullptr);
    EXPECT_NE(msrp.FindDomain({0x00, 0x01, 0xFFFF}, 0), nullptr);
    EXPECT_EQ(Count(0, DOMAIN), 3u);
}

TEST_F(MsrpReceive, ListenersOfOneVectorHaveDeclarationsOfTheirOwn) {
    const StreamID id = Stream(1);
    Receive(0, {Message(3, 8, {Vector({id.begin(), id.end()}, {New, New, New, New, New}, {1, 2, 3, 0, 2})})});

    EXPECT_EQ(msrp.FindListener(Stream(1), 0)->registeredDeclaration, ListenerDeclaration::ASKING_FAILED);
    EXPECT_EQ(msrp.FindListener(Stream(2), 0)->registeredDeclaration, ListenerDeclaration::READY);
    EXPECT_EQ(msrp.FindListener(Stream(3), 0)->registeredDeclaration, ListenerDeclaration::READY_FAILED);
    EXPECT_EQ(msrp.FindListener(Stream(4), 0), nullptr);
    EXPECT_EQ(msrp.FindListener(Stream(5), 0)->registeredDeclaration, ListenerDeclaration::READY);
}

TEST_F(MsrpReceive, IgnoreNeverReachesTheDatabase) {
    CapturedLog watch(1);
    ReceiveListener(0, Stream(1), ListenerDeclaration::IGNORE);
    EXPECT_THAT(watch.Text(), Not(HasSubstr("Add:")));
    EXPECT_EQ(msrp.FindListener(Stream(1), 0), nullptr);

    ReceiveListener(0, Stream(1), ListenerDeclaration::READY);
    ReceiveListener(0, Stream(1), ListenerDeclaration::IGNORE, AttributeEvent::LV);
    EXPECT_EQ(msrp.FindListener(Stream(1), 0)->state.registrar, RegistrarState::IN);
    EXPECT_EQ(msrp.FindListener(Stream(1), 0)->registeredDeclaration, ListenerDeclaration::READY);
}

TEST_F(MsrpReceive, SeveralVectorsAndMessagesOfOneTypeAreAllRead) {
    Receive(
        0, {Message(1, 25,
                    {Vector(Copy(BytesOf(TalkerOf(Stream(1)))), {New}), Vector(Copy(BytesOf(TalkerOf(Stream(10)))), {}),
                     Vector(Copy(BytesOf(TalkerOf(Stream(20)))), {New, New, New, New})}),
            Message(4, 4, {Vector({6, 3, 0, 2}, {New})}),
            Message(1, 25, {Vector(Copy(BytesOf(TalkerOf(Stream(30)))), {New})})});

    for (const int n : {1, 20, 21, 22, 23, 30}) {
        EXPECT_NE(msrp.FindTalker(Stream(static_cast<uint8_t>(n)), 0), nullptr) << n;
    }
    EXPECT_EQ(msrp.FindTalker(Stream(10), 0), nullptr);
    EXPECT_EQ(Count(0, TALKER_ADVERTISE), 6u);
    EXPECT_EQ(Count(0, DOMAIN), 1u);
}

TEST_F(MsrpReceive, ALeaveAllReachesEveryRecordOfItsTypeBeforeTheValues) {
    ReceiveTalker(0, Stream(1));
    ReceiveTalker(0, Stream(2));
    ReceiveTalker(1, Stream(3));
    ReceiveListener(0, Stream(4));
    Receive(0, {Message(1, 25, {Vector(Copy(BytesOf(TalkerOf(Stream(2)))), {JoinIn}, {}, true)})});

    EXPECT_EQ(msrp.FindTalker(Stream(1), 0)->state.registrar, RegistrarState::LV);
    EXPECT_EQ(msrp.FindTalker(Stream(2), 0)->state.registrar, RegistrarState::IN);
    EXPECT_EQ(msrp.FindTalker(Stream(3), 1)->state.registrar, RegistrarState::IN);
    EXPECT_EQ(msrp.FindListener(Stream(4), 0)->state.registrar, RegistrarState::IN);
}

TEST_F(MsrpReceive, ALeaveAllWithoutValuesIsHeardForEveryType) {
    ReceiveTalker(0, Stream(1));
    ReceiveTalkerFailed(0, Stream(2));
    ReceiveListener(0, Stream(3));
    Receive(0, {Message(4, 4, {Vector({6, 3, 0, 2}, {New})})});
    const auto leaveAll = [](size_t length) { return Vector(Bytes(length), {}, {}, true); };
    CapturedLog watch(2);
    Receive(0, {Message(1, 25, {leaveAll(25)}), Message(2, 34, {leaveAll(34)}), Message(3, 8, {leaveAll(8)}),
                Message(4, 4, {leaveAll(4)})});
    const std::string text = watch.Text();

    EXPECT_THAT(text, HasSubstr("[SW-MSRP] TALKER_ADVERTISE leave all on port 0\n"));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] TALKER_FAILED leave all on port 0\n"));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] LISTENER_VECTOR leave all on port 0 \n"));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] DOMAIN leave all on port 0\n"));
    EXPECT_EQ(msrp.FindTalker(Stream(1), 0)->state.registrar, RegistrarState::LV);
    EXPECT_EQ(msrp.FindTalkerFailed(Stream(2), 0)->state.registrar, RegistrarState::LV);
    EXPECT_EQ(msrp.FindListener(Stream(3), 0)->state.registrar, RegistrarState::LV);
    EXPECT_EQ(msrp.FindDomain({6, 3, 2}, 0)->state.registrar, RegistrarState::LV);
    EXPECT_EQ(Count(0, TALKER_ADVERTISE), 1u);
}

TEST_F(MsrpReceive, EachMessagesLeaveAllCounts) {
    const auto talker = [](uint8_t n) { return Vector(Copy(BytesOf(TalkerOf(Stream(n)))), {JoinIn}, {}, true); };

    Receive(0, {Message(1, 25, {talker(1)}), Message(1, 25, {talker(2)})});

    EXPECT_EQ(msrp.FindTalker(Stream(1), 0)->state.registrar, RegistrarState::LV);
    EXPECT_EQ(msrp.FindTalker(Stream(2), 0)->state.registrar, RegistrarState::IN);
}

// Each of ten lists says that it ends after three bytes, so that the next one stands in its midst, and has 120 values.
// A frame of 2 kB held a million of them; what does not overlap holds three in a byte.
TEST_F(MsrpReceive, ListsInOneAnotherHaveNoMoreValuesThanTheirBytesHold) {
    Bytes lists;
    for (int n = 0; n < 10; ++n) lists = Join({lists, FromHex("03 08 00 03 00 78 00")});
    lists.resize(lists.size() + 7 + 70);  // the rest of the last first value, and its events
    CapturedLog watch(2);

    Receive(0, {lists});

    const std::vector<std::string> lines = watch.Lines();
    const auto first = "[SW-MSRP] LISTENER_VECTOR getting attr events 0";
    EXPECT_EQ(std::count(lines.begin(), lines.end(), first), 3);  // 360 values in 150 bytes
}

TEST_F(MsrpReceive, OnlyTheFirstVectorAndTheLowestBitSayLeaveAll) {
    ReceiveTalker(0, Stream(1));
    Bytes later = Vector(Copy(BytesOf(TalkerOf(Stream(3)))), {New}, {}, true);
    Receive(0, {Message(1, 25, {Vector(Copy(BytesOf(TalkerOf(Stream(2)))), {New}), later})});
    EXPECT_EQ(msrp.FindTalker(Stream(1), 0)->state.registrar, RegistrarState::IN);

    Bytes otherBits = Vector(Copy(BytesOf(TalkerOf(Stream(2)))), {New});
    otherBits[0] |= 0xC0;
    Receive(0, {Message(1, 25, {otherBits})});
    EXPECT_EQ(msrp.FindTalker(Stream(1), 0)->state.registrar, RegistrarState::IN);
}

TEST_F(MsrpReceive, OwnTalkersComingBackAreDroppedOnExternalPorts) {
    TalkerFirstValue own = TalkerOf(Stream(1));
    std::copy(FakeSwitch::ownAddress.begin(), FakeSwitch::ownAddress.end(), own.streamId.begin());
    const TalkerFailedFirstValue ownFailed = {own, {}, 1};
    CapturedLog watch(2);
    for (uint8_t port = 0; port < 7; ++port) {
        Receive(port, {Message(1, 25, {Vector(Copy(BytesOf(own)), {New})})});
        EXPECT_EQ(msrp.FindTalker(own.streamId, port) != nullptr, port == 5 || port == 6) << int{port};
        Receive(port, {Message(2, 34, {Vector(Copy(BytesOf(ownFailed)), {New})})});
        EXPECT_EQ(msrp.FindTalkerFailed(own.streamId, port) != nullptr, port == 5 || port == 6) << int{port};
    }
    const std::string text = watch.Text();

    EXPECT_THAT(text, HasSubstr("[SW-MSRP] Talker for local stream 02005e102030:0001 on external port 1\n"));
    EXPECT_THAT(text, Not(HasSubstr("on external port 6")));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] Talker failed for local stream on external port\n"));
}

TEST_F(MsrpReceive, ListenersForOwnStreamsAreDroppedOnTheCpuPortOnly) {
    StreamID own = Stream(1);
    std::copy(FakeSwitch::ownAddress.begin(), FakeSwitch::ownAddress.end(), own.begin());
    CapturedLog watch(2);
    for (uint8_t port = 0; port < 7; ++port) {
        ReceiveListener(port, own);
        EXPECT_EQ(msrp.FindListener(own, port) != nullptr, port != 6) << int{port};
    }

    EXPECT_THAT(watch.Text(), HasSubstr("[SW-MSRP] Listener for local stream on local port\n"));
}

TEST_F(MsrpReceive, LevelsOneAndTwoTellWhatIsRead) {
    CapturedLog watch(2);
    Receive(1, {Message(1, 25, {Vector(Copy(BytesOf(TalkerOf(Stream(1)))), {New, Leave})}),
                Message(2, 34, {Vector(Bytes(34, 1), {Leave})}), Message(3, 8, {Vector(Bytes(8), {New}, {2})}),
                Message(4, 4, {Vector({6, 3, 0, 2}, {New})})});
    const std::string text = watch.Text();

    for (const std::string name : {"TALKER_ADVERTISE", "TALKER_FAILED", "LISTENER_VECTOR", "DOMAIN"}) {
        EXPECT_THAT(text, HasSubstr("[SW-MSRP] " + name + " on port 1\n"));
        EXPECT_THAT(text, HasSubstr("[SW-MSRP] " + name + " getting attr events 0\n"));
    }
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] TALKER_ADVERTISE getting attr events 1\n"));
    EXPECT_THAT(text, Not(HasSubstr("[SW-MSRP] TalkerAdvertise: on port")));
}

TEST_F(MsrpReceive, TheLogNamesThePortBeforeItTellsOfTheWalk) {
    CapturedLog watch(6);
    Receive(0, {Message(4, 4, {Vector(FromHex("00 00 00 00"), {}, {}, true)})});

    EXPECT_THAT(watch.Lines(),
                ::testing::ElementsAre("[SW-MSRP] DOMAIN leave all on port 0", "[SW-MSRP] DOMAIN on port 0",
                                       "AttributeGetter::GetNext total len=8 offset=0 attr_len=4",
                                       "AttributeGetter::GetNext offset = 6 , num_of_events = 0",
                                       "AttributeGetter::GetNext total len=8 offset=6 attr_len=4"));
}

TEST_F(MsrpReceive, LevelThreeDumpsTheFirstValueOfEachVector) {
    CapturedLog watch(3);
    ReceiveBytes(FromHex(wholePdu));
    const std::string text = watch.Text();

    EXPECT_THAT(text, HasSubstr("[SW-MSRP] TalkerAdvertise: on port 1\n"));
    EXPECT_THAT(text, HasSubstr("\tMaxFrameSize 100 MaxIntervalFrame 1 DataFramePriority 3 AccumulatedLatency 1000\n"));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] TalkerFailed: on port 1\n"));
    EXPECT_THAT(text, HasSubstr("\tFailure code 2\n\n"));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] ListenerVector: on port 1\n"));
    EXPECT_THAT(text, HasSubstr("\tAttributeEvent[0] = JoinIn\n"));
    EXPECT_THAT(text, HasSubstr("\tAttributeType[0] = Ready\n\n"));
}

}  // namespace
}  // namespace norvad::test
