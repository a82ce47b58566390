#pragma once

#include <cstdint>

namespace norvad {

// The ports of the switch by number.

inline constexpr uint8_t externalPortCount = 2;  // ports 0 and 1 lead out
inline constexpr uint8_t localPort = 5;          // the daemon's own host talks and listens behind it
inline constexpr uint8_t cpuPort = 6;            // leads to the CPU, and so to that host as well
inline constexpr uint8_t portCount = 7;          // ports 0..6

constexpr bool IsLocalPort(uint8_t port) {
    return port == localPort || port == cpuPort;
}

// The port's bit in a mask of ports (0..15).
constexpr uint16_t PortBit(uint8_t port) {
    return static_cast<uint16_t>(1U << port);
}

}  // namespace norvad
