#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "switch/ports.h"

namespace norvad::board {

// What a board knows of each of its ports: the link, and what became of the frames. A mask has bit n for port n.

inline constexpr uint8_t allPorts = (1 << portCount) - 1;

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

// Why a frame went no further.
enum class DropReason : uint8_t {
    MALFORMED,       // ends inside its header
    TOO_LONG,        // does not fit the frame buffer of the CPU port
    LINK_DOWN,       // came from or would leave by a port without link
    BLOCKED,         // a port that spanning tree keeps closed
    NO_RESERVATION,  // a stream address that no entry of the multicast table leads anywhere
    NOT_A_MEMBER,    // the VLAN leads to no other port
    SAME_PORT,       // the destination is where the frame came from
    UNTAGGED,        // from the CPU without the tag
    WRONG_TAG,       // from the CPU with a tag that is not FROM_CPU
    NO_SUCH_PORT,    // from the CPU for a port that does not exist outside
    SEND_FAILED,     // refused by the interface
};

inline constexpr std::array dropReasonNames{
    "malformed", "too long", "link down", "blocked", "no reservation", "not a member",
    "same port", "untagged", "wrong tag", "no port", "send failed",
};
static_assert(dropReasonNames.size() == static_cast<size_t>(DropReason::SEND_FAILED) + 1);

struct FrameCount {
    uint64_t frames = 0;
    uint64_t bytes = 0;

    void Count(size_t length) {
        ++frames;
        bytes += length;
    }
};

// Of one port, the one to the CPU included; a dropped frame counts where it came in, or where it could not leave.
struct PortCounters {
    FrameCount received;
    FrameCount sent;
    uint64_t trapped = 0;    // received and handed to the CPU
    uint64_t forwarded = 0;  // received and sent out of at least one other port
    std::array<uint64_t, dropReasonNames.size()> dropped{};

    uint64_t Dropped(DropReason reason) const { return dropped[static_cast<size_t>(reason)]; }
    void Drop(DropReason reason) { ++dropped[static_cast<size_t>(reason)]; }
};

}  // namespace norvad::board
