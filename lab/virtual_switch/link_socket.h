#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "base/file_descriptor.h"
#include "lab/virtual_switch/netlink_messages.h"

namespace norvad::board {

// Route netlink of the board's network namespace: makes the CPU interface, watches the external ones and speaks to
// the listeners of the link group as a switch driver does. Throws StartError where it cannot be opened.
class BoardLinkSocket {
public:
    BoardLinkSocket();

    int Descriptor() const { return events.Get(); }

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
    FileDescriptor requests;
    FileDescriptor events;
    uint32_t ownPort;
    std::set<uint64_t> subscribers;
    std::vector<uint8_t> buffer;
};

}  // namespace norvad::board
