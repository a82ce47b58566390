#include "lab/virtual_switch/status_server.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>

#include "lab/common/errors.h"

namespace norvad::board {

using namespace lab;

namespace {

constexpr size_t maximumClients = 16;

sockaddr_un Address(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) throw StartError("the path of the status socket is too long: " + path);
    path.copy(address.sun_path, path.size());
    return address;
}

FileDescriptor Open(int flags) {
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
    if (!socket.IsOpen()) ThrowErrno("cannot open a local socket");
    return socket;
}

bool Connect(const FileDescriptor& socket, const std::string& path) {
    const auto address = Address(path);
    return connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

FileDescriptor Listen(const std::string& path) {
    if (Connect(Open(0), path)) throw StartError("another board serves its status at " + path);
    if (errno == ECONNREFUSED) unlink(path.c_str());
    auto socket = Open(SOCK_NONBLOCK);
    const auto address = Address(path);
    if (bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(socket.Get(), maximumClients) != 0) {
        ThrowErrno("cannot serve status at " + path);
    }
    return socket;
}

}  // namespace

StatusServer::StatusServer(const std::string& path, Report report)
    : path(path), report(std::move(report)), listener(Listen(path)), poll(epoll_create1(EPOLL_CLOEXEC)) {
    epoll_event event{EPOLLIN, {.fd = listener.Get()}};
    epoll_ctl(poll.Get(), EPOLL_CTL_ADD, listener.Get(), &event);
}

StatusServer::~StatusServer() {
    unlink(path.c_str());
}

void StatusServer::Serve() {
    std::array<epoll_event, maximumClients> events;
    const int count = epoll_wait(poll.Get(), events.data(), static_cast<int>(events.size()), 0);
    for (int i = 0; i < count; ++i) {
        const int descriptor = events[static_cast<size_t>(i)].data.fd;
        if (descriptor == listener.Get()) {
            Accept();
        } else {
            Continue(descriptor);
        }
    }
}

void StatusServer::Accept() {
    FileDescriptor socket(accept4(listener.Get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!socket.IsOpen() || clients.size() >= maximumClients) return;
    const int descriptor = socket.Get();
    epoll_event event{EPOLLOUT, {.fd = descriptor}};
    epoll_ctl(poll.Get(), EPOLL_CTL_ADD, descriptor, &event);
    clients[descriptor] = {std::move(socket), report()};
    Continue(descriptor);
}

void StatusServer::Continue(int descriptor) {
    const auto found = clients.find(descriptor);
    if (found == clients.end()) return;
    auto& client = found->second;
    const ssize_t sent = send(descriptor, client.rest.data(), client.rest.size(), MSG_NOSIGNAL);
    if (sent < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (sent > 0) client.rest.erase(0, static_cast<size_t>(sent));
    if (sent < 0 || client.rest.empty()) clients.erase(found);
}

void PrintStatus(const std::string& path) {
    const auto socket = Open(0);
    if (!Connect(socket, path)) ThrowErrno("no board serves its status at " + path);
    std::array<char, 4096> text;
    ssize_t length;
    while ((length = read(socket.Get(), text.data(), text.size())) > 0) {
        std::fwrite(text.data(), 1, static_cast<size_t>(length), stdout);
    }
}

}  // namespace norvad::board
