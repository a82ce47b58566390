#pragma once

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <deque>
#include <span>
#include <utility>
#include <vector>

#include "switch/doors.h"
#include "tests/support/bytes.h"
#include "tests/support/readiness.h"

namespace norvad::test {

// A link socket that keeps the requests and gives the datagrams or errors that a test queues.
class FakeLinkSocket final : public LinkSocket {
public:
    std::vector<Bytes> requests;
    int pendingError = 0;  // an errno, until it is taken

    void Queue(Bytes datagram) { Push({std::move(datagram), 0}); }
    void QueueError(int error) { Push({{}, error}); }
    bool HasMessages() const { return !received.empty(); }

    int Descriptor() const override { return ready.Descriptor(); }

    uint32_t PortId() const override { return 0x1234; }

    ssize_t Send(std::span<const uint8_t> message) override {
        requests.push_back(Copy(message));
        return static_cast<ssize_t>(message.size());
    }

    ssize_t Receive(std::span<uint8_t> datagram) override {
        if (received.empty()) return Fail(EAGAIN);
        const auto [bytes, error] = std::move(received.front());
        received.pop_front();
        ready.Take();
        if (error != 0) return Fail(error);
        const size_t length = std::min(bytes.size(), datagram.size());
        if (length > 0) std::memcpy(datagram.data(), bytes.data(), length);
        return static_cast<ssize_t>(length);
    }

    int TakeError() override { return std::exchange(pendingError, 0); }

private:
    using Arrival = std::pair<Bytes, int>;

    void Push(Arrival arrival) {
        received.push_back(std::move(arrival));
        ready.Add();
    }
    static ssize_t Fail(int error) {
        errno = error;
        return -1;
    }

    std::deque<Arrival> received;
    Readiness ready;
};

}  // namespace norvad::test
