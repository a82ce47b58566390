#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/file_descriptor.h"
#include "base/mac_address.h"
#include "lab/common/ethernet_frame.h"
#include "lab/common/frame_stamps.h"

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

struct PacketPortSettings {
    bool promiscuous = false;  // hears all frames; else those to the interface's address and to every group
    bool tagsBeside = false;   // 802.1Q tags stand beside the frame that had them; else in their place
    bool cardStamps = false;   // asks for the stamps of the card too
};

// A packet socket on one interface, which stamps what comes in and, where it is asked for, what leaves. Throws
// StartError where it cannot be opened.
class PacketPort {
public:
    struct Frame {
        std::span<const uint8_t> bytes;  // valid until the next call
        std::optional<VlanTag> tag;      // only where tags stand beside
        Offload offload{};
        FrameStamps stamps;
    };

    PacketPort(const std::string& interfaceName, const PacketPortSettings& settings);

    int Descriptor() const { return socket.Get(); }
    int InterfaceIndex() const { return index; }

    // False for good once the interface was removed; one that only went down comes back.
    bool HasInterface() const;

    // The next frame that came in; nothing when none is waiting.
    std::optional<Frame> Receive();

    // The next frame that was sent to be stamped and has left.
    std::optional<Frame> ReceiveSent();

    // Waits that long at most for a stamped frame to have left.
    void WaitForSent(int milliseconds);

    // False when the interface refuses the frame.
    bool Send(std::span<const uint8_t> frame, const Offload& offload = {}) { return Send(frame, offload, 0); }
    bool SendStamped(std::span<const uint8_t> frame, const Offload& offload = {});

    // Bytes that are on their way out.
    int Unsent() const;

private:
    std::optional<Frame> Read(int flags);
    void PlaceTag(Frame& frame, uint16_t tagType, uint16_t control);
    bool Send(std::span<const uint8_t> frame, Offload offload, uint32_t stamps);

    std::string name;
    PacketPortSettings settings;
    int index;
    FileDescriptor socket;
    std::vector<uint8_t> buffer;
};

// The address of an Ethernet interface; throws StartError where there is none of that name.
MacAddress InterfaceAddress(const std::string& name);

}  // namespace norvad::lab
