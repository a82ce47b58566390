#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "switch/doors.h"

namespace norvad {

// Follows the link messages of one interface: its operational state and the link values of the switch's ports,
// which the switch driver reports in bridge-family messages.
class LinkMonitor {
public:
    // Asks the kernel at once for all links; the answer arrives as messages to read.
    LinkMonitor(const std::string& interfaceName, std::unique_ptr<LinkSocket> socket);

    int Descriptor() const { return socket->Descriptor(); }  // for poll; -1 without a socket

    // Reads and applies one datagram. 0 on success, without data and at the end of a dump; -1 on an error
    // message; the negative result of a failed receive.
    int read_netlink();

    // The 4-bit link value of port: bit 3 link up, bit 2 STP up, bits 1..0 speed code. 0 beyond port 7.
    uint8_t GetPortLinkState(uint8_t port) const;

    // Clears, logs and returns the error that poll reports; 0 without one. When messages were lost, applies
    // what is left of them and asks for all links again.
    int TakeError();

    // What the last read said of the interface; kept for a report, the port values are what counts.
    bool WentUp() const { return up; }
    bool WentDown() const { return down; }
    uint32_t OperationalState() const { return operationalState; }

private:
    void RequestDump();
    void Resynchronise();
    int Parse(std::span<const uint8_t> datagram);
    void ParseLink(std::span<const uint8_t> message);

    std::string interfaceName;
    std::unique_ptr<LinkSocket> socket;
    std::array<uint8_t, 4096> buffer{};
    uint32_t portLinks = 0;         // 4 bits a port
    uint32_t operationalState = 0;  // 6: up
    bool up = false;
    bool down = false;
};

}  // namespace norvad
