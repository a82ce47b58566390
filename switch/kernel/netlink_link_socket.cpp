#include "switch/kernel/netlink_link_socket.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include "switch/kernel/socket_error.h"

namespace norvad {

namespace {

// Port id 0 is the kernel.
sockaddr_nl NetlinkAddress(uint32_t portId, uint32_t groups) {
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_pid = portId;
    address.nl_groups = groups;
    return address;
}

}  // namespace

NetlinkLinkSocket::NetlinkLinkSocket() : descriptor(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE)) {
    const sockaddr_nl own = NetlinkAddress(PortId(), RTMGRP_LINK);
    const auto* address = reinterpret_cast<const sockaddr*>(&own);
    if (descriptor.IsOpen() && ::bind(descriptor.Get(), address, sizeof own) < 0) descriptor.Close();
}

// The process has no other route netlink socket, so its id is free.
uint32_t NetlinkLinkSocket::PortId() const {
    return static_cast<uint32_t>(::getpid());
}

ssize_t NetlinkLinkSocket::Send(std::span<const uint8_t> message) {
    const sockaddr_nl kernel = NetlinkAddress(0, 0);
    return ::sendto(descriptor.Get(), message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&kernel),
                    sizeof kernel);
}

ssize_t NetlinkLinkSocket::Receive(std::span<uint8_t> datagram) {
    return ::recv(descriptor.Get(), datagram.data(), datagram.size(), MSG_DONTWAIT);
}

int NetlinkLinkSocket::TakeError() {
    return TakeSocketError(descriptor.Get());
}

}  // namespace norvad
