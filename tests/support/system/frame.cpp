#include "tests/support/system/frame.h"

#include <stdexcept>

namespace norvad::test {

uint64_t Number(const Bytes& frame, size_t offset, size_t size) {
    uint64_t value = 0;
    for (size_t i = 0; i < size; ++i) value = value << 8 | frame.at(offset + i);
    return value;
}

Bytes Number(uint64_t value, size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(value >> 8 * (size - 1 - i));
    return bytes;
}

Bytes Part(const Bytes& frame, size_t offset, size_t length) {
    if (frame.size() < offset + length) throw std::out_of_range("the frame ends before that part");
    const auto begin = frame.begin() + static_cast<ptrdiff_t>(offset);
    return {begin, begin + static_cast<ptrdiff_t>(length)};
}

uint16_t EtherType(const Bytes& frame) {
    return frame.size() < payloadAt ? uint16_t{0} : static_cast<uint16_t>(Number(frame, etherTypeAt, 2));
}

}  // namespace norvad::test
