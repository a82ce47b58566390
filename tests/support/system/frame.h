#pragma once

#include <cstddef>
#include <cstdint>

#include "tests/support/bytes.h"

namespace norvad::test {

// A big-endian number of size bytes (1..8) that starts at offset; throws when the frame ends before.
uint64_t Number(const Bytes& frame, size_t offset, size_t size);

// A big-endian number as size bytes.
Bytes Number(uint64_t value, size_t size);

// length bytes from offset on; throws when the frame ends before.
Bytes Part(const Bytes& frame, size_t offset, size_t length);

inline constexpr size_t etherTypeAt = 12;  // in a plain Ethernet frame
inline constexpr size_t payloadAt = 14;

uint16_t EtherType(const Bytes& frame);

}  // namespace norvad::test
