#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "lab/end_station/frame.h"
#include "lab/end_station/mrp_pdu.h"
#include "lab/end_station/station.h"
#include "tests/support/bytes.h"
#include "tests/support/stepped_clock.h"

namespace norvad::station {

using namespace lab;
using norvad::test::BigEndianAt;
using norvad::test::Copy;
using norvad::test::FromHex;
using norvad::test::Join;
using norvad::test::Part;

// As the kernel hands a tagged frame over: the tag stands beside the bytes.
struct Untagged {
    explicit Untagged(std::span<const uint8_t> frame)
        : bytes(Join({Part(frame, 0, 12), Part(frame, 16, frame.size() - 16)})),
          tag{static_cast<uint16_t>((frame[14] & 0x0F) << 8 | frame[15]), static_cast<uint8_t>(frame[14] >> 5)} {}
    ReceivedFrame Frame() const { return {bytes, tag, 0}; }

    Bytes bytes;
    VlanTag tag;
};

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
