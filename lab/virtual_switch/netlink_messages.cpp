#include "lab/virtual_switch/netlink_messages.h"

#include <libmnl/libmnl.h>
#include <linux/if.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <linux/veth.h>

#include <array>
#include <sstream>
#include <stdexcept>

namespace norvad::board {

namespace {

constexpr uint16_t attributePortLinks = 10;
constexpr uint32_t linkGroup = 1;

// A message about one link, as it is put together.
class LinkMessage {
public:
    LinkMessage(uint16_t type, uint16_t flags, uint8_t family, const std::string& name, unsigned interfaceFlags = 0)
        : header(mnl_nlmsg_put_header(bytes.data())) {
        header->nlmsg_type = type;
        header->nlmsg_flags = flags;
        header->nlmsg_seq = 1;
        AddLink(family, name, interfaceFlags);
    }

    void AddLink(uint8_t family, const std::string& name, unsigned interfaceFlags = 0) {
        auto* const link = static_cast<ifinfomsg*>(mnl_nlmsg_put_extra_header(header, sizeof(ifinfomsg)));
        link->ifi_family = family;
        link->ifi_flags = interfaceFlags;
        link->ifi_change = interfaceFlags;
        Add(IFLA_IFNAME, name);
    }
    void Add(uint16_t type, const std::string& value) { Put(type, value.size() + 1, value.c_str()); }
    void Add(uint16_t type, uint32_t value) { Put(type, sizeof(value), &value); }
    void Add(uint16_t type, const MacAddress& value) { Put(type, value.size(), value.data()); }

    // What is added until the attribute is closed stands in it.
    nlattr* Open(uint16_t type) {
        auto* const attribute = static_cast<nlattr*>(mnl_nlmsg_get_payload_tail(header));
        Put(type, 0, nullptr);
        return attribute;
    }
    void Close(nlattr* attribute) { mnl_attr_nest_end(header, attribute); }

    NetlinkBytes Bytes() const { return {bytes.begin(), bytes.begin() + header->nlmsg_len}; }

private:
    void Put(uint16_t type, size_t size, const void* value) {
        if (!mnl_attr_put_check(header, bytes.size(), type, size, value)) throw std::length_error("netlink message");
    }

    alignas(nlmsghdr) std::array<uint8_t, 512> bytes{};  // its padding too is sent
    nlmsghdr* header;
};

const nlmsghdr* HeaderOf(std::span<const uint8_t> datagram) {
    return reinterpret_cast<const nlmsghdr*>(datagram.data());
}

// Null where the message is too short for it.
template <typename Value>
const Value* Payload(const nlmsghdr* message) {
    if (mnl_nlmsg_get_payload_len(message) < sizeof(Value)) return nullptr;
    return static_cast<const Value*>(mnl_nlmsg_get_payload(message));
}

}  // namespace

NetlinkBytes MakePairRequest(const std::string& name, const std::string& peer, int peerNetwork,
                             std::optional<MacAddress> address, uint32_t mtu) {
    LinkMessage message(RTM_NEWLINK, NLM_F_REQUEST | NLM_F_ACK | NLM_F_CREATE | NLM_F_EXCL, AF_UNSPEC, name);
    message.Add(IFLA_MTU, mtu);
    if (address) message.Add(IFLA_ADDRESS, *address);
    auto* const information = message.Open(IFLA_LINKINFO);
    message.Add(IFLA_INFO_KIND, std::string("veth"));
    auto* const data = message.Open(IFLA_INFO_DATA);
    auto* const other = message.Open(VETH_INFO_PEER);
    message.AddLink(AF_UNSPEC, peer);
    message.Add(IFLA_MTU, mtu);
    message.Add(IFLA_NET_NS_FD, static_cast<uint32_t>(peerNetwork));
    message.Close(other);
    message.Close(data);
    message.Close(information);
    return message.Bytes();
}

NetlinkBytes BringUpRequest(const std::string& name) {
    return LinkMessage(RTM_NEWLINK, NLM_F_REQUEST | NLM_F_ACK, AF_UNSPEC, name, IFF_UP).Bytes();
}

NetlinkBytes RemoveRequest(const std::string& name) {
    return LinkMessage(RTM_DELLINK, NLM_F_REQUEST | NLM_F_ACK, AF_UNSPEC, name).Bytes();
}

NetlinkBytes QueryRequest(const std::string& name) {
    return LinkMessage(RTM_GETLINK, NLM_F_REQUEST, AF_UNSPEC, name).Bytes();
}

// It is no request, so that the kernel, which gets a copy too, ignores it.
NetlinkBytes PortLinkReport(const std::string& cpuInterface, uint32_t value) {
    LinkMessage message(RTM_NEWLINK, 0, AF_BRIDGE, cpuInterface);
    message.Add(attributePortLinks, value);
    return message.Bytes();
}

std::vector<LinkChange> ParseLinkChanges(std::span<const uint8_t> datagram) {
    std::vector<LinkChange> changes;
    int rest = static_cast<int>(datagram.size());
    for (const auto* message = HeaderOf(datagram); mnl_nlmsg_ok(message, rest);
         message = mnl_nlmsg_next(message, &rest)) {
        if (message->nlmsg_type != RTM_NEWLINK && message->nlmsg_type != RTM_DELLINK) continue;
        const auto* const link = Payload<ifinfomsg>(message);
        if (link == nullptr || link->ifi_family == AF_BRIDGE) continue;
        const unsigned flags = message->nlmsg_type == RTM_NEWLINK ? link->ifi_flags : 0;
        const bool on = (flags & IFF_UP) != 0;
        changes.push_back({link->ifi_index, on, on && (flags & IFF_LOWER_UP) != 0});
    }
    return changes;
}

std::optional<int> ParseAcknowledgement(std::span<const uint8_t> datagram) {
    const auto* const message = HeaderOf(datagram);
    if (!mnl_nlmsg_ok(message, static_cast<int>(datagram.size())) || message->nlmsg_type != NLMSG_ERROR) return {};
    const auto* const error = Payload<nlmsgerr>(message);
    if (error == nullptr) return {};
    return -error->error;
}

std::set<uint64_t> LinkSubscribers(std::string_view table, uint32_t ownPort) {
    std::set<uint64_t> subscribers;
    std::istringstream lines{std::string(table)};
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string socket, groups, skipped;
        uint32_t protocol = 0, port = 0;
        uint64_t inode = 0;
        fields >> socket >> protocol >> port >> groups >> skipped >> skipped >> skipped >> skipped >> skipped >> inode;
        if (!fields || protocol != NETLINK_ROUTE || port == ownPort) continue;
        if ((std::strtoul(groups.c_str(), nullptr, 16) & linkGroup) != 0) subscribers.insert(inode);
    }
    return subscribers;
}

}  // namespace norvad::board
