#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace norvad {

// Two lower-case hexadecimal digits for every byte, with the separator between them: HexText(address).
std::string HexText(std::span<const uint8_t> bytes, std::string_view separator = ":");

// Reads pairs of digits, in either case, with one colon between them; false when the text is not exactly as many pairs
// as there are bytes.
bool ReadHexPairs(std::string_view text, std::span<uint8_t> bytes);

}  // namespace norvad
