#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "lab/end_station/frame.h"

namespace norvad::station {

// An untagged frame around payload, as long as the shortest one that may be sent.
class ControlFrame {
public:
    static constexpr size_t maxLength = 1514;

    // payload has at most 1500 bytes.
    ControlFrame(const MacAddress& destination, const MacAddress& source, uint16_t etherType,
                 std::span<const uint8_t> payload);

    std::span<const uint8_t> Bytes() const { return std::span(bytes).first(length); }

private:
    std::array<uint8_t, maxLength> bytes{};
    size_t length;
};

}  // namespace norvad::station
