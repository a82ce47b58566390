#pragma once

#include <boost/endian/arithmetic.hpp>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "lab/end_station/frame.h"
#include "msrp/msrp_wire.h"

namespace norvad::station {

inline constexpr uint16_t etherTypeAvtp = 0x22F0;

// What a stream's frames carry: the common stream header of IEEE 1722 with an experimental subtype and a counter of
// our own behind it, by which the receiver tells loss from reordering.
struct StreamHeader {
    uint8_t subtype;          // 0x7F, experimental
    uint8_t validAndVersion;  // 0x80: the stream id is valid
    uint8_t sequence;         // the counter's low byte
    uint8_t reserved;
    StreamID streamId;
    boost::endian::big_uint32_t timestamp;
    boost::endian::big_uint32_t formatSpecific;
    boost::endian::big_uint16_t dataLength;  // bytes behind this header
    boost::endian::big_uint16_t protocolSpecific;
};
static_assert(sizeof(StreamHeader) == 24 && alignof(StreamHeader) == 1);

// A talker's frames; only the counter changes from one to the next.
class StreamFrame {
public:
    static constexpr size_t minPayload = 42;  // fills the shortest tagged frame
    static constexpr size_t maxPayload = 1500;

    // payload counts the bytes behind the EtherType, and is brought into minPayload..maxPayload.
    StreamFrame(const StreamID& id, const MacAddress& destination, const MacAddress& source, const VlanTag& tag,
                size_t payload);

    std::span<const uint8_t> Next();  // valid until the next call
    uint64_t Count() const { return count; }

private:
    std::vector<uint8_t> bytes;
    uint64_t count = 0;
};

struct ReceivedStreamFrame {
    StreamID streamId;
    uint32_t counter;
};

// Nothing when the frame carries no stream with our counter.
std::optional<ReceivedStreamFrame> ReadStreamFrame(std::span<const uint8_t> frame);

// Counts the frames of one stream, and by their counters those that are missing or late.
class StreamCounter {
public:
    void Count(uint32_t counter);
    // The next frame sets the count anew: what was sent during a pause on purpose is not lost.
    void Resume() { isCounting = false; }

    uint64_t received = 0;
    uint64_t lost = 0;       // skipped so far; a late frame takes its place again
    uint64_t reordered = 0;  // came behind a later one

private:
    bool isCounting = false;  // expected is known
    uint32_t expected = 0;
};

}  // namespace norvad::station
