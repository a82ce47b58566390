#pragma once

#include <boost/endian/arithmetic.hpp>
#include <cstddef>
#include <cstdint>

namespace norvad {

// MRPDU layout, IEEE 802.1Q, 10.8.1.2: the protocol version, messages, a two-byte end mark.

inline constexpr uint8_t mrpProtocolVersion = 0;
inline constexpr uint16_t mrpEndMark = 0;
inline constexpr size_t mrpEndMarkSize = 2;

// A message's head where the application has an AttributeListLength (MSRP).
struct MrpMessageHeader {
    uint8_t attributeType;
    uint8_t attributeLength;                          // bytes of one FirstValue
    boost::endian::big_uint16_t attributeListLength;  // all vectors and the end mark behind them
};
static_assert(sizeof(MrpMessageHeader) == 4 && alignof(MrpMessageHeader) == 1);

// A message's head where it has none (MVRP).
struct MrpShortMessageHeader {
    uint8_t attributeType;
    uint8_t attributeLength;
};
static_assert(sizeof(MrpShortMessageHeader) == 2);

// In front of every vector: bits 15..13 LeaveAllEvent, bits 12..0 NumberOfValues.
struct MrpVectorHeader {
    boost::endian::big_uint16_t value;
    uint16_t NumberOfValues() const { return value & 0x1FFF; }
    bool LeaveAll() const { return (value & 0xE000) != 0; }
};
static_assert(sizeof(MrpVectorHeader) == 2 && alignof(MrpVectorHeader) == 1);

inline constexpr uint16_t mrpLeaveAllEvent = 0x2000;  // LeaveAllEvent 1 in a vector header

}  // namespace norvad
