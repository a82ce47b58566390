#include "lab/virtual_switch/link_socket.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <sstream>

#include "lab/common/errors.h"

namespace norvad::board {

using namespace lab;

namespace {

constexpr size_t bufferSize = 65536;

sockaddr_nl Address(uint32_t groups) {
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = groups;
    return address;
}

FileDescriptor Open(uint32_t groups, int flags) {
    FileDescriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | flags, NETLINK_ROUTE));
    if (!socket.IsOpen()) ThrowErrno("cannot open a netlink socket");
    const auto address = Address(groups);
    if (bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        ThrowErrno("cannot bind a netlink socket");
    }
    return socket;
}

uint32_t PortOf(const FileDescriptor& socket) {
    sockaddr_nl address{};
    socklen_t length = sizeof(address);
    getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&address), &length);
    return address.nl_pid;
}

}  // namespace

BoardLinkSocket::BoardLinkSocket()
    : requests(Open(0, 0)), events(Open(RTMGRP_LINK, SOCK_NONBLOCK)), ownPort(PortOf(events)), buffer(bufferSize) {}

int BoardLinkSocket::Request(const NetlinkBytes& request) {
    if (send(requests.Get(), request.data(), request.size(), 0) < 0) return errno;
    while (true) {
        const ssize_t length = recv(requests.Get(), buffer.data(), buffer.size(), 0);
        if (length < 0 && errno == EINTR) continue;
        if (length < 0) return errno;
        if (const auto error = ParseAcknowledgement({buffer.data(), static_cast<size_t>(length)})) return *error;
    }
}

void BoardLinkSocket::Query(const std::string& name) {
    const auto request = QueryRequest(name);
    (void)send(events.Get(), request.data(), request.size(), 0);
}

std::vector<LinkChange> BoardLinkSocket::Changes() {
    std::vector<LinkChange> changes;
    while (true) {
        const ssize_t length = recv(events.Get(), buffer.data(), buffer.size(), 0);
        if (length < 0 && (errno == EINTR || errno == ENOBUFS)) continue;
        if (length <= 0) return changes;
        const auto more = ParseLinkChanges({buffer.data(), static_cast<size_t>(length)});
        changes.insert(changes.end(), more.begin(), more.end());
    }
}

// Sent by the socket that watches, because a multicast does not come back to its sender.
void BoardLinkSocket::Report(const NetlinkBytes& message) {
    const auto address = Address(RTMGRP_LINK);
    (void)sendto(events.Get(), message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                 sizeof(address));
}

bool BoardLinkSocket::HasNewSubscriber() {
    std::ifstream file("/proc/self/net/netlink");
    std::stringstream table;
    table << file.rdbuf();
    auto now = LinkSubscribers(table.str(), ownPort);
    const bool isNew = !std::includes(subscribers.begin(), subscribers.end(), now.begin(), now.end());
    subscribers = std::move(now);
    return isNew;
}

}  // namespace norvad::board
