#pragma once

#include "base/file_descriptor.h"
#include "switch/doors.h"

namespace norvad {

// A route netlink socket in the link group; without a word, none when it cannot be opened.
class NetlinkLinkSocket final : public LinkSocket {
public:
    NetlinkLinkSocket();

    int Descriptor() const override { return descriptor.Get(); }
    uint32_t PortId() const override;
    ssize_t Send(std::span<const uint8_t> message) override;
    ssize_t Receive(std::span<uint8_t> datagram) override;
    int TakeError() override;

private:
    FileDescriptor descriptor;
};

}  // namespace norvad
