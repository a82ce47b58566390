#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/file_descriptor.h"

namespace norvad::lab {

// What the kernel has put off for a frame between its own interfaces: checksums and cutting into segments. A frame
// that is forwarded keeps it, or it would leave with a wrong checksum. In host order; the kernel's virtio_net_hdr.
struct Offload {
    static constexpr uint8_t needsChecksum = 1;  // in flags

    uint8_t flags = 0;
    uint8_t segmentType = 0;  // 0: the frame is not to be cut
    uint16_t headerLength = 0;
    uint16_t segmentSize = 0;
    uint16_t checksumStart = 0;
    uint16_t checksumOffset = 0;
};
static_assert(sizeof(Offload) == 10);

// A packet socket on one interface: all frames that come in there, promiscuous, 802.1Q tags in place. Throws
// StartError where it cannot be opened.
class PacketPort {
public:
    struct Frame {
        std::span<const uint8_t> bytes;  // valid until the next call
        Offload offload{};
        timespec software{};  // the kernel's stamp, of the system clock; 0: none
        timespec hardware{};  // the card's stamp, of its own clock; 0: none
    };

    explicit PacketPort(const std::string& interfaceName);

    int Descriptor() const { return socket.Get(); }
    int InterfaceIndex() const { return index; }

    // The next frame that came in; nothing when none is waiting.
    std::optional<Frame> Receive();

    // The next frame that was sent to be stamped and has left.
    std::optional<Frame> ReceiveSent();

    // Waits that long at most for a stamped frame to have left.
    void WaitForSent(int milliseconds);

    // False when the interface refuses the frame.
    bool Send(std::span<const uint8_t> frame, const Offload& offload, bool stamped);

private:
    std::optional<Frame> Read(int flags);
    static void RestoreTag(Frame& frame, uint8_t* start, uint16_t tagType, uint16_t control);

    FileDescriptor socket;
    int index;
    std::vector<uint8_t> buffer;
};

}  // namespace norvad::lab
