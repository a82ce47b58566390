#pragma once

#include <boost/endian/arithmetic.hpp>
#include <cstdint>
#include <optional>
#include <span>

#include "base/ethertypes.h"
#include "base/mac_address.h"
#include "base/wire.h"

namespace norvad {

// What the tag says of a frame's way; the upper two bits of its first byte.
enum class TagType : uint8_t { TO_CPU, FROM_CPU, TO_SNIFFER, FORWARD };

// The tag between source address and EtherType of every frame to or from the switch.
struct CpuTag {
    boost::endian::big_uint16_t tagEtherType;  // 0xDADA
    boost::endian::big_uint16_t reserved;      // 0
    uint8_t tagType;                           // bits 7..6: TagType; the rest is 0 on send
    uint8_t port;                              // bits 7..3: switch port, 0..31; the rest is 0 on send
    uint8_t fixed[2];                          // 0xE0 0x01 towards the switch
};
static_assert(sizeof(CpuTag) == 8 && alignof(CpuTag) == 1);

// Everything in front of the protocol's own bytes in a tagged frame.
struct TaggedHeader {
    MacAddress destination;
    MacAddress source;
    CpuTag tag;
    boost::endian::big_uint16_t etherType;  // of the payload; the dispatch key
};
static_assert(sizeof(TaggedHeader) == 22 && alignof(TaggedHeader) == 1);

inline constexpr size_t taggedHeaderSize = sizeof(TaggedHeader);
inline constexpr size_t minimumTaggedFrame = 68;  // 60 bytes of the smallest Ethernet frame and the tag
inline constexpr size_t receiveBufferSize = 2048;

// The tag of a frame from the CPU that is to leave by port (0..31).
inline CpuTag FromCpuTag(uint8_t port) {
    return {ETHERTYPE_TAG,
            0,
            static_cast<uint8_t>(TagType::FROM_CPU) << 6,
            static_cast<uint8_t>((port & 31) << 3),
            {0xE0, 0x01}};
}

// The switch port (0..31) that a tagged frame names; nothing when the frame is shorter than its header.
inline std::optional<uint8_t> TaggedPort(std::span<const uint8_t> frame) {
    const auto header = Peek<TaggedHeader>(frame);
    if (!header) return {};
    return static_cast<uint8_t>(header->tag.port >> 3);
}

}  // namespace norvad
