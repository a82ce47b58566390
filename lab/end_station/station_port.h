#pragma once

#include <functional>
#include <string>

#include "lab/common/packet_port.h"
#include "lab/end_station/frame.h"

namespace norvad::station {

// A station's place on a plain Ethernet interface. Received and sent frames are stamped by the kernel, on the system
// clock. Every operation throws StartError when the interface is gone.
class StationPort final : public FramePort {
public:
    // Throws StartError where the interface cannot be used.
    explicit StationPort(const std::string& interface);

    MacAddress Address() const override { return address; }
    bool Send(std::span<const uint8_t> frame) override;
    Departure SendStamped(std::span<const uint8_t> frame) override;

    int Descriptor() const { return port.Descriptor(); }
    // Hands on the frames that wait, at most a burst of them.
    void Receive(const std::function<void(const ReceivedFrame&)>& take);
    int Unsent() const { return port.Unsent(); }

private:
    void ThrowIfGone() const;

    std::string interface;
    MacAddress address;
    lab::PacketPort port;
};

}  // namespace norvad::station
