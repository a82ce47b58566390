#include "lab/end_station/frame.h"

#include <algorithm>

#include "base/wire.h"

namespace norvad::station {

ControlFrame::ControlFrame(const MacAddress& destination, const MacAddress& source, uint16_t etherType,
                           std::span<const uint8_t> payload)
    : length(std::max(lab::minimumFrame, sizeof(EthernetHeader) + payload.size())) {
    (void)Put(bytes, 0, EthernetHeader{destination, source, etherType});
    std::ranges::copy(payload, bytes.begin() + sizeof(EthernetHeader));
}

}  // namespace norvad::station
