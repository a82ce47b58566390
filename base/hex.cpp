#include "base/hex.h"

#include <charconv>

namespace norvad {

std::string HexText(std::span<const uint8_t> bytes, std::string_view separator) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const uint8_t byte : bytes) {
        if (!text.empty()) text += separator;
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

bool ReadHexPairs(std::string_view text, std::span<uint8_t> bytes) {
    if (text.size() + 1 != bytes.size() * 3) return false;
    for (size_t i = 0; i < bytes.size(); ++i) {
        const char* const pair = text.data() + i * 3;
        const auto [end, error] = std::from_chars(pair, pair + 2, bytes[i], 16);
        if (error != std::errc{} || end != pair + 2) return false;
        if (i > 0 && pair[-1] != ':') return false;
    }
    return true;
}

}  // namespace norvad
