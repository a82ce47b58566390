#include "switch/kernel/interface_request.h"

#include <sys/ioctl.h>

#include "switch/kernel/socket_error.h"

namespace norvad {

int32_t InterfaceIndex(int socket, const std::string& interfaceName, const char* text, const char* message) {
    ifreq request = InterfaceRequest(interfaceName);
    if (::ioctl(socket, SIOCGIFINDEX, &request) < 0) FailSetUp(text, message);
    return request.ifr_ifindex;
}

MacAddress InterfaceAddress(int socket, const std::string& interfaceName) {
    ifreq request = InterfaceRequest(interfaceName);
    if (::ioctl(socket, SIOCGIFHWADDR, &request) < 0) FailSetUp("unable to get MAC", "unable to get MAC");
    return MacAddressAt(reinterpret_cast<const uint8_t*>(request.ifr_hwaddr.sa_data));
}

}  // namespace norvad
