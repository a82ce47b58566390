#include "switch/kernel/packet_driver_socket.h"

#include <linux/filter.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstring>

#include "base/log.h"
#include "switch/kernel/interface_request.h"
#include "switch/kernel/packet_address.h"
#include "switch/kernel/socket_error.h"

namespace norvad {

PacketDriverSocket::PacketDriverSocket(const std::string& interfaceName, uint16_t protocol)
    : interfaceName(interfaceName), protocol(protocol) {
    open();
}

PacketDriverSocket::~PacketDriverSocket() {
    close();
}

bool PacketDriverSocket::Request(std::span<uint8_t> record) {
    ifreq request = InterfaceRequest(interfaceName);
    request.ifr_data = reinterpret_cast<char*>(record.data());
    return ::ioctl(descriptor.Get(), SIOCDEVPRIVATE, &request) >= 0;
}

void PacketDriverSocket::open() {
    log(LogCategory::IOCTL, 3, "SwitchIoctl  :opening \n");
    descriptor = FileDescriptor(OpenPacketSocket(protocol));
    // Operators look for this text, although the call that failed is another.
    if (!descriptor.IsOpen()) FailSetUp(" setsockopt SO_BINDTODEVICE ", "unable to open socket");
    DropEverything();
    log(LogCategory::IOCTL, 3, "SwitchIoctl    :bind to %s proto %x\n", interfaceName.c_str(), protocol);
    ReadIndex();
    log(LogCategory::IOCTL, 3, "SwitchIoctl    :%s if index is %d \n", interfaceName.c_str(), interfaceIndex);
    ReadHardwareAddress();
    bind();
}

void PacketDriverSocket::close() {
    log(LogCategory::IOCTL, 3, "SwitchIoctl  :closing \n");
    (void)::shutdown(descriptor.Get(), SHUT_RDWR);  // packet sockets do not know it
    descriptor.Close();
}

// Nobody reads here: without the filter a copy of every tagged frame would fill the socket's queue for good.
void PacketDriverSocket::DropEverything() {
    sock_filter returnNothing = BPF_STMT(BPF_RET | BPF_K, 0);
    const sock_fprog program{1, &returnNothing};
    (void)::setsockopt(descriptor.Get(), SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program);
}

void PacketDriverSocket::ReadIndex() {
    ifreq request = InterfaceRequest(interfaceName);
    if (::ioctl(descriptor.Get(), SIOCGIFINDEX, &request) < 0) {
        FailSetUp("unable to get iface index ", "unable to get interface index");
    }
    interfaceIndex = request.ifr_ifindex;
}

void PacketDriverSocket::ReadHardwareAddress() {
    ifreq request = InterfaceRequest(interfaceName);
    if (::ioctl(descriptor.Get(), SIOCGIFHWADDR, &request) < 0) FailSetUp("unable to get MAC", "unable to get MAC");
    std::memcpy(interfaceMac.data(), request.ifr_hwaddr.sa_data, interfaceMac.size());
}

void PacketDriverSocket::bind() {
    const sockaddr_ll address = PacketAddress(protocol, interfaceIndex);
    if (::bind(descriptor.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        FailSetUp("unable to bind", "unable to bind");
    }
}

}  // namespace norvad
