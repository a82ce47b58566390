#include "fuzz/whole_bridge/frames.h"

#include <algorithm>
#include <array>
#include <span>

#include "base/ethertypes.h"
#include "base/wire.h"
#include "mrp/mrp_wire.h"
#include "msrp/msrp_wire.h"
#include "mvrp/vlan.h"
#include "ptp/message_builder.h"
#include "switch/cpu_tag.h"
#include "switch/ports.h"

namespace norvad::fuzz {

using test::BigEndian;
using test::Bytes;
using test::Copy;
using test::Join;

namespace {

constexpr MacAddress ownAddress{0x02, 0x00, 0x00, 0x00, 0x10, 0x01};
constexpr MacAddress neighbourAddress{0x02, 0x00, 0x00, 0x00, 0x20, 0x00};
constexpr uint16_t mostValues = 8191;

ClockIdentity ClockOf(uint8_t neighbour) {
    return {2, 0, 0, 0xFF, 0xFE, 0, 0, static_cast<uint8_t>(1 + neighbour % 4)};
}

// The values of a vector: one first value, and the same events for all.
struct Vector {
    bool leaveAll;
    uint16_t values;
};

Vector ChooseVector(uint8_t choice, Input& input, size_t& budget) {
    const bool many = (choice & 8) != 0;
    const size_t wanted = many ? input.Short() & mostValues : size_t{1} + (choice >> 4 & 3);
    const auto values = static_cast<uint16_t>(std::min(wanted, budget));
    budget -= values;
    return {(choice & 4) != 0, values};
}

Bytes VectorBytes(const Vector& vector, std::span<const uint8_t> firstValue, uint8_t threePacked) {
    const uint16_t header = static_cast<uint16_t>((vector.leaveAll ? mrpLeaveAllEvent : 0) | vector.values);
    return Join({BigEndian(header, 2), Copy(firstValue), Bytes((vector.values + 2u) / 3, threePacked % 216)});
}

StreamID ChooseStream(uint8_t choice) {
    constexpr std::array<uint8_t, 8> selectors{0, 0, 0, 0x1F, 0x2F, 0x3F, 0x7F, 0};
    StreamID id{};
    const MacAddress& talker = (choice & 0xF8) == 0xF8 ? ownAddress : neighbourAddress;
    std::copy(talker.begin(), talker.end(), id.begin());
    id[6] = selectors[choice >> 4 & 7];
    id[7] = choice & 7;
    return id;
}

TalkerFirstValue ChooseTalker(uint8_t choice, uint8_t offer) {
    TalkerFirstValue talker{};
    talker.streamId = ChooseStream(choice);
    const uint8_t group = (offer & 1) != 0 ? 0 : choice;  // several streams to one address are a mistake that happens
    talker.destination = {0x91, 0xE0, 0xF0, 0, 0, group};
    talker.vid = static_cast<uint16_t>((offer & 2) != 0 ? 3 : 2);
    talker.maxFrameSize = static_cast<uint16_t>((offer & 0xF0) != 0 ? offer : 0xFFFF);
    talker.maxIntervalFrames = static_cast<uint16_t>(1 + (offer >> 2 & 3));
    talker.priorityAndRank = 0x70;
    return talker;
}

template <typename Message>
Bytes WithHeader(Framed<Message> frame, const MacAddress& destination, uint8_t port, uint16_t sequenceId) {
    frame.ethernet.destination = destination;
    frame.ethernet.tag.port = static_cast<uint8_t>(port << 3);
    frame.message.header.sequenceId = sequenceId;
    return Copy(BytesOf(frame));
}

}  // namespace

uint8_t ChoosePort(Input& input) {
    constexpr std::array<uint8_t, 16> ports{0, 1, 0, 1, 0, 1, 2, 6, 0, 1, 5, 6, 2, 3, 7, 31};
    return ports[input.Byte() % ports.size()];
}

Bytes FrameAround(uint8_t port, uint16_t etherType, const Bytes& payload) {
    TaggedHeader header{};
    header.destination = etherType == ETHERTYPE_MVRP ? mvrpGroupAddress : msrpGroupAddress;
    header.source = neighbourAddress;
    header.tag = {ETHERTYPE_TAG, 0, 0, static_cast<uint8_t>(port << 3), {0, 0}};
    header.etherType = etherType;
    return Join({Copy(BytesOf(header)), payload});
}

Bytes ComposeMsrp(Input& input, size_t& budget) {
    const uint8_t port = ChoosePort(input);
    Bytes pdu{mrpProtocolVersion};
    do {
        const uint8_t choice = input.Byte(), stream = input.Byte(), offer = input.Byte(), events = input.Byte();
        const auto type = static_cast<uint8_t>(1 + (choice & 3));
        const Vector vector = ChooseVector(choice, input, budget);
        const TalkerFirstValue talker = ChooseTalker(stream, offer);
        Bytes value;
        if (type == TALKER_ADVERTISE) value = Copy(BytesOf(talker));
        if (type == TALKER_FAILED) value = Copy(BytesOf(TalkerFailedFirstValue{talker, {}, offer}));
        if (type == LISTENER_VECTOR) value = Copy(talker.streamId);
        if (type == DOMAIN) value = {static_cast<uint8_t>(4 + stream % 4), static_cast<uint8_t>(offer % 4), 0, 2};
        Bytes list = VectorBytes(vector, value, events);
        if (type == LISTENER_VECTOR) list = Join({list, Bytes((vector.values + 3u) / 4, offer)});
        list = Join({list, BigEndian(mrpEndMark, 2)});
        pdu = Join({pdu, {type, static_cast<uint8_t>(value.size())}, BigEndian(list.size(), 2), list});
    } while (pdu.size() < 1200 && (input.Byte() & 1) != 0);
    return FrameAround(port, ETHERTYPE_MSRP, Join({pdu, BigEndian(mrpEndMark, 2)}));
}

Bytes ComposeMvrp(Input& input, size_t& budget) {
    const uint8_t port = ChoosePort(input), choice = input.Byte(), vid = input.Byte(), events = input.Byte();
    const Vector vector = ChooseVector(choice, input, budget);
    const Bytes head{mrpProtocolVersion, REGISTER_VLAN, sizeof(VlanFirstValue)};
    const Bytes list = VectorBytes(vector, BytesOf(VlanFirstValue{vid}), events);
    return FrameAround(port, ETHERTYPE_MVRP, Join({head, list, BigEndian(0, 4)}));
}

Bytes ComposeAnnounce(Input& input) {
    const uint8_t port = ChoosePort(input), choice = input.Byte();
    auto announce = BuildAnnounce(neighbourAddress, ClockOf(choice)).frame;
    announce.message.dataset.priority1 = input.Byte();
    announce.message.dataset.grandmasterIdentity = ClockOf(choice >> 2);
    announce.message.dataset.stepsRemoved = choice >> 4;
    const size_t entries = (choice & 0x80) != 0 ? input.Byte() : 1;
    announce.message.lengthField = static_cast<uint16_t>(entries * sizeof(ClockIdentity));
    Bytes path;
    for (size_t entry = 0; entry < entries; ++entry) {
        const ClockIdentity identity = ClockOf(static_cast<uint8_t>(choice + entry));
        path.insert(path.end(), identity.begin(), identity.end());
    }
    return Join({WithHeader(announce, ptpGroupAddress, port, input.Byte()), path});
}

Bytes ComposeSync(Input& input) {
    const uint8_t port = ChoosePort(input), neighbour = input.Byte();
    return WithHeader(BuildSync(neighbourAddress, ClockOf(neighbour)), ptpGroupAddress, port, neighbour >> 2);
}

Bytes ComposeFollowUp(Input& input, uint64_t nowNs) {
    const uint8_t port = ChoosePort(input), neighbour = input.Byte();
    auto followUp = BuildFollowUp(neighbourAddress, ClockOf(neighbour));
    const uint8_t offset = input.Byte();
    followUp.message.preciseOriginTimestamp = EncodeTimestamp(nowNs + (uint64_t{1} << offset % 64));
    if ((offset & 0x40) != 0) followUp.message.header.correctionField = static_cast<int64_t>(input.Number(8));
    if ((offset & 0x80) != 0) {
        followUp.message.information.cumulativeScaledRateOffset = static_cast<int32_t>(input.Number(4));
    }
    return WithHeader(followUp, ptpGroupAddress, port, neighbour >> 2);
}

Bytes ComposePdelayReq(Input& input) {
    const uint8_t port = ChoosePort(input), neighbour = input.Byte();
    return WithHeader(BuildPdelayReq(neighbourAddress, ClockOf(neighbour)), ptpGroupAddress, port, neighbour >> 2);
}

Bytes ComposePdelayResp(uint8_t port, uint16_t sequenceId, uint64_t receivedNs) {
    auto response = BuildPdelayResp(neighbourAddress, ClockOf(0));
    response.message.requestReceiptTimestamp = EncodeTimestamp(receivedNs);
    response.message.requestingPortIdentity = {ClockIdentityOf(ownAddress), port};
    return WithHeader(response, ptpGroupAddress, port, sequenceId);
}

Bytes ComposePdelayRespFollowUp(uint8_t port, uint16_t sequenceId, uint64_t sentNs, bool sameMake) {
    auto followUp = BuildPdelayRespFollowUp(neighbourAddress, ClockOf(0)).frame;
    followUp.message.responseOriginTimestamp = EncodeTimestamp(sentNs);
    followUp.message.requestingPortIdentity = {ClockIdentityOf(ownAddress), port};
    const Bytes frame = WithHeader(followUp, ptpGroupAddress, port, sequenceId);
    return sameMake ? Join({frame, Copy(sameMakeTrailer)}) : frame;
}

Bytes ComposePtp(Input& input) {
    constexpr std::array<uint8_t, 8> types{0x10, 0x12, 0x13, 0x18, 0x1A, 0x1B, 0x1C, 0x1F};
    const uint8_t port = ChoosePort(input), choice = input.Byte();
    auto frame = BuildSync(neighbourAddress, ClockOf(choice >> 3));
    frame.message.header.firstByte = types[choice % types.size()];
    const Bytes front = WithHeader(frame, ptpGroupAddress, port, input.Byte());
    const size_t headerEnd = taggedHeaderSize + sizeof(PTPHeader);
    return Join({test::Part(front, 0, headerEnd), input.Bytes(input.Byte() * ((choice & 0x80) != 0 ? 8u : 1u))});
}

}  // namespace norvad::fuzz
