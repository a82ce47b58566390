#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace norvad::lab {

// How addresses and identifiers are written: hex pairs with one colon between them, "91:e0:f0:00:01:00".
std::string HexText(std::span<const uint8_t> bytes);

// The reverse, in either case; false when the text is not exactly as many pairs as there are bytes.
bool ReadHexPairs(std::string_view text, std::span<uint8_t> bytes);

}  // namespace norvad::lab
