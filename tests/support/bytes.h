#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace norvad::test {

using Bytes = std::vector<uint8_t>;

// The bytes of annotated text: pairs of hexadecimal digits, with blanks and line ends between the pairs and remarks
// from // to the line's end. Anything else throws.
inline Bytes FromHex(std::string_view text) {
    Bytes bytes;
    while (!text.empty()) {
        if (text.starts_with("//")) {
            text.remove_prefix(std::min(text.find('\n'), text.size()));
        } else if (text[0] == ' ' || text[0] == '\n') {
            text.remove_prefix(1);
        } else {
            const std::string_view pair = text.substr(0, 2);
            const char* const end = pair.data() + pair.size();
            uint8_t value = 0;
            const auto [behind, error] = std::from_chars(pair.data(), end, value, 16);
            if (pair.size() < 2 || error != std::errc{} || behind != end) {
                throw std::invalid_argument("not a byte: " + std::string(text));
            }
            bytes.push_back(value);
            text.remove_prefix(2);
        }
    }
    return bytes;
}

// "da da 00" for three bytes.
inline std::string ToHex(std::span<const uint8_t> bytes, std::string_view between = " ") {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const uint8_t byte : bytes) {
        if (!text.empty()) text += between;
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}

// On the heap and exactly as long as they are, so that the address sanitizer sees a read beyond them.
inline Bytes Copy(std::span<const uint8_t> bytes) {
    return {bytes.begin(), bytes.end()};
}

inline Bytes Join(std::initializer_list<Bytes> parts) {
    Bytes bytes;
    for (const Bytes& part : parts) bytes.insert(bytes.end(), part.begin(), part.end());
    return bytes;
}

// length bytes from offset on; throws when bytes end before.
inline Bytes Part(std::span<const uint8_t> bytes, size_t offset, size_t length) {
    if (offset > bytes.size() || bytes.size() - offset < length) throw std::out_of_range("the bytes end before");
    return Copy(bytes.subspan(offset, length));
}

// A number as size bytes, the highest first.
inline Bytes BigEndian(uint64_t value, size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(value >> 8 * (size - 1 - i));
    return bytes;
}

// The number that stands so, in size bytes (1..8) from offset on; throws when bytes end before.
inline uint64_t BigEndianAt(std::span<const uint8_t> bytes, size_t offset, size_t size) {
    uint64_t value = 0;
    for (const uint8_t byte : Part(bytes, offset, size)) value = value << 8 | byte;
    return value;
}

}  // namespace norvad::test
