#include "lab/common/packet_port.h"

#include <linux/errqueue.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <linux/net_tstamp.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <bit>
#include <cstring>

#include "base/wire.h"
#include "lab/common/errors.h"

namespace norvad::lab {

namespace {

constexpr size_t largestFrame = 65536 + 64;        // the kernel hands over frames that it has not cut yet
constexpr int socketBufferSize = 4 * 1024 * 1024;  // bursts, while other ports are served
constexpr size_t tagRoom = sizeof(VlanTagBytes);

template <typename Value>
void SetOption(const FileDescriptor& socket, int level, int option, const Value& value, const std::string& what) {
    if (setsockopt(socket.Get(), level, option, &value, sizeof(value)) != 0) ThrowErrno(what);
}

int IndexOf(const std::string& interfaceName) {
    const unsigned index = if_nametoindex(interfaceName.c_str());
    if (index == 0) throw StartError("no interface " + interfaceName);
    return static_cast<int>(index);
}

FileDescriptor Open(const std::string& interfaceName, int index, const PacketPortSettings& settings) {
    // Bound before it receives anything, or frames of other interfaces would be in it.
    FileDescriptor socket(::socket(AF_PACKET, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket.IsOpen()) ThrowErrno("cannot open a packet socket");
    const auto what = "cannot set up a packet socket on " + interfaceName;

    const int cardStamps = settings.cardStamps ? SOF_TIMESTAMPING_RX_HARDWARE | SOF_TIMESTAMPING_RAW_HARDWARE : 0;
    SetOption(socket, SOL_PACKET, PACKET_IGNORE_OUTGOING, 1, what);
    SetOption(socket, SOL_PACKET, PACKET_AUXDATA, 1, what);
    SetOption(socket, SOL_PACKET, PACKET_VNET_HDR, 1, what);
    SetOption(socket, SOL_SOCKET, SO_TIMESTAMPING,
              SOF_TIMESTAMPING_RX_SOFTWARE | SOF_TIMESTAMPING_SOFTWARE | cardStamps, what);
    if (setsockopt(socket.Get(), SOL_SOCKET, SO_RCVBUFFORCE, &socketBufferSize, sizeof(socketBufferSize)) != 0) {
        SetOption(socket, SOL_SOCKET, SO_RCVBUF, socketBufferSize, what);
    }

    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = std::bit_cast<uint16_t>(boost::endian::big_uint16_t(ETH_P_ALL));
    address.sll_ifindex = index;
    if (bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) ThrowErrno(what);

    packet_mreq membership{};
    membership.mr_ifindex = index;
    membership.mr_type = settings.promiscuous ? PACKET_MR_PROMISC : PACKET_MR_ALLMULTI;
    SetOption(socket, SOL_PACKET, PACKET_ADD_MEMBERSHIP, membership, what);
    return socket;
}

std::optional<int64_t> StampOf(const timespec& time) {
    if (time.tv_sec == 0 && time.tv_nsec == 0) return {};
    return Nanoseconds(time);
}

template <typename Value>
Value Content(const cmsghdr& message) {
    Value value{};
    std::memcpy(&value, CMSG_DATA(&message), sizeof(value));
    return value;
}

}  // namespace

PacketPort::PacketPort(const std::string& interfaceName, const PacketPortSettings& settings)
    : name(interfaceName),
      settings(settings),
      index(IndexOf(interfaceName)),
      socket(Open(interfaceName, index, settings)),
      buffer(tagRoom + largestFrame) {}

bool PacketPort::HasInterface() const {
    return if_nametoindex(name.c_str()) == static_cast<unsigned>(index);
}

std::optional<PacketPort::Frame> PacketPort::Receive() {
    return Read(0);
}

std::optional<PacketPort::Frame> PacketPort::ReceiveSent() {
    return Read(MSG_ERRQUEUE);
}

void PacketPort::WaitForSent(int milliseconds) {
    pollfd set{socket.Get(), 0, 0};  // an error queue with something in it is reported without being asked for
    (void)poll(&set, 1, milliseconds);
}

std::optional<PacketPort::Frame> PacketPort::Read(int flags) {
    Frame frame;
    std::array<iovec, 2> parts{{{&frame.offload, sizeof(frame.offload)}, {buffer.data() + tagRoom, largestFrame}}};
    const bool isSent = (flags & MSG_ERRQUEUE) != 0;  // sent frames come without the offload header
    alignas(cmsghdr) std::array<uint8_t, 512> control;
    msghdr message{};
    message.msg_iov = isSent ? &parts[1] : parts.data();
    message.msg_iovlen = isSent ? 1 : 2;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t received = recvmsg(socket.Get(), &message, flags);
    const ssize_t length = isSent ? received : received - static_cast<ssize_t>(sizeof(frame.offload));
    if (received < 0 || length < 0) return {};

    frame.bytes = {buffer.data() + tagRoom, static_cast<size_t>(length)};
    for (auto* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_TIMESTAMPING) {
            const auto stamps = Content<scm_timestamping>(*part);
            frame.stamps = {StampOf(stamps.ts[0]), StampOf(stamps.ts[2])};
        }
        if (part->cmsg_level == SOL_PACKET && part->cmsg_type == PACKET_AUXDATA) {
            const auto auxiliary = Content<tpacket_auxdata>(*part);
            const bool hasType = (auxiliary.tp_status & TP_STATUS_VLAN_TPID_VALID) != 0;
            if ((auxiliary.tp_status & TP_STATUS_VLAN_VALID) == 0) continue;
            PlaceTag(frame, hasType ? auxiliary.tp_vlan_tpid : etherTypeVlan, auxiliary.tp_vlan_tci);
        }
    }
    return frame;
}

// The kernel takes the tag out of a frame; the addresses move up, into the room in front, to let it in again.
void PacketPort::PlaceTag(Frame& frame, uint16_t tagType, uint16_t control) {
    if (settings.tagsBeside) frame.tag = TagOf(control);
    if (settings.tagsBeside || frame.bytes.size() < sizeof(EthernetHeader)) return;
    const std::span tagged(buffer.data(), frame.bytes.size() + tagRoom);
    std::memmove(tagged.data(), frame.bytes.data(), 2 * sizeof(MacAddress));
    Put(tagged, offsetof(EthernetHeader, etherType), VlanTagBytes{tagType, control});
    frame.bytes = tagged;

    auto& offload = frame.offload;
    if ((offload.flags & Offload::needsChecksum) != 0) {
        offload.checksumStart = static_cast<uint16_t>(offload.checksumStart + tagRoom);
    }
    if (offload.segmentType != 0) offload.headerLength = static_cast<uint16_t>(offload.headerLength + tagRoom);
}

bool PacketPort::SendStamped(std::span<const uint8_t> frame, const Offload& offload) {
    const uint32_t byTheCard = settings.cardStamps ? SOF_TIMESTAMPING_TX_HARDWARE : 0;
    return Send(frame, offload, SOF_TIMESTAMPING_TX_SOFTWARE | byTheCard);
}

bool PacketPort::Send(std::span<const uint8_t> frame, Offload offload, uint32_t stamps) {
    std::array<iovec, 2> parts{{{&offload, sizeof(offload)}, {const_cast<uint8_t*>(frame.data()), frame.size()}}};
    alignas(cmsghdr) std::array<uint8_t, CMSG_SPACE(sizeof(stamps))> control{};
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = parts.size();
    if (stamps != 0) {
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        auto* part = CMSG_FIRSTHDR(&message);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SO_TIMESTAMPING;
        part->cmsg_len = CMSG_LEN(sizeof(stamps));
        std::memcpy(CMSG_DATA(part), &stamps, sizeof(stamps));
    }
    return sendmsg(socket.Get(), &message, 0) == static_cast<ssize_t>(frame.size() + sizeof(offload));
}

int PacketPort::Unsent() const {
    int bytes = 0;
    return ioctl(socket.Get(), SIOCOUTQ, &bytes) < 0 ? 0 : bytes;
}

MacAddress InterfaceAddress(const std::string& name) {
    const FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request{};
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    if (ioctl(socket.Get(), SIOCGIFHWADDR, &request) != 0) ThrowErrno("cannot read the address of " + name);
    if (request.ifr_hwaddr.sa_family != ARPHRD_ETHER) throw StartError(name + " is no Ethernet interface");
    MacAddress address;
    std::memcpy(address.data(), request.ifr_hwaddr.sa_data, address.size());
    return address;
}

}  // namespace norvad::lab
