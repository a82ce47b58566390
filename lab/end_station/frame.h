#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "base/mac_address.h"
#include "lab/common/ethernet_frame.h"

namespace norvad::station {

using lab::EthernetHeader;
using lab::VlanTag;

// A frame as it was received: its 802.1Q tag, if it had one, stands beside it and not in its bytes.
struct ReceivedFrame {
    std::span<const uint8_t> bytes;  // from the destination address on
    std::optional<VlanTag> tag;
    std::optional<uint64_t> receiveTimeNs;  // of the station's time-stamping clock; nothing: not stamped
};

// What became of a frame that was sent to be stamped.
struct Departure {
    bool isAccepted = false;
    std::optional<uint64_t> timeNs;  // when it left, on the clock that stamps received frames; nothing: not stamped
};

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

// The station's place on the wire.
class FramePort {
public:
    virtual ~FramePort() = default;
    virtual MacAddress Address() const = 0;
    // False when the frame was not accepted.
    virtual bool Send(std::span<const uint8_t> frame) = 0;
    virtual Departure SendStamped(std::span<const uint8_t> frame) = 0;
};

// Takes one event line without time and name.
using EventLog = std::function<void(const std::string&)>;

}  // namespace norvad::station
