#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace norvad::test {

// The bytes of annotated hexadecimal text: pairs of digits, blanks between them, remarks from // to the line's end.
inline std::vector<uint8_t> Bytes(std::string_view text) {
    std::vector<uint8_t> bytes;
    std::string digits;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text.substr(at, 2) == "//") at = text.find('\n', at);
        if (at >= text.size()) break;
        if (!std::isxdigit(static_cast<unsigned char>(text[at]))) continue;
        digits += text[at];
        if (digits.size() < 2) continue;
        bytes.push_back(static_cast<uint8_t>(std::stoul(digits, nullptr, 16)));
        digits.clear();
    }
    return bytes;
}

// The bytes as hexadecimal text, 16 to the line, for messages that can be read.
inline std::string Hex(const std::vector<uint8_t>& bytes) {
    std::string text;
    for (size_t at = 0; at < bytes.size(); ++at) {
        char digits[4];
        (void)snprintf(digits, sizeof(digits), "%02x%c", bytes[at], at % 16 == 15 ? '\n' : ' ');
        text += digits;
    }
    return text;
}

}  // namespace norvad::test
