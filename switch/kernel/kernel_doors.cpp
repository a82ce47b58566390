#include "switch/kernel/kernel_doors.h"

#include "switch/kernel/kernel_request_queue.h"
#include "switch/kernel/netlink_link_socket.h"
#include "switch/kernel/packet_driver_socket.h"
#include "switch/kernel/raw_socket.h"

namespace norvad {

std::unique_ptr<DriverSocket> KernelDoors::OpenDriver(const std::string& interfaceName, uint16_t protocol) {
    return std::make_unique<PacketDriverSocket>(interfaceName, protocol);
}

std::unique_ptr<FrameSocket> KernelDoors::OpenFrames(const std::string& interfaceName, uint16_t protocol) {
    return std::make_unique<RawSocket>(interfaceName, protocol, clock);
}

std::unique_ptr<LinkSocket> KernelDoors::OpenLinks() {
    return std::make_unique<NetlinkLinkSocket>();
}

std::unique_ptr<RequestQueue> KernelDoors::OpenRequests() {
    return std::make_unique<KernelRequestQueue>();
}

}  // namespace norvad
