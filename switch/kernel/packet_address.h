#pragma once

#include <linux/if_packet.h>
#include <sys/socket.h>

#include <boost/endian/conversion.hpp>
#include <cstdint>

#include "switch/kernel/socket_error.h"

namespace norvad {

// Where a packet socket for one EtherType (host order) is bound: on one interface.
inline sockaddr_ll PacketAddress(uint16_t protocol, int32_t interfaceIndex) {
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = boost::endian::native_to_big(protocol);
    address.sll_ifindex = interfaceIndex;
    return address;
}

// A raw packet socket for one EtherType; the descriptor, or -1 with errno set.
inline int OpenPacketSocket(uint16_t protocol) {
    return ::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, boost::endian::native_to_big(protocol));
}

inline void BindPacketSocket(int socket, const sockaddr_ll& address) {
    if (::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        FailSetUp("unable to bind", "unable to bind");
    }
}

}  // namespace norvad
