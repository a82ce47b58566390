#include "lab/virtual_switch/cpu_interface.h"

#include <net/if.h>

#include <cerrno>
#include <fstream>

#include "lab/common/errors.h"

namespace norvad::board {

using namespace lab;

namespace {

constexpr uint32_t mtu = 1600;  // the CPU tag and a VLAN tag come on top of the largest frame

constexpr const char* switchEnd = "cpu";

// The interface carries switch frames only. A kernel without IPv6 has nothing to switch off.
void DisableIpv6(const std::string& name) {
    std::ofstream("/proc/sys/net/ipv6/conf/" + name + "/disable_ipv6") << "1";
}

void BringUp(BoardLinkSocket& links, const std::string& name) {
    DisableIpv6(name);
    if (const int error = links.Request(BringUpRequest(name))) ThrowErrno("cannot bring up interface " + name, error);
}

}  // namespace

CpuInterface::CpuInterface(BoardLinkSocket& links, const std::string& name, std::optional<MacAddress> wanted)
    : links(links), name(name) {
    const int error = links.Request(MakePairRequest(name, switchEnd, network.Descriptor(), wanted, mtu));
    if (error == EEXIST) throw StartError("interface " + name + " exists already");
    if (error != 0) ThrowErrno("cannot make interface " + name, error);
    BringUp(links, name);
    address = InterfaceAddress(name);
    index = static_cast<int>(if_nametoindex(name.c_str()));

    const WithinNetwork inside(network);
    BoardLinkSocket linksInside;
    BringUp(linksInside, switchEnd);
}

PacketPort CpuInterface::OpenSwitchEnd() const {
    const WithinNetwork inside(network);
    return PacketPort(switchEnd, {.promiscuous = true});
}

CpuInterface::~CpuInterface() {
    (void)links.Request(RemoveRequest(name));
}

}  // namespace norvad::board
