#include "lab/end_station/stream_frame.h"

#include <algorithm>

#include "base/wire.h"

namespace norvad::station {

namespace {

using boost::endian::big_uint16_t;
using boost::endian::big_uint32_t;

struct TaggedStreamFrame {
    MacAddress destination;
    MacAddress source;
    lab::VlanTagBytes tag;
    big_uint16_t etherType;
    StreamHeader header;
    big_uint32_t counter;
};
static_assert(sizeof(TaggedStreamFrame) == 46 && alignof(TaggedStreamFrame) == 1);

constexpr size_t headersSize = offsetof(TaggedStreamFrame, header);

}  // namespace

StreamFrame::StreamFrame(const StreamID& id, const MacAddress& destination, const MacAddress& source,
                         const VlanTag& tag, size_t payload)
    : bytes(headersSize + std::clamp(payload, minPayload, maxPayload)) {
    TaggedStreamFrame frame{};
    frame.destination = destination;
    frame.source = source;
    frame.tag = {lab::etherTypeVlan, lab::ControlOf(tag)};
    frame.etherType = etherTypeAvtp;
    frame.header.subtype = 0x7F;
    frame.header.validAndVersion = 0x80;
    frame.header.streamId = id;
    frame.header.dataLength = static_cast<uint16_t>(bytes.size() - headersSize - sizeof(StreamHeader));
    (void)Put(bytes, 0, frame);
}

std::span<const uint8_t> StreamFrame::Next() {
    const auto counter = static_cast<uint32_t>(count++);  // wraps
    (void)Put(bytes, offsetof(TaggedStreamFrame, header) + offsetof(StreamHeader, sequence),
              static_cast<uint8_t>(counter));
    (void)Put(bytes, offsetof(TaggedStreamFrame, counter), big_uint32_t(counter));
    return bytes;
}

std::optional<ReceivedStreamFrame> ReadStreamFrame(std::span<const uint8_t> frame) {
    const auto ethernet = Take<EthernetHeader>(frame);
    if (!ethernet || ethernet->etherType != etherTypeAvtp) return {};
    const auto header = Take<StreamHeader>(frame);
    const auto counter = Take<big_uint32_t>(frame);
    if (!header || !counter || header->subtype != 0x7F || header->validAndVersion != 0x80) return {};
    return ReceivedStreamFrame{header->streamId, *counter};
}

// A frame from far away comes from a talker that started anew and sets the count like a first one.
void StreamCounter::Count(uint32_t counter) {
    constexpr uint32_t farAway = 1u << 16;
    const uint32_t ahead = counter - expected;   // wraps
    const uint32_t behind = expected - counter;  // wraps
    ++received;
    if (isCounting && behind != 0 && behind < farAway) {
        ++reordered;
        if (lost > 0) --lost;
        return;
    }
    if (isCounting && ahead < farAway) lost += ahead;
    isCounting = true;
    expected = counter + 1;
}

}  // namespace norvad::station
