#include "lab/end_station/packet_port.h"

#include <linux/errqueue.h>
#include <linux/if_packet.h>
#include <linux/net_tstamp.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <system_error>

#include "lab/common/time.h"

namespace norvad::station {

using namespace lab;

namespace {

constexpr uint16_t everyProtocol = 0x0003;  // ETH_P_ALL

uint16_t NetworkOrder(uint16_t value) {
    const boost::endian::big_uint16_t ordered(value);
    uint16_t raw;
    std::memcpy(&raw, &ordered, sizeof(raw));
    return raw;
}

[[noreturn]] void Fail(const std::string& what, int error) {
    std::string text = what + ": " + std::generic_category().message(error);
    if (error == EPERM || error == EACCES) text += " (run as root, or with CAP_NET_RAW)";
    throw std::runtime_error(text);
}

uint64_t Nanoseconds(const timespec& time) {
    return static_cast<uint64_t>(time.tv_sec) * nsPerSecond + static_cast<uint64_t>(time.tv_nsec);
}

uint64_t TimeOfDayNs() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return Nanoseconds(now);
}

// A message's buffers, and the walk over what the kernel says beside its bytes.
struct Message {
    alignas(cmsghdr) std::array<char, 256> control{};
    iovec part{};
    msghdr header{};

    explicit Message(std::span<uint8_t> bytes) : Message(bytes.data(), bytes.size()) {}
    // The kernel only reads the bytes of a message that is sent.
    explicit Message(std::span<const uint8_t> bytes) : Message(const_cast<uint8_t*>(bytes.data()), bytes.size()) {}

    template <typename Data>
    std::optional<Data> Find(int level, int type) {
        for (cmsghdr* item = CMSG_FIRSTHDR(&header); item != nullptr; item = CMSG_NXTHDR(&header, item)) {
            if (item->cmsg_level != level || item->cmsg_type != type) continue;
            if (item->cmsg_len < CMSG_LEN(sizeof(Data))) continue;
            Data data;
            std::memcpy(&data, CMSG_DATA(item), sizeof(Data));
            return data;
        }
        return {};
    }

private:
    Message(uint8_t* data, size_t size) {
        part = {data, size};
        header.msg_iov = &part;
        header.msg_iovlen = 1;
        header.msg_control = control.data();
        header.msg_controllen = control.size();
    }
};

std::optional<uint64_t> StampOf(Message& message) {
    const auto stamps = message.Find<scm_timestamping>(SOL_SOCKET, SCM_TIMESTAMPING);
    if (!stamps || (stamps->ts[0].tv_sec == 0 && stamps->ts[0].tv_nsec == 0)) return {};
    return Nanoseconds(stamps->ts[0]);
}

// The kernel takes the tag out of a frame and puts it beside.
std::optional<VlanTag> TagOf(Message& message) {
    const auto data = message.Find<tpacket_auxdata>(SOL_PACKET, PACKET_AUXDATA);
    if (!data || (data->tp_status & TP_STATUS_VLAN_VALID) == 0) return {};
    return VlanTag{static_cast<uint16_t>(data->tp_vlan_tci & 0x0FFF), static_cast<uint8_t>(data->tp_vlan_tci >> 13)};
}

ifreq RequestFor(const std::string& interface) {
    ifreq request{};
    if (interface.empty() || interface.size() >= sizeof(request.ifr_name)) Fail("interface " + interface, ENODEV);
    std::memcpy(request.ifr_name, interface.data(), interface.size());
    return request;
}

}  // namespace

PacketPort::PacketPort(const std::string& interface) : interface(interface) {
    ifreq request = RequestFor(interface);
    socket = FileDescriptor(::socket(AF_PACKET, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket.IsOpen()) Fail("cannot open a packet socket", errno);
    if (ioctl(socket.Get(), SIOCGIFHWADDR, &request) < 0) Fail("interface " + interface, errno);
    if (request.ifr_hwaddr.sa_family != ARPHRD_ETHER) throw std::runtime_error(interface + " is no Ethernet interface");
    std::memcpy(address.data(), request.ifr_hwaddr.sa_data, address.size());
    if (ioctl(socket.Get(), SIOCGIFINDEX, &request) < 0) Fail("interface " + interface, errno);
    Bind(request.ifr_ifindex);
}

void PacketPort::Bind(int index) {
    const int on = 1;
    const uint32_t stamps = SOF_TIMESTAMPING_RX_SOFTWARE | SOF_TIMESTAMPING_SOFTWARE | SOF_TIMESTAMPING_OPT_TSONLY;
    packet_mreq everyGroup{};
    everyGroup.mr_ifindex = index;
    everyGroup.mr_type = PACKET_MR_ALLMULTI;
    SetOption(SOL_PACKET, PACKET_AUXDATA, &on, sizeof(on));
    SetOption(SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof(on));
    SetOption(SOL_PACKET, PACKET_ADD_MEMBERSHIP, &everyGroup, sizeof(everyGroup));
    SetOption(SOL_SOCKET, SO_TIMESTAMPING, &stamps, sizeof(stamps));

    sockaddr_ll local{};
    local.sll_family = AF_PACKET;
    local.sll_protocol = NetworkOrder(everyProtocol);
    local.sll_ifindex = index;
    if (bind(socket.Get(), reinterpret_cast<const sockaddr*>(&local), sizeof(local)) < 0) {
        Fail("interface " + interface, errno);
    }
}

void PacketPort::SetOption(int level, int option, const void* value, uint32_t size) const {
    if (setsockopt(socket.Get(), level, option, value, size) < 0) Fail("interface " + interface, errno);
}

bool PacketPort::Send(std::span<const uint8_t> frame) {
    if (send(socket.Get(), frame.data(), frame.size(), 0) >= 0) return true;
    ThrowIfGone(errno);
    return false;
}

std::optional<uint64_t> PacketPort::SendStamped(std::span<const uint8_t> frame) {
    while (TakeTransmitStamp()) {  // of earlier frames, too late for them
    }
    Message message(frame);
    const uint32_t wanted = SOF_TIMESTAMPING_TX_SOFTWARE;
    message.header.msg_controllen = CMSG_SPACE(sizeof(wanted));
    cmsghdr* const item = CMSG_FIRSTHDR(&message.header);
    item->cmsg_level = SOL_SOCKET;
    item->cmsg_type = SO_TIMESTAMPING;
    item->cmsg_len = CMSG_LEN(sizeof(wanted));
    std::memcpy(CMSG_DATA(item), &wanted, sizeof(wanted));
    if (sendmsg(socket.Get(), &message.header, 0) < 0) {
        ThrowIfGone(errno);
        return {};
    }
    const uint64_t sentNs = TimeOfDayNs();  // close enough where the driver stamps nothing
    constexpr int longestWaitMs = 2;
    pollfd stamped{socket.Get(), 0, 0};  // a stamp shows as an error
    (void)poll(&stamped, 1, longestWaitMs);
    return TakeTransmitStamp().value_or(sentNs);
}

std::optional<uint64_t> PacketPort::TakeTransmitStamp() const {
    std::array<uint8_t, 64> none;
    Message message{std::span<uint8_t>(none)};
    if (recvmsg(socket.Get(), &message.header, MSG_ERRQUEUE | MSG_DONTWAIT) < 0) return {};
    return StampOf(message);
}

void PacketPort::Receive(const std::function<void(const ReceivedFrame&)>& take) {
    constexpr int burst = 64;
    (void)TakeTransmitStamp();  // one that came late keeps the socket ready
    std::array<uint8_t, 2048> buffer;
    for (int i = 0; i < burst; ++i) {
        Message message{std::span<uint8_t>(buffer)};
        const ssize_t length = recvmsg(socket.Get(), &message.header, MSG_DONTWAIT);
        if (length < 0) return ThrowIfGone(errno);
        take({std::span(buffer).first(static_cast<size_t>(length)), TagOf(message),
              StampOf(message).value_or(TimeOfDayNs())});
    }
}

// An interface that only went down comes back; one that was removed does not, though both read alike.
void PacketPort::ThrowIfGone(int error) const {
    if (error == EAGAIN || error == EINTR) return;
    ifreq request = RequestFor(interface);
    if (ioctl(socket.Get(), SIOCGIFINDEX, &request) < 0) Fail("interface " + interface, errno);
}

int PacketPort::Unsent() const {
    int bytes = 0;
    return ioctl(socket.Get(), SIOCOUTQ, &bytes) < 0 ? 0 : bytes;
}

}  // namespace norvad::station
