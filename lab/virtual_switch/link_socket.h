#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "lab/virtual_switch/netlink_messages.h"

struct mnl_socket;

namespace norvad::board {

// Route netlink of the board's network namespace: makes the CPU interface, watches the external ones and speaks to
// the listeners of the link group as a switch driver does. Throws StartError where it cannot be opened.
class BoardLinkSocket {
public:
    BoardLinkSocket();

    int Descriptor() const;

    // Sends a request and waits for its acknowledgement; 0 or an errno value.
    int Request(const NetlinkBytes& request);

    // Asks for the state of an interface, which then comes as a change.
    void Query(const std::string& name);

    // What has happened to interfaces since the last call.
    std::vector<LinkChange> Changes();

    // Multicasts to the listeners of the link group.
    void Report(const NetlinkBytes& message);

    // Whether somebody has begun to listen to the link group since the last call.
    bool HasNewSubscriber();

private:
    struct Close {
        void operator()(mnl_socket* socket) const;
    };
    using Socket = std::unique_ptr<mnl_socket, Close>;

    static Socket Open(uint32_t groups, int flags);
    std::optional<std::span<const uint8_t>> Receive(const Socket& socket);

    Socket requests;
    Socket events;
    std::set<uint64_t> subscribers;
    alignas(8) std::array<uint8_t, 65536> buffer;
};

}  // namespace norvad::board
