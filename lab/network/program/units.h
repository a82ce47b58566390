#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace norvad::network {

// Quantities as people write them. Decimals are cut where the unit ends, and nothing goes through floating point.
// Nothing for any other text, or for a quantity that 64 bits do not hold.

std::optional<int64_t> ParseDurationNs(std::string_view text);       // "200ns", "1.5ms", "60s", "2min", "1h", "-40us"
std::optional<int64_t> ParseBitsPerSecond(std::string_view text);    // "64k", "100M", "1G"
std::optional<int64_t> ParseFrequencyPpb(std::string_view text);     // "-50ppm", "20ppb"
std::optional<int64_t> ParseRampPpb(std::string_view text);          // by the second: "1ppm/s"
std::optional<int64_t> ParseSharePerMillion(std::string_view text);  // "0.1%"

// "120 ns", "1.204 us", "3.5 s": at most four digits.
std::string TimeText(int64_t ns);

}  // namespace norvad::network
