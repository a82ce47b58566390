#pragma once

#include <net/if.h>

#include <cstdint>
#include <string>

#include "base/mac_address.h"

namespace norvad {

// An interface request that names an interface. A longer name is cut at the 16 bytes there are; the kernel makes
// the last of them the terminator.
inline ifreq InterfaceRequest(const std::string& interfaceName) {
    ifreq request{};
    interfaceName.copy(request.ifr_name, IFNAMSIZ);
    return request;
}

// What the kernel says of an interface, asked through any socket. A refusal is a failed set-up (socket_error.h), of the
// index with the caller's texts.
int32_t InterfaceIndex(int socket, const std::string& interfaceName, const char* text, const char* message);
MacAddress InterfaceAddress(int socket, const std::string& interfaceName);

}  // namespace norvad
