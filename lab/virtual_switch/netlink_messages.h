#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/mac_address.h"

namespace norvad::board {

// The route netlink messages of the board, as bytes. They carry the sequence number 1.

using NetlinkBytes = std::vector<uint8_t>;

// Makes a pair of virtual Ethernet interfaces, both down, the peer in the network namespace of that descriptor;
// address: that of the first end, if not random.
NetlinkBytes MakePairRequest(const std::string& name, const std::string& peer, int peerNetwork,
                             std::optional<MacAddress> address, uint32_t mtu);
NetlinkBytes BringUpRequest(const std::string& name);
NetlinkBytes RemoveRequest(const std::string& name);

// Asks for one interface; the answer is a link message.
NetlinkBytes QueryRequest(const std::string& name);

// How the switch driver tells of its ports: a bridge-family link message about the CPU interface, whose attribute
// 10 holds four bits for each port.
NetlinkBytes PortLinkReport(const std::string& cpuInterface, uint32_t value);

// What a link message says of an interface.
struct LinkChange {
    int index;
    bool on;  // switched on
    bool up;  // and with carrier
};

// The link messages of a datagram, those of the bridge family left out; a removed interface is one without link.
std::vector<LinkChange> ParseLinkChanges(std::span<const uint8_t> datagram);

// The error number in an acknowledgement; nothing when the datagram is none.
std::optional<int> ParseAcknowledgement(std::span<const uint8_t> datagram);

// The sockets that listen to link messages, by inode, out of the text of /proc/net/netlink; the one bound to
// ownPort is left out.
std::set<uint64_t> LinkSubscribers(std::string_view table, uint32_t ownPort);

}  // namespace norvad::board
