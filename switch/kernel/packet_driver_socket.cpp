#include "switch/kernel/packet_driver_socket.h"

#include <linux/filter.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

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
    interfaceIndex =
        InterfaceIndex(descriptor.Get(), interfaceName, "unable to get iface index ", "unable to get interface index");
    log(LogCategory::IOCTL, 3, "SwitchIoctl    :%s if index is %d \n", interfaceName.c_str(), interfaceIndex);
    interfaceMac = InterfaceAddress(descriptor.Get(), interfaceName);
    BindPacketSocket(descriptor.Get(), PacketAddress(protocol, interfaceIndex));
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

}  // namespace norvad
