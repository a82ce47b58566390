#pragma once

#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace norvad::test {

using Bytes = std::vector<uint8_t>;

// Bytes from two-digit hexadecimal words: Hex("01 80 c2"). Anything else throws.
inline Bytes Hex(const std::string& text) {
    std::istringstream words(text);
    Bytes bytes;
    for (std::string word; words >> word;) {
        size_t used = 0;
        const unsigned long value = std::stoul(word, &used, 16);
        if (word.size() != 2 || used != 2) throw std::invalid_argument("not a byte: " + word);
        bytes.push_back(static_cast<uint8_t>(value));
    }
    return bytes;
}

inline Bytes Join(std::initializer_list<Bytes> parts) {
    Bytes bytes;
    for (const Bytes& part : parts) bytes.insert(bytes.end(), part.begin(), part.end());
    return bytes;
}

}  // namespace norvad::test
