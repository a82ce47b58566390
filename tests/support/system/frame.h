#pragma once

#include <cstddef>
#include <cstdint>

#include "tests/support/bytes.h"

namespace norvad::test {

inline constexpr size_t etherTypeAt = 12;  // in a plain Ethernet frame
inline constexpr size_t payloadAt = 14;

inline uint16_t EtherType(const Bytes& frame) {
    return frame.size() < payloadAt ? uint16_t{0} : static_cast<uint16_t>(BigEndianAt(frame, etherTypeAt, 2));
}

}  // namespace norvad::test
