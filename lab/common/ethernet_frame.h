#pragma once

#include <boost/endian/arithmetic.hpp>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "base/mac_address.h"

namespace norvad::lab {

inline constexpr uint16_t etherTypeVlan = 0x8100;  // IEEE 802.1Q, table 9-1
inline constexpr size_t minimumFrame = 60;         // without the frame check sequence
inline constexpr size_t wireOverhead = 24;         // frame check sequence, preamble, delimiter and inter-frame gap

struct EthernetHeader {
    MacAddress destination;
    MacAddress source;
    boost::endian::big_uint16_t etherType;
};
static_assert(sizeof(EthernetHeader) == 14 && alignof(EthernetHeader) == 1);

// A tag as it stands in a frame, between the source address and the EtherType.
struct VlanTagBytes {
    boost::endian::big_uint16_t etherType;  // 0x8100
    boost::endian::big_uint16_t control;    // bits 15..13 priority, bit 12 drop eligible, bits 11..0 VLAN id
};
static_assert(sizeof(VlanTagBytes) == 4 && alignof(VlanTagBytes) == 1);

// What a tag says.
struct VlanTag {
    uint16_t vid = 0;
    uint8_t priority = 0;

    bool operator==(const VlanTag&) const = default;
};

constexpr VlanTag TagOf(uint16_t control) {
    return {static_cast<uint16_t>(control & 0x0FFF), static_cast<uint8_t>(control >> 13)};
}

constexpr uint16_t ControlOf(const VlanTag& tag) {
    return static_cast<uint16_t>(tag.priority << 13 | (tag.vid & 0x0FFF));
}

// What forwarding looks at. A frame without a tag, or with a priority tag, is of VLAN 0 here.
struct FrameFields {
    MacAddress destination;
    MacAddress source;
    uint16_t vid = 0;        // 0..4095
    uint16_t etherType = 0;  // behind the VLAN tag
    size_t payload = 0;      // offset of the first byte behind etherType
};

// Nothing when the bytes end before the EtherType, a VLAN tag's one included.
std::optional<FrameFields> ParseFrame(std::span<const uint8_t> frame);

// What a time stamp of a PTP event message is found by.
struct EventMessage {
    uint8_t messageType;  // 0..7
    uint16_t sequenceId;
};

// Nothing for any other frame.
std::optional<EventMessage> ParseEventMessage(std::span<const uint8_t> frame);

// The length that frame has without what stands behind the message of a PTP frame; its own length where it is no
// PTP frame or ends inside its message. Never below the minimum of a frame.
size_t LengthWithoutPtpTrailer(std::span<const uint8_t> frame);

constexpr bool IsGroupAddress(const MacAddress& address) {
    return (address[0] & 1) != 0;
}

// 01-80-C2-00-00-00..0F and -20..2F: bridges keep them to themselves.
bool IsControlAddress(const MacAddress& address);

// 91-E0-F0-xx-xx-xx, where streams are sent to.
bool IsStreamAddress(const MacAddress& address);

// "91:e0:f0:00:01:00"
std::string AddressText(const MacAddress& address);

// The reverse; nothing for any other text.
std::optional<MacAddress> ParseAddress(const std::string& text);

}  // namespace norvad::lab
