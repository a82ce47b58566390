#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "switch/i4_dsa_socket.h"
#include "tests/support/bytes.h"

namespace norvad::test {

// The ports of a switch without hardware, as its handlers see them: a test sets their states, and asks for the frames
// that were sent. Like the real ones they drop frames while they are down.
class FakePorts : public I4DSASocket {
public:
    static constexpr uint8_t portCount = 7;

    struct Port {
        bool up = false;
        bool stpUp = false;
        bool avbUp = false;
        bool peerIsSameMake = false;
    };
    struct SentFrame {
        uint8_t port;
        Bytes bytes;
    };

    std::array<Port, portCount> ports{};
    std::vector<SentFrame> sent;

    // The frames sent out of a port so far.
    std::vector<Bytes> SentOn(uint8_t port) const {
        std::vector<Bytes> frames;
        for (const SentFrame& frame : sent) {
            if (frame.port == port) frames.push_back(frame.bytes);
        }
        return frames;
    }

    uint8_t GetMaxPorts() const override { return portCount; }
    void write(uint8_t port, uint8_t* frame, size_t length) override {
        if (IsPortUp(port) && frame && length > 0) Send(port, {frame, length});
    }
    void writeAllPorts(uint8_t exceptPort, uint8_t* frame, size_t length) override {
        for (uint8_t port = 0; port < portCount; ++port) {
            if (port != exceptPort) write(port, frame, length);
        }
    }
    bool IsPortUp(uint8_t port) const override { return port < portCount && ports[port].up; }
    bool IsStpUp(uint8_t port) const override { return port < portCount && ports[port].stpUp; }
    bool IsAvbUp(uint8_t port) const override { return port < portCount && ports[port].avbUp; }
    bool GetPeerIsSameMake(uint8_t port) const override { return port < portCount && ports[port].peerIsSameMake; }
    void SetAsCapable(uint8_t port, bool capable, bool peerIsSameMake) override {
        if (port >= portCount) return;
        ports[port].avbUp = capable;
        ports[port].peerIsSameMake = peerIsSameMake;
    }

private:
    // A frame that really leaves.
    virtual void Send(uint8_t port, std::span<uint8_t> frame) = 0;
};

}  // namespace norvad::test
