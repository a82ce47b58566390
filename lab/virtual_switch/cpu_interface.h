#pragma once

#include <optional>
#include <string>

#include "base/mac_address.h"
#include "lab/common/packet_port.h"
#include "lab/virtual_switch/link_socket.h"
#include "lab/virtual_switch/network_namespace.h"

namespace norvad::board {

// The interface between the CPU and the switch: a pair of virtual Ethernet interfaces, the daemon's end under the
// given name and the switch's in a network namespace of its own, which the kernel takes down with both of them when
// the board is no more, however it ended. Throws StartError where it cannot be made.
class CpuInterface {
public:
    CpuInterface(BoardLinkSocket& links, const std::string& name, std::optional<MacAddress> address);
    CpuInterface(const CpuInterface&) = delete;
    CpuInterface& operator=(const CpuInterface&) = delete;
    ~CpuInterface();

    const std::string& Name() const { return name; }
    lab::PacketPort OpenSwitchEnd() const;
    const MacAddress& Address() const { return address; }
    int Index() const { return index; }

private:
    BoardLinkSocket& links;
    std::string name;
    NetworkNamespace network;  // of the switch's end
    MacAddress address{};
    int index = 0;
};

}  // namespace norvad::board
