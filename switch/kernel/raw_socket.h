#pragma once

#include <linux/if_packet.h>

#include <cstdint>
#include <span>
#include <string>

#include "base/file_descriptor.h"
#include "switch/doors.h"

namespace norvad {

class Clock;

// A packet socket of type raw for one EtherType on one interface: the only path for Ethernet frames. Setting it
// up throws SocketException after printing the system error to standard error.
class RawSocket final : public FrameSocket {
public:
    explicit RawSocket(Clock& clock);  // unopened
    RawSocket(const std::string& interfaceName, uint16_t protocol, Clock& clock);
    RawSocket(const RawSocket&) = delete;
    RawSocket& operator=(const RawSocket&) = delete;
    ~RawSocket() override;

    int Descriptor() const override { return descriptor.Get(); }

    // Looks at the interface every 200 ms, for the first time after 200 ms, until its link runs; for ever if
    // need be.
    void waitForInterface() override;

    MacAddress HardwareAddress() const override;

    void addMulticast(const MacAddress& address) override;
    void addMulticast(std::span<const MacAddress> addresses);  // stops at the first that fails

    ssize_t write(const uint8_t* frame, size_t length) override;  // frame holds 8 bytes at least; never throws
    size_t read(uint8_t* buffer, size_t capacity) override;
    int TakeError() override;

    void close();

private:
    void open();
    void HoldBursts();
    void bind();

    FileDescriptor descriptor;
    int32_t interfaceIndex = 0;
    std::string interfaceName;
    uint16_t protocol = 0;
    sockaddr_ll address{};  // bound to, and the destination of every frame
    Clock& clock;
};

}  // namespace norvad
