#include "switch/kernel/interface_wait.h"

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstdlib>

#include "base/clock.h"
#include "base/file_descriptor.h"
#include "switch/kernel/interface_request.h"

namespace norvad {

void WaitForInterface(const std::string& interfaceName, Clock& clock) {
    const FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request = InterfaceRequest(interfaceName);
    do {
        if (::ioctl(socket.Get(), SIOCGIFFLAGS, &request) < 0) {
            std::perror("SIOCGIFFLAGS");
            std::printf("Error getting Interface flags !");
            std::printf("Problem interface: %s\n", interfaceName.c_str());
            std::exit(-1);
        }
        clock.Sleep(200);
    } while ((request.ifr_flags & IFF_RUNNING) == 0);
}

}  // namespace norvad
