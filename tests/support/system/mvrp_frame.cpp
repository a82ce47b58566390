#include "tests/support/system/mvrp_frame.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace norvad::test {
namespace {

constexpr uint16_t leaveAllFlag = 0x2000;

// Three events a byte, the last ones filled up with zero.
Bytes ThreePacked(const std::vector<MrpEvent>& events) {
    Bytes packed((events.size() + 2) / 3);
    constexpr uint8_t weights[] = {36, 6, 1};
    for (size_t i = 0; i < events.size(); ++i) packed[i / 3] += static_cast<uint8_t>(events[i] * weights[i % 3]);
    return packed;
}

MrpEvent Unpacked(uint8_t packed, size_t place) {
    constexpr int weights[] = {36, 6, 1};
    return static_cast<MrpEvent>(packed / weights[place] % 6);
}

std::optional<MrpEvent> EventOf(const Bytes& frame, uint16_t vid) {
    for (const auto& vector : ReadMvrp(frame)) {
        const size_t place = static_cast<size_t>(vid - vector.firstVid);
        if (vid >= vector.firstVid && place < vector.events.size()) return vector.events[place];
    }
    return {};
}

}  // namespace

Bytes MvrpMessage(const std::vector<VlanVector>& vectors) {
    Bytes message = FromHex("01 02");  // VLAN, of two bytes
    for (const auto& vector : vectors) {
        const size_t header = vector.events.size() | (vector.leaveAll ? leaveAllFlag : 0);
        message = Join({message, BigEndian(header, 2), BigEndian(vector.firstVid, 2), ThreePacked(vector.events)});
    }
    return Join({message, FromHex("00 00")});
}

Bytes MvrpFrame(const Bytes& source, const Bytes& messages) {
    Bytes frame = Join({
        FromHex("01 80 c2 00 00 21"),  // customer bridges' MVRP
        source,
        FromHex("88 f5 00"),  // MVRP, protocol version 0
        messages,
        FromHex("00 00"),  // end of the PDU
    });
    frame.resize(std::max<size_t>(frame.size(), 60));
    return frame;
}

std::vector<VlanVector> ReadMvrp(const Bytes& frame) {
    std::vector<VlanVector> vectors;
    if (EtherType(frame) != etherTypeMvrp) return vectors;
    size_t offset = payloadAt;
    if (BigEndianAt(frame, offset++, 1) != 0) throw std::runtime_error("a protocol version other than 0");
    while (BigEndianAt(frame, offset, 2) != 0) {
        if (BigEndianAt(frame, offset, 2) != 0x0102) throw std::runtime_error("an attribute that is no VLAN");
        offset += 2;
        while (const auto header = BigEndianAt(frame, offset, 2)) {
            VlanVector vector{
                static_cast<uint16_t>(BigEndianAt(frame, offset + 2, 2)), {}, (header & leaveAllFlag) != 0};
            const size_t count = header & 0x1FFF;
            offset += 4;
            for (size_t i = 0; i < count; ++i) vector.events.push_back(Unpacked(frame.at(offset + i / 3), i % 3));
            offset += (count + 2) / 3;
            vectors.push_back(vector);
        }
        offset += 2;
    }
    return vectors;
}

bool DeclaresVlan(const Bytes& frame, uint16_t vid) {
    const auto event = EventOf(frame, vid);
    return event == mrpNew || event == mrpJoinIn || event == mrpJoinMt;
}

bool LeavesVlan(const Bytes& frame, uint16_t vid) {
    return EventOf(frame, vid) == mrpLv;
}

}  // namespace norvad::test
