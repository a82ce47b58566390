#include "switch/link_monitor.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

#include "base/log.h"
#include "base/wire.h"
#include "switch/netlink_wire.h"

namespace norvad {

namespace {

// More than the kernel queues for a socket of the usual size: an end to reading under a flood.
constexpr int maxDrainedDatagrams = 1024;

// Which interface a message names.
enum class Named : uint8_t { None, Ours, Other };

// What one message says.
struct LinkNews {
    Named named = Named::None;
    uint32_t stateBefore = 0;  // the interface's, before the message
    uint32_t operationalState = 0;
    uint32_t portLinks = 0;
    bool up = false;
    bool down = false;
};

bool IsName(std::span<const uint8_t> value, std::string_view name) {
    const auto end = std::find(value.begin(), value.end(), 0);
    return std::equal(value.begin(), end, name.begin(), name.end());
}

void ApplyOperState(LinkNews& news, std::span<const uint8_t> value) {
    if (value.empty()) return;
    news.operationalState = value[0];
    if (news.operationalState == news.stateBefore) return;
    (news.operationalState == operStateUp ? news.up : news.down) = true;
}

void ApplyPortLinks(LinkNews& news, std::span<const uint8_t> value) {
    const auto portLinks = Peek<boost::endian::native_uint32_t>(value);
    if (!portLinks) return;
    if (*portLinks > news.portLinks) news.up = true;
    news.portLinks = *portLinks;
}

void Apply(LinkNews& news, uint8_t family, uint16_t type, std::span<const uint8_t> value, std::string_view name) {
    const bool isBridge = family == bridgeFamily;
    if (type == linkAttributeName) news.named = IsName(value, name) ? Named::Ours : Named::Other;
    if (type == linkAttributeOperState && !isBridge) ApplyOperState(news, value);
    if (type == linkAttributePortLinks && isBridge) ApplyPortLinks(news, value);
}

}  // namespace

LinkMonitor::LinkMonitor(const std::string& interfaceName, std::unique_ptr<LinkSocket> socket)
    : interfaceName(interfaceName), socket(std::move(socket)) {
    RequestDump();
}

void LinkMonitor::RequestDump() {
    const NetlinkHeader header{sizeof(LinkDumpRequest), netlinkGetLink, netlinkDumpRequest, 1, socket->PortId()};
    const LinkDumpRequest request{header, bridgeFamily};
    (void)socket->Send(BytesOf(request));  // without an answer the next change still arrives
}

int LinkMonitor::read_netlink() {
    up = down = false;
    const ssize_t received = socket->Receive(buffer);
    if (received < 0) {
        const int error = errno;
        if (error == EAGAIN) return 0;
        std::fprintf(stderr, "read_netlink: Error recvmsg: %zd\n", received);
        if (error == ENOBUFS) Resynchronise();
        return static_cast<int>(received);
    }
    if (received == 0) std::fputs("read_netlink: EOF\n", stderr);
    return Parse(std::span<const uint8_t>(buffer).first(static_cast<size_t>(received)));
}

uint8_t LinkMonitor::GetPortLinkState(uint8_t port) const {
    if (port > 7) return 0;
    return static_cast<uint8_t>(portLinks >> (4 * port) & 0xF);
}

int LinkMonitor::TakeError() {
    const int error = socket->TakeError();
    if (error == 0) return 0;
    log(LogCategory::SOCKET, 0, "LinkMonitor    :socket error: %s\n", std::strerror(error));
    if (error == ENOBUFS) Resynchronise();
    return error;
}

// Messages were lost. The kernel delivers none until the queue is empty, and a dump asked for before could be
// answered with what is out of date by then; so the queue is emptied first.
void LinkMonitor::Resynchronise() {
    for (int drained = 0; drained < maxDrainedDatagrams; ++drained) {
        const ssize_t received = socket->Receive(buffer);
        if (received <= 0) break;
        (void)Parse(std::span<const uint8_t>(buffer).first(static_cast<size_t>(received)));
    }
    RequestDump();
}

int LinkMonitor::Parse(std::span<const uint8_t> datagram) {
    while (const auto header = Peek<NetlinkHeader>(datagram)) {
        const size_t length = header->length;
        if (length < sizeof(NetlinkHeader) || length > datagram.size()) return 0;
        if (header->type == netlinkDone) return 0;
        if (header->type == netlinkError) return -1;
        if (header->type == netlinkNewLink) ParseLink(datagram.first(length));
        datagram = datagram.subspan(std::min(NetlinkAlign(length), datagram.size()));
    }
    return 0;
}

void LinkMonitor::ParseLink(std::span<const uint8_t> message) {
    const auto link = Peek<LinkHeader>(message, sizeof(NetlinkHeader));
    if (!link) return;
    LinkNews news{Named::None, operationalState, operationalState, portLinks, false, false};
    auto rest = message.subspan(sizeof(NetlinkHeader) + sizeof(LinkHeader));
    while (const auto attribute = Peek<LinkAttribute>(rest)) {
        const size_t length = attribute->length;
        if (length < sizeof(LinkAttribute) || length > rest.size()) break;
        const auto value = rest.first(length).subspan(sizeof(LinkAttribute));
        Apply(news, link->family, attribute->type, value, interfaceName);
        rest = rest.subspan(std::min(NetlinkAlign(length), rest.size()));
    }
    // The switch's driver need not name its interface beside the port values.
    if (news.named != Named::Other) portLinks = news.portLinks;
    if (news.named != Named::Ours) return;
    operationalState = news.operationalState;
    up |= news.up;
    down |= news.down;
}

}  // namespace norvad
