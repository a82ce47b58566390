#pragma once

#include <functional>
#include <string>

#include "base/file_descriptor.h"
#include "lab/end_station/frame.h"

namespace norvad::station {

// A plain Ethernet interface behind a packet socket. Received and sent frames are stamped by the kernel, on the
// clock of the day. Every operation throws std::runtime_error when the interface is gone.
class PacketPort final : public FramePort {
public:
    // Throws std::runtime_error where the interface cannot be used; the text is for the user.
    explicit PacketPort(const std::string& interface);

    MacAddress Address() const override { return address; }
    bool Send(std::span<const uint8_t> frame) override;
    std::optional<uint64_t> SendStamped(std::span<const uint8_t> frame) override;

    int Descriptor() const { return socket.Get(); }
    // Hands on the frames that wait, at most a burst of them.
    void Receive(const std::function<void(const ReceivedFrame&)>& take);
    // Bytes that are on their way out.
    int Unsent() const;

private:
    void Bind(int index);
    void SetOption(int level, int option, const void* value, uint32_t size) const;
    void ThrowIfGone(int error) const;
    std::optional<uint64_t> TakeTransmitStamp() const;

    std::string interface;
    FileDescriptor socket;
    MacAddress address{};
};

}  // namespace norvad::station
