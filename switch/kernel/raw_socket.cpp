#include "switch/kernel/raw_socket.h"

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/clock.h"
#include "base/log.h"
#include "switch/kernel/interface_request.h"
#include "switch/kernel/packet_address.h"
#include "switch/kernel/socket_error.h"
#include "switch/socket_exception.h"

namespace norvad {

namespace {

// The kernel doubles it. 4 MiB hold 1,800 full frames or 5,000 short ones, each counted with its bookkeeping: what
// comes in 40 ms at 100 Mbit/s of short frames, or all that a neighbour with 10,000 streams has to say at once.
constexpr int receiveBuffer = 2 * 1024 * 1024;  // bytes

}  // namespace

RawSocket::RawSocket(Clock& clock) : clock(clock) {
    log(LogCategory::SOCKET, 3, "RawSocket  :created ");
}

RawSocket::RawSocket(const std::string& interfaceName, uint16_t protocol, Clock& clock)
    : interfaceName(interfaceName), protocol(protocol), clock(clock) {
    open();
}

RawSocket::~RawSocket() {
    if (descriptor.IsOpen()) close();
    log(LogCategory::SOCKET, 3, "RawSocket    :deleted ");
}

void RawSocket::open() {
    log(LogCategory::SOCKET, 3, "RawSocket  :opening ");
    descriptor = FileDescriptor(OpenPacketSocket(protocol));
    if (!descriptor.IsOpen()) FailSetUp(" open error ", "unable to open socket");
    HoldBursts();
    bind();
}

// A limit of the system's applies where the process may not go beyond it.
void RawSocket::HoldBursts() {
    const auto set = [this](int option) {
        return ::setsockopt(descriptor.Get(), SOL_SOCKET, option, &receiveBuffer, sizeof receiveBuffer) == 0;
    };
    (void)(set(SO_RCVBUFFORCE) || set(SO_RCVBUF));
}

void RawSocket::bind() {
    log(LogCategory::SOCKET, 3, "RawSocket    :bind to %s proto %x", interfaceName.c_str(), protocol);
    interfaceIndex =
        InterfaceIndex(descriptor.Get(), interfaceName, "unable to get index", "unable to get interface index");
    log(LogCategory::SOCKET, 3, "RawSocket    :%s if index is %d ", interfaceName.c_str(), interfaceIndex);
    address = PacketAddress(protocol, interfaceIndex);
    BindPacketSocket(descriptor.Get(), address);
}

void RawSocket::waitForInterface() {
    log(LogCategory::SOCKET, 3, "RawSocket    :wait for %s index is %d ", interfaceName.c_str(), interfaceIndex);
    ifreq request = InterfaceRequest(interfaceName);
    do {
        request.ifr_flags = 0;
        if (::ioctl(descriptor.Get(), SIOCGIFFLAGS, &request) < 0) {
            std::perror("unable get SIOCGIFFLAGS");
            log(LogCategory::SOCKET, 0, "RawSocket    :unable get SIOCGIFFLAGS");
        }
        clock.Sleep(200);
    } while ((request.ifr_flags & IFF_RUNNING) == 0);
    log(LogCategory::SOCKET, 3, "RawSocket    : iface ready");
}

MacAddress RawSocket::HardwareAddress() const {
    return InterfaceAddress(descriptor.Get(), interfaceName);
}

void RawSocket::addMulticast(const MacAddress& group) {
    addMulticast(std::span<const MacAddress>(&group, 1));
}

void RawSocket::addMulticast(std::span<const MacAddress> groups) {
    log(LogCategory::SOCKET, 3, "RawSocket    : add multicast");
    const int32_t index = InterfaceIndex(descriptor.Get(), interfaceName, "unable to get index",
                                         "unable to get interface index to add multicast");
    for (const MacAddress& group : groups) {
        packet_mreq membership{};
        membership.mr_ifindex = index;
        membership.mr_type = PACKET_MR_MULTICAST;
        membership.mr_alen = static_cast<unsigned short>(group.size());
        std::memcpy(membership.mr_address, group.data(), group.size());
        if (::setsockopt(descriptor.Get(), SOL_PACKET, PACKET_ADD_MEMBERSHIP, &membership, sizeof membership) < 0) {
            FailSetUp("unable to add multicast", "unable to add multicast");
        }
    }
}

ssize_t RawSocket::write(const uint8_t* frame, size_t length) {
    address.sll_halen = 6;
    std::memcpy(address.sll_addr, frame, std::min(length, sizeof address.sll_addr));
    return ::sendto(descriptor.Get(), frame, length, 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

// An interface that goes down between poll and here leaves ENETDOWN to be reported once, before the frame that
// poll saw; that report ends nothing.
size_t RawSocket::read(uint8_t* buffer, size_t capacity) {
    ssize_t received;
    do {
        received = ::recv(descriptor.Get(), buffer, capacity, 0);
    } while (received < 0 && errno == ENETDOWN);
    if (received < 0) throw SocketException(" read error ");
    if (received == 0) throw SocketException(" read disconnect ");
    return static_cast<size_t>(received);
}

int RawSocket::TakeError() {
    return TakeSocketError(descriptor.Get());
}

void RawSocket::close() {
    log(LogCategory::SOCKET, 3, "RawSocket  :closing ");
    (void)::shutdown(descriptor.Get(), SHUT_RDWR);  // packet sockets do not know it
    descriptor.Close();
}

}  // namespace norvad
