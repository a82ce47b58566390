#include "tests/support/system/wire.h"

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace norvad::test {

namespace {

FileDescriptor OpenOn(const std::string& interface, uint16_t protocol) {
    FileDescriptor socket(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0));
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(protocol);
    address.sll_ifindex = static_cast<int>(if_nametoindex(interface.c_str()));
    const int on = 1;
    const void* bytes = &address;
    if (setsockopt(socket.Get(), SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on) != 0 ||
        bind(socket.Get(), static_cast<const sockaddr*>(bytes), sizeof address) != 0)
        throw std::runtime_error("no packet socket on " + interface + ": " + strerror(errno));
    return socket;
}

}  // namespace

FileDescriptor ListenOn(const std::string& interface) {
    FileDescriptor socket = OpenOn(interface, ETH_P_ALL);
    const int bufferSize = 8 << 20;
    setsockopt(socket.Get(), SOL_SOCKET, SO_RCVBUFFORCE, &bufferSize, sizeof bufferSize);
    return socket;
}

FileDescriptor SendTo(const std::string& interface) {
    return OpenOn(interface, 0);
}

void Wire::Send(const Bytes& frame) {
    if (!TrySend(frame)) throw std::runtime_error("frame not sent: " + std::string(strerror(errno)));
}

bool Wire::TrySend(const Bytes& frame) {
    return send(socket.Get(), frame.data(), frame.size(), 0) == static_cast<ssize_t>(frame.size());
}

const std::vector<Bytes>& Wire::Received() {
    std::array<uint8_t, 65536> buffer;
    for (;;) {
        const ssize_t length = recv(socket.Get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
        // An interface that went down reports that once, and what follows is still to be read.
        if (length < 0 && errno == ENETDOWN) continue;
        if (length < 0) return received;
        received.emplace_back(buffer.begin(), buffer.begin() + length);
    }
}

std::optional<Bytes> Wire::WaitForFrame(const Filter& filter, size_t skipped, std::chrono::milliseconds deadline) {
    std::optional<Bytes> found;
    size_t next = skipped;
    const auto arrived = [&] {
        for (const auto& frames = Received(); next < frames.size() && !found; ++next)
            if (filter(frames[next])) found = frames[next];
        return found.has_value();
    };
    WaitFor(arrived, deadline);
    return found;
}

}  // namespace norvad::test
