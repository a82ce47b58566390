#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "base/file_descriptor.h"
#include "switch/doors.h"

namespace norvad {

// The driver's private request (SIOCDEVPRIVATE) on a packet socket of the switch's interface. The socket carries
// requests only; every frame that reaches it is dropped in the kernel.
class PacketDriverSocket final : public DriverSocket {
public:
    // Throws SocketException after printing the system error to standard error.
    PacketDriverSocket(const std::string& interfaceName, uint16_t protocol);
    PacketDriverSocket(const PacketDriverSocket&) = delete;
    PacketDriverSocket& operator=(const PacketDriverSocket&) = delete;
    ~PacketDriverSocket() override;

    MacAddress HardwareAddress() const override { return interfaceMac; }
    bool Request(std::span<uint8_t> record) override;

private:
    void open();
    void close();
    void DropEverything();

    FileDescriptor descriptor;
    std::string interfaceName;
    uint16_t protocol;
    MacAddress interfaceMac{};
    int32_t interfaceIndex = 0;
};

}  // namespace norvad
