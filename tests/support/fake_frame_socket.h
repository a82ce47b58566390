#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <span>
#include <utility>
#include <vector>

#include "switch/doors.h"
#include "switch/socket_exception.h"
#include "tests/support/bytes.h"
#include "tests/support/readiness.h"

namespace norvad::test {

// A frame socket that keeps what was sent and gives what a test queues.
class FakeFrameSocket final : public FrameSocket {
public:
    MacAddress hardwareAddress{0x02, 0x00, 0x00, 0x00, 0x10, 0x01};
    std::vector<Bytes> sent;
    std::function<void(std::span<const uint8_t>)> carry;       // when set, gets the frames instead of sent
    std::function<void(std::span<const uint8_t>)> onTransmit;  // when set, sees each frame as it is sent
    std::function<void(std::span<const uint8_t>)> onReceive;   // when set, sees each frame as it is queued
    std::vector<MacAddress> joined;
    int waits = 0;         // calls of waitForInterface
    int failWrites = 0;    // so many sends fail
    int pendingError = 0;  // an errno, until it is taken

    // A frame to receive, tag and all.
    void Queue(Bytes frame) {
        if (onReceive) onReceive(frame);
        received.push_back(std::move(frame));
        ready.Add();
    }
    bool HasFrames() const { return !received.empty(); }

    // What was sent so far, from here on forgotten.
    std::vector<Bytes> TakeSent() { return std::exchange(sent, {}); }

    int Descriptor() const override { return ready.Descriptor(); }
    void waitForInterface() override { ++waits; }
    MacAddress HardwareAddress() const override { return hardwareAddress; }
    void addMulticast(const MacAddress& address) override { joined.push_back(address); }

    ssize_t write(const uint8_t* frame, size_t length) override {
        if (failWrites > 0) {
            --failWrites;
            return -1;
        }
        if (onTransmit) onTransmit({frame, length});
        if (carry) {
            carry({frame, length});
        } else {
            sent.emplace_back(frame, frame + length);
        }
        return static_cast<ssize_t>(length);
    }

    size_t read(uint8_t* buffer, size_t capacity) override {
        if (received.empty()) throw SocketException(" read error ");
        const Bytes frame = std::move(received.front());
        received.pop_front();
        ready.Take();
        const size_t length = std::min(frame.size(), capacity);
        if (length > 0) std::memcpy(buffer, frame.data(), length);
        return length;
    }

    int TakeError() override { return std::exchange(pendingError, 0); }

private:
    std::deque<Bytes> received;
    Readiness ready;
};

}  // namespace norvad::test
