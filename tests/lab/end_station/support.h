#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lab/end_station/frame.h"
#include "lab/end_station/mrp_pdu.h"
#include "lab/end_station/station.h"
#include "tests/support/stepped_clock.h"

namespace norvad::station {

using namespace lab;

// Hex pairs, with blanks and line ends between them as it pleases; "// ..." is a comment.
inline Bytes Hex(std::string_view text) {
    Bytes bytes;
    while (!text.empty()) {
        if (text.starts_with("//")) {
            text.remove_prefix(std::min(text.find('\n'), text.size()));
        } else if (text[0] == ' ' || text[0] == '\n') {
            text.remove_prefix(1);
        } else {
            uint8_t value = 0;
            const auto [end, error] = std::from_chars(text.data(), text.data() + 2, value, 16);
            if (error != std::errc{} || end != text.data() + 2) throw std::invalid_argument(std::string(text));
            bytes.push_back(value);
            text.remove_prefix(2);
        }
    }
    return bytes;
}

inline Bytes Copy(std::span<const uint8_t> bytes) {
    return Bytes(bytes.begin(), bytes.end());
}

// Writes down what a PDU says, one line a value.
class WrittenDown final : public MrpReceiver {
public:
    void ReceiveLeaveAll(uint8_t type) override { lines.push_back("leave all " + std::to_string(type)); }
    void ReceiveValue(const MrpValue& value, AttributeEvent event) override {
        std::string line = std::to_string(value.type) + " event " + std::to_string(static_cast<int>(event));
        if (value.declaration != ListenerDeclaration::IGNORE) {
            line += " declaration " + std::to_string(static_cast<int>(value.declaration));
        }
        lines.push_back(line);
        values.push_back(value);
    }

    std::vector<std::string> lines;
    std::vector<MrpValue> values;
};

// Keeps the frames that were sent. A stamped frame leaves on the stepped clock.
class FakePort final : public FramePort {
public:
    FakePort(const MacAddress& address, const test::SteppedClock& clock) : address(address), clock(clock) {}

    MacAddress Address() const override { return address; }
    bool Send(std::span<const uint8_t> frame) override {
        if (isDown) return false;
        sent.push_back(Copy(frame));
        return true;
    }
    Departure SendStamped(std::span<const uint8_t> frame) override {
        if (!Send(frame)) return {};
        if (stampsNothing) return {.isAccepted = true, .timeNs = {}};
        return {true, clock.Ns() + transmitDelayNs};
    }

    std::deque<Bytes> sent;
    bool isDown = false;
    bool stampsNothing = false;
    uint64_t transmitDelayNs = 0;

private:
    MacAddress address;
    const test::SteppedClock& clock;
};

}  // namespace norvad::station
