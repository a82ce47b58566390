// What one direction, or one attribute type, has to say never keeps another from being heard.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>

#include "lab/network/bridge_node.h"
#include "lab/network/network.h"
#include "lab/network/station_node.h"
#include "mrp/mrpdu.h"
#include "msrp/msrp_wire.h"

namespace norvad::test {

using network::BridgeNode;
using network::Bytes;
using network::Network;
using network::StationNode;

namespace {

constexpr uint64_t nsPerMs = 1'000'000;
constexpr uint64_t soonMs = 600;  // short of the leave time, 800 ms at least
constexpr StreamID streamId = {0x02, 0, 0, 0, 0, 0x02, 0x00, 0x01};
constexpr MacAddress streamAddress = {0x91, 0xE0, 0xF0, 0x00, 0x01, 0x00};
constexpr uint16_t streamVid = 2;

// The station towards port 0 listens to the stream of the one towards port 1.
station::StationSettings Listening() {
    station::StationSettings settings;
    settings.listeners = {{.id = streamId, .declaration = ListenerDeclaration::READY}};
    return settings;
}
station::StationSettings Talking() {
    station::StationSettings settings;
    settings.framesPerSecond = 1;
    settings.talkers = {{.id = streamId, .destination = streamAddress, .tag = {streamVid, 3}}};
    return settings;
}

TalkerFirstValue TalkerNumber(uint8_t station, uint16_t number) {
    const auto high = static_cast<uint8_t>(number >> 8), low = static_cast<uint8_t>(number);
    return {{2, 0, 0, 0, 1, station, high, low}, {0x91, 0xE0, 0xF0, station, high, low}, streamVid, 100, 1, 0x70, 0};
}

void Append(Bytes& bytes, std::span<const uint8_t> more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

// A message of one vector: so many values from the first one on, all with one event.
Bytes Message(uint8_t type, std::span<const uint8_t> firstValue, uint16_t values, AttributeEvent event,
              bool leaveAll = false) {
    const auto eventNumber = static_cast<uint8_t>(event);
    constexpr uint8_t ready = 0xAA;  // four times READY
    Bytes list;
    Append(list, BytesOf(MrpVectorHeader{static_cast<uint16_t>((leaveAll ? mrpLeaveAllEvent : 0) | values)}));
    Append(list, firstValue);
    list.insert(list.end(), (values + 2) / 3, static_cast<uint8_t>(eventNumber * 43));  // 36 + 6 + 1
    if (type == LISTENER_VECTOR) list.insert(list.end(), (values + 3) / 4, ready);
    Append(list, Bytes(mrpEndMarkSize));

    Bytes message;
    const auto length = static_cast<uint8_t>(firstValue.size());
    Append(message, BytesOf(MrpMessageHeader{type, length, static_cast<uint16_t>(list.size())}));
    Append(message, list);
    return message;
}

Bytes LeaveAllOfEveryType() {
    Bytes messages;
    for (const auto& [type, length] : {std::pair{TALKER_ADVERTISE, sizeof(TalkerFirstValue)},
                                       {TALKER_FAILED, sizeof(TalkerFailedFirstValue)},
                                       {LISTENER_VECTOR, sizeof(ListenerFirstValue)},
                                       {DOMAIN, sizeof(DomainFirstValue)}}) {
        Append(messages, Message(type, Bytes(length), 0, AttributeEvent::IN, true));
    }
    return messages;
}

// Types 1..4 with values in a PDU.
std::array<bool, 5> TypesIn(std::span<const uint8_t> messages) {
    std::array<bool, 5> found{};
    while (const auto header = Peek<MrpMessageHeader>(messages)) {
        if (header->attributeType == 0) break;
        AttributeGetter vector(messages, MessageLayout::WithListLength, header->attributeType == LISTENER_VECTOR);
        while (vector.GetNext()) found.at(header->attributeType) |= vector.NumberOfValues() > 0;
        messages = messages.subspan(vector.BytesRead());
    }
    return found;
}

// A bridge between two stations whose ports say more than the stations do, and a watch over how long each type waits
// for its first value after a LeaveAll of the neighbour.
class Crowd {
public:
    Crowd() {
        network.Connect(stations[0], 0, bridge, 0);
        network.Connect(stations[1], 0, bridge, 1);
        network.filter = [this](const network::Node& from, uint8_t port, std::span<const uint8_t> frame) {
            if (&from == &bridge) Watch(port, frame);
            return true;
        };
    }

    bool IsReserved() { return bridge.MulticastPorts(streamVid, streamAddress) == 1 << 0; }
    bool WaitForReservation() {
        return network.RunUntil([this] { return IsReserved(); }, 15'000);
    }

    // More than a station says, in one frame from it.
    void Say(uint8_t port, const Bytes& messages) {
        Bytes frame = {0x01, 0x80, 0xC2, 0, 0, 0x0E, 0x02, 0, 0, 0, 1, port, 0x22, 0xEA, mrpProtocolVersion};
        Append(frame, messages);
        Append(frame, Bytes(mrpEndMarkSize));
        network.Send(stations[port], 0, frame);
    }
    void SayTalkers(uint8_t port, uint16_t first, uint16_t count, AttributeEvent event = AttributeEvent::JOIN) {
        Say(port, Message(TALKER_ADVERTISE, BytesOf(TalkerNumber(port, first)), count, event));
    }
    void SayLeaveAll(uint8_t port) {
        Say(port, LeaveAllOfEveryType());
        askedNs[port].fill(network.clock.Ns());
    }

    // How long a type has waited at most for its first value after a LeaveAll on that port.
    uint64_t LongestWaitMs(uint8_t port, uint8_t type) const {
        const uint64_t nowNs = network.clock.Ns();
        const uint64_t waitingNs = nowNs - askedNs.at(port).at(type).value_or(nowNs);
        return std::max(longestNs.at(port).at(type), waitingNs) / nsPerMs;
    }

    Network network;
    std::array<StationNode, 2> stations{
        {{network, {0x02, 0, 0, 0, 0, 0x01}, Listening()}, {network, {0x02, 0, 0, 0, 0, 0x02}, Talking()}}};
    BridgeNode bridge{network, {}};

private:
    void Watch(uint8_t port, std::span<const uint8_t> frame) {
        if (frame.size() < 15 || frame[12] != 0x22 || frame[13] != 0xEA) return;
        const auto types = TypesIn(frame.subspan(15));
        for (uint8_t type = TALKER_ADVERTISE; type <= DOMAIN; ++type) {
            auto& asked = askedNs[port][type];
            if (!types[type] || !asked) continue;
            longestNs[port][type] = std::max(longestNs[port][type], network.clock.Ns() - *asked);
            asked.reset();
        }
    }

    std::array<std::array<std::optional<uint64_t>, 5>, 2> askedNs;
    std::array<std::array<uint64_t, 5>, 2> longestNs{};
};

class TalkersOneWay : public testing::TestWithParam<uint16_t> {};

}  // namespace

// The other direction was declared only when every talker had been, and lapsed.
TEST_P(TalkersOneWay, LeaveRoomForWhatTheOtherDirectionDeclares) {
    Crowd crowd;
    ASSERT_TRUE(crowd.WaitForReservation());

    for (int tenths = 0; tenths < 600; ++tenths) {
        if (tenths % 5 == 0) crowd.SayTalkers(0, 0, GetParam());
        if (tenths % 31 == 0) crowd.SayLeaveAll(1);
        crowd.network.RunMs(100);
        ASSERT_TRUE(crowd.IsReserved()) << tenths;
    }

    EXPECT_LE(crowd.LongestWaitMs(1, LISTENER_VECTOR), soonMs);
    EXPECT_LE(crowd.LongestWaitMs(1, DOMAIN), soonMs);
    EXPECT_GE(crowd.stations[1].Told("registered latency"), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Fairness, TalkersOneWay, testing::Values(150, 250, 400, 800));

TEST(Fairness, TalkersThatAreDumpedAndForgottenCostTheOtherDirectionNothing) {
    Crowd crowd;
    ASSERT_TRUE(crowd.WaitForReservation());

    constexpr uint16_t perFrame = 800;
    for (uint16_t first = 0; first < 20'000; first += perFrame)
        crowd.SayTalkers(0, first, perFrame, AttributeEvent::NEW);
    for (int tenths = 0; tenths < 400; ++tenths) {
        if (tenths % 31 == 0) crowd.SayLeaveAll(1);
        crowd.network.RunMs(100);
        ASSERT_TRUE(crowd.IsReserved()) << tenths;
    }

    EXPECT_LE(crowd.LongestWaitMs(1, LISTENER_VECTOR), soonMs);
    EXPECT_LE(crowd.LongestWaitMs(1, DOMAIN), soonMs);
    EXPECT_EQ(crowd.stations[1].Told("listener 02:00:00:00:00:02:00:01 ready"), 1u);
    EXPECT_EQ(crowd.stations[1].Told("listener 02:00:00:00:00:02:00:01 withdrawn"), 0u);
    EXPECT_GE(crowd.stations[1].Told("registered latency"), 100u);
}

TEST(Fairness, NoTypeWaitsLongWhenBothDirectionsAreFull) {
    Crowd crowd;
    ASSERT_TRUE(crowd.WaitForReservation());

    constexpr uint16_t many = 400;
    constexpr uint16_t failedFrom = 1'000;
    for (int tenths = 0; tenths < 600; ++tenths) {
        for (const uint8_t port : {uint8_t{0}, uint8_t{1}}) {
            const auto other = static_cast<uint8_t>(1 - port);
            const TalkerFailedFirstValue failed{TalkerNumber(port, failedFrom), {0x80}, 1};
            const StreamID listener = TalkerNumber(other, 0).streamId;
            if (tenths % 5 == 0) {
                crowd.SayTalkers(port, 0, many);
                crowd.Say(port, Message(TALKER_FAILED, BytesOf(failed), many, AttributeEvent::JOIN));
                crowd.Say(port, Message(LISTENER_VECTOR, listener, many, AttributeEvent::JOIN));
            }
            if (tenths % 31 == 17 * port) crowd.SayLeaveAll(port);
        }
        crowd.network.RunMs(100);
    }

    for (const uint8_t port : {uint8_t{0}, uint8_t{1}}) {
        for (uint8_t type = TALKER_ADVERTISE; type <= DOMAIN; ++type) {
            EXPECT_LE(crowd.LongestWaitMs(port, type), soonMs) << +port << " type " << +type;
        }
    }
}

}  // namespace norvad::test
