#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

namespace norvad::test {

// "da da 00" for three bytes.
inline std::string Hex(std::span<const uint8_t> bytes) {
    std::string text;
    for (const uint8_t byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02x ", byte);
        text += digits;
    }
    if (!text.empty()) text.pop_back();
    return text;
}

// The bytes of pairs of digits with blanks between them.
inline std::vector<uint8_t> FromHex(const char* text) {
    std::vector<uint8_t> bytes;
    for (char* end = nullptr;; text = end) {
        const auto value = std::strtoul(text, &end, 16);
        if (end == text) return bytes;
        bytes.push_back(static_cast<uint8_t>(value));
    }
}

}  // namespace norvad::test
