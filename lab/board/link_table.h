#pragma once

#include <array>
#include <cstdint>

#include "lab/board/port_tables.h"

namespace norvad::board {

// The state of a port as the driver reports it, four bits: bit 3 is the link, bit 2 spanning tree, and the lower
// two the speed.
struct PortLink {
    static constexpr uint8_t fast = 1;     // 100 Mbit/s
    static constexpr uint8_t gigabit = 2;  // 1 Gbit/s

    bool up = false;
    bool forwarding = false;  // spanning tree lets data frames pass
    uint8_t speed = gigabit;

    // 0 while the link is down.
    uint8_t Nibble() const {
        if (!up) return 0;
        return static_cast<uint8_t>(8 | (forwarding ? 4 : 0) | (speed & 3));
    }
};

// The links of all ports. The one to the CPU is reported as down: nothing but control frames goes there, and no
// talker or listener lives behind it.
class LinkTable {
public:
    const PortLink& operator[](uint8_t port) const { return links.at(port); }
    PortLink& operator[](uint8_t port) { return links.at(port); }

    // Four bits a port, port 0 lowest.
    uint32_t Value() const {
        uint32_t value = 0;
        for (uint8_t port = 0; port < portCount; ++port) value |= uint32_t{links[port].Nibble()} << (4 * port);
        return value;
    }

private:
    std::array<PortLink, portCount> links;
};

}  // namespace norvad::board
