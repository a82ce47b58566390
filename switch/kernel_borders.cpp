#include "switch/kernel_borders.h"

#include "switch/kernel_request_queue.h"
#include "switch/netlink_link_socket.h"
#include "switch/packet_driver_socket.h"
#include "switch/raw_socket.h"

namespace norvad {

std::unique_ptr<DriverSocket> KernelBorders::OpenDriver(const std::string& interfaceName, uint16_t protocol) {
    return std::make_unique<PacketDriverSocket>(interfaceName, protocol);
}

std::unique_ptr<FrameSocket> KernelBorders::OpenFrames(const std::string& interfaceName, uint16_t protocol) {
    return std::make_unique<RawSocket>(interfaceName, protocol, clock);
}

std::unique_ptr<LinkSocket> KernelBorders::OpenLinks() {
    return std::make_unique<NetlinkLinkSocket>();
}

std::unique_ptr<RequestQueue> KernelBorders::OpenRequests() {
    return std::make_unique<KernelRequestQueue>();
}

}  // namespace norvad
