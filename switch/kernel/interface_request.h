#pragma once

#include <net/if.h>

#include <string>

namespace norvad {

// An interface request that names an interface. A longer name is cut at the 16 bytes there are; the kernel makes
// the last of them the terminator.
inline ifreq InterfaceRequest(const std::string& interfaceName) {
    ifreq request{};
    interfaceName.copy(request.ifr_name, IFNAMSIZ);
    return request;
}

}  // namespace norvad
