#include "lab/virtual_switch/link_socket.h"

#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <sstream>

#include "lab/common/errors.h"

namespace norvad::board {

using namespace lab;

void BoardLinkSocket::Close::operator()(mnl_socket* socket) const {
    (void)mnl_socket_close(socket);
}

BoardLinkSocket::Socket BoardLinkSocket::Open(uint32_t groups, int flags) {
    Socket socket(mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC | flags));
    if (!socket) ThrowErrno("cannot open a netlink socket");
    if (mnl_socket_bind(socket.get(), groups, MNL_SOCKET_AUTOPID) != 0) ThrowErrno("cannot bind a netlink socket");
    return socket;
}

BoardLinkSocket::BoardLinkSocket() : requests(Open(0, 0)), events(Open(RTMGRP_LINK, SOCK_NONBLOCK)) {}

int BoardLinkSocket::Descriptor() const {
    return mnl_socket_get_fd(events.get());
}

int BoardLinkSocket::Request(const NetlinkBytes& request) {
    if (mnl_socket_sendto(requests.get(), request.data(), request.size()) < 0) return errno;
    while (const auto answer = Receive(requests)) {
        if (const auto error = ParseAcknowledgement(*answer)) return *error;
    }
    return errno;
}

void BoardLinkSocket::Query(const std::string& name) {
    const auto request = QueryRequest(name);
    (void)mnl_socket_sendto(events.get(), request.data(), request.size());
}

std::vector<LinkChange> BoardLinkSocket::Changes() {
    std::vector<LinkChange> changes;
    while (const auto datagram = Receive(events)) {
        const auto more = ParseLinkChanges(*datagram);
        changes.insert(changes.end(), more.begin(), more.end());
    }
    return changes;
}

// Nothing, and errno says why, when there is none. What was lost on the way is not waited for.
std::optional<std::span<const uint8_t>> BoardLinkSocket::Receive(const Socket& socket) {
    ssize_t length;
    do {
        length = mnl_socket_recvfrom(socket.get(), buffer.data(), buffer.size());
    } while (length < 0 && (errno == EINTR || errno == ENOBUFS));
    if (length <= 0) return {};
    return std::span(buffer).first(static_cast<size_t>(length));
}

// Sent by the socket that watches, because a multicast does not come back to its sender.
void BoardLinkSocket::Report(const NetlinkBytes& message) {
    sockaddr_nl group{};
    group.nl_family = AF_NETLINK;
    group.nl_groups = RTMGRP_LINK;
    (void)sendto(Descriptor(), message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&group),
                 sizeof(group));
}

bool BoardLinkSocket::HasNewSubscriber() {
    std::ifstream file("/proc/self/net/netlink");
    std::stringstream table;
    table << file.rdbuf();
    auto now = LinkSubscribers(table.str(), mnl_socket_get_portid(events.get()));
    const bool isNew = !std::includes(subscribers.begin(), subscribers.end(), now.begin(), now.end());
    subscribers = std::move(now);
    return isNew;
}

}  // namespace norvad::board
