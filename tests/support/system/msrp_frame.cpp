#include "tests/support/system/msrp_frame.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace norvad::test {
namespace {

constexpr uint16_t etherTypeMsrp = 0x22EA;

bool BeginsWith(const Bytes& whole, const Bytes& begin) {
    return whole.size() >= begin.size() && std::equal(begin.begin(), begin.end(), whole.begin());
}

// As many values in a byte as there are weights, the last ones filled up with zero.
Bytes Packed(uint8_t value, size_t count, const std::vector<uint8_t>& weights) {
    Bytes packed((count + weights.size() - 1) / weights.size());
    for (size_t i = 0; i < count; ++i) {
        packed[i / weights.size()] += static_cast<uint8_t>(value * weights[i % weights.size()]);
    }
    return packed;
}

// The values of the vector at offset, which is moved behind it.
void ReadVector(const Bytes& frame, size_t& offset, uint8_t type, size_t length, std::vector<MsrpValue>& values) {
    const size_t count = BigEndianAt(frame, offset, 2) & 0x1FFF;
    const Bytes first = Part(frame, offset + 2, length);
    const size_t threePacked = offset + 2 + length;
    const size_t fourPacked = threePacked + (count + 2) / 3;
    // The bridge writes one value a vector; a LeaveAll alone carries none.
    if (count > 1) throw std::runtime_error("more than one value in a vector");
    if (count == 1) {
        const auto event = static_cast<MrpEvent>(frame.at(threePacked) / 36);
        const auto state =
            type == msrpListener ? static_cast<ListenerState>(frame.at(fourPacked) / 64) : listenerIgnore;
        values.push_back({type, event, first, state});
    }
    offset = fourPacked + (type == msrpListener ? (count + 3) / 4 : 0);
}

std::optional<MsrpValue> Find(const Bytes& frame, MsrpType type, const Bytes& begin, bool leaving) {
    for (const auto& value : ReadMsrp(frame)) {
        const bool declares = value.event == mrpNew || value.event == mrpJoinIn || value.event == mrpJoinMt;
        const bool wanted = leaving ? value.event == mrpLv : declares;
        if (value.type == type && wanted && BeginsWith(value.firstValue, begin)) return value;
    }
    return {};
}

}  // namespace

Bytes TalkerValue(const StreamText& stream) {
    return Join({stream.id, stream.destination, BigEndian(stream.vid, 2), BigEndian(stream.maxFrameSize, 2),
                 BigEndian(stream.maxIntervalFrames, 2), BigEndian(stream.priorityAndRank, 1),
                 BigEndian(stream.latencyNs, 4)});
}

Bytes MsrpFrame(const Bytes& source, const MsrpValue& value, size_t count) {
    Bytes events = Packed(value.event, count, {36, 6, 1});
    if (value.type == msrpListener) events = Join({events, Packed(value.listener, count, {64, 16, 4, 1})});
    const size_t listLength = 2 + value.firstValue.size() + events.size() + 2;
    Bytes frame = Join({
        FromHex("01 80 c2 00 00 0e"),  // the nearest bridge
        source,
        FromHex("22 ea 00"),  // MSRP, protocol version 0
        BigEndian(value.type, 1), BigEndian(value.firstValue.size(), 1), BigEndian(listLength, 2),
        BigEndian(count, 2),  // no LeaveAll
        value.firstValue, events,
        FromHex("00 00"),  // end of the list
        FromHex("00 00"),  // end of the PDU
    });
    frame.resize(std::max<size_t>(frame.size(), 60));
    return frame;
}

std::vector<MsrpValue> ReadMsrp(const Bytes& frame) {
    std::vector<MsrpValue> values;
    if (EtherType(frame) != etherTypeMsrp) return values;
    size_t offset = payloadAt;
    if (BigEndianAt(frame, offset++, 1) != 0) throw std::runtime_error("a protocol version other than 0");
    while (BigEndianAt(frame, offset, 2) != 0) {
        const auto type = static_cast<uint8_t>(BigEndianAt(frame, offset, 1));
        const auto length = static_cast<size_t>(BigEndianAt(frame, offset + 1, 1));
        const size_t end = offset + 4 + static_cast<size_t>(BigEndianAt(frame, offset + 2, 2));
        offset += 4;
        while (offset < end - 2) ReadVector(frame, offset, type, length, values);
        if (offset != end - 2 || BigEndianAt(frame, offset, 2) != 0)
            throw std::runtime_error("no end mark behind a list");
        offset = end;
    }
    return values;
}

bool Declares(const Bytes& frame, MsrpType type, const Bytes& begin) {
    return Find(frame, type, begin, false).has_value();
}

bool Leaves(const Bytes& frame, MsrpType type, const Bytes& begin) {
    return Find(frame, type, begin, true).has_value();
}

MsrpValue DeclaredValue(const Bytes& frame, MsrpType type, const Bytes& begin) {
    return Find(frame, type, begin, false).value();
}

}  // namespace norvad::test
