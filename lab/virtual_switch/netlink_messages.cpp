#include "lab/virtual_switch/netlink_messages.h"

#include <linux/if.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <linux/veth.h>

#include <algorithm>
#include <cstring>
#include <sstream>

namespace norvad::board {

namespace {

constexpr uint16_t attributePortLinks = 10;
constexpr uint32_t linkGroup = 1;

// Appends to a message; netlink is in host order and pads everything to four bytes.
class Builder {
public:
    Builder(uint16_t type, uint16_t flags) { Append(nlmsghdr{0, type, flags, 1, 0}); }

    template <typename Value>
    Builder& Append(const Value& value) {
        return AppendBytes({reinterpret_cast<const uint8_t*>(&value), sizeof(value)});
    }
    Builder& Attribute(uint16_t type, std::span<const uint8_t> value) {
        Append(rtattr{static_cast<uint16_t>(sizeof(rtattr) + value.size()), type});
        return AppendBytes(value);
    }
    Builder& Attribute(uint16_t type, const std::string& value) {  // with its terminator
        return Attribute(type, {reinterpret_cast<const uint8_t*>(value.c_str()), value.size() + 1});
    }
    Builder& Attribute(uint16_t type, uint32_t value) {
        return Attribute(type, {reinterpret_cast<const uint8_t*>(&value), sizeof(value)});
    }
    size_t Open(uint16_t type) {
        const size_t start = bytes.size();
        Attribute(type, std::span<const uint8_t>{});
        return start;
    }
    void Close(size_t start) {
        const auto length = static_cast<uint16_t>(bytes.size() - start);
        std::memcpy(bytes.data() + start, &length, sizeof(length));
    }
    NetlinkBytes Finish() {
        const auto length = static_cast<uint32_t>(bytes.size());
        std::memcpy(bytes.data(), &length, sizeof(length));
        return std::move(bytes);
    }

private:
    Builder& AppendBytes(std::span<const uint8_t> value) {
        bytes.insert(bytes.end(), value.begin(), value.end());
        bytes.resize(NLMSG_ALIGN(bytes.size()));
        return *this;
    }

    NetlinkBytes bytes;
};

template <typename Value>
std::optional<Value> Read(std::span<const uint8_t> bytes) {
    if (bytes.size() < sizeof(Value)) return {};
    Value value;
    std::memcpy(&value, bytes.data(), sizeof(Value));
    return value;
}

// Takes the first message off the front of rest, header included; nothing when it is not whole.
std::optional<std::span<const uint8_t>> TakeMessage(std::span<const uint8_t>& rest) {
    const auto header = Read<nlmsghdr>(rest);
    if (!header || header->nlmsg_len < sizeof(nlmsghdr) || header->nlmsg_len > rest.size()) return {};
    const auto message = rest.first(header->nlmsg_len);
    rest = rest.subspan(std::min<size_t>(NLMSG_ALIGN(header->nlmsg_len), rest.size()));
    return message;
}

ifinfomsg Link(unsigned flags = 0, unsigned change = 0) {
    ifinfomsg link{};
    link.ifi_family = AF_UNSPEC;
    link.ifi_flags = flags;
    link.ifi_change = change;
    return link;
}

}  // namespace

NetlinkBytes MakePairRequest(const std::string& name, const std::string& peer, int peerNetwork,
                             std::optional<MacAddress> address, uint32_t mtu) {
    Builder message(RTM_NEWLINK, NLM_F_REQUEST | NLM_F_ACK | NLM_F_CREATE | NLM_F_EXCL);
    message.Append(Link()).Attribute(IFLA_IFNAME, name).Attribute(IFLA_MTU, mtu);
    if (address) message.Attribute(IFLA_ADDRESS, *address);
    const auto information = message.Open(IFLA_LINKINFO);
    message.Attribute(IFLA_INFO_KIND, std::string("veth"));
    const auto data = message.Open(IFLA_INFO_DATA);
    const auto other = message.Open(VETH_INFO_PEER);
    message.Append(Link()).Attribute(IFLA_IFNAME, peer).Attribute(IFLA_MTU, mtu);
    message.Attribute(IFLA_NET_NS_FD, static_cast<uint32_t>(peerNetwork));
    message.Close(other);
    message.Close(data);
    message.Close(information);
    return message.Finish();
}

NetlinkBytes BringUpRequest(const std::string& name) {
    Builder message(RTM_NEWLINK, NLM_F_REQUEST | NLM_F_ACK);
    message.Append(Link(IFF_UP, IFF_UP)).Attribute(IFLA_IFNAME, name);
    return message.Finish();
}

NetlinkBytes RemoveRequest(const std::string& name) {
    Builder message(RTM_DELLINK, NLM_F_REQUEST | NLM_F_ACK);
    message.Append(Link()).Attribute(IFLA_IFNAME, name);
    return message.Finish();
}

NetlinkBytes QueryRequest(const std::string& name) {
    Builder message(RTM_GETLINK, NLM_F_REQUEST);
    message.Append(Link()).Attribute(IFLA_IFNAME, name);
    return message.Finish();
}

NetlinkBytes PortLinkReport(const std::string& cpuInterface, uint32_t value) {
    ifinfomsg link{};
    link.ifi_family = AF_BRIDGE;
    Builder message(RTM_NEWLINK, 0);  // no request, so that the kernel, which gets a copy too, ignores it
    message.Append(link).Attribute(IFLA_IFNAME, cpuInterface).Attribute(attributePortLinks, value);
    return message.Finish();
}

std::vector<LinkChange> ParseLinkChanges(std::span<const uint8_t> datagram) {
    std::vector<LinkChange> changes;
    while (const auto message = TakeMessage(datagram)) {
        const auto type = Read<nlmsghdr>(*message)->nlmsg_type;
        const auto link = Read<ifinfomsg>(message->subspan(sizeof(nlmsghdr)));
        if (!link || link->ifi_family == AF_BRIDGE) continue;
        if (type != RTM_NEWLINK && type != RTM_DELLINK) continue;
        constexpr unsigned running = IFF_UP | IFF_LOWER_UP;
        changes.push_back({link->ifi_index, type == RTM_NEWLINK && (link->ifi_flags & running) == running});
    }
    return changes;
}

std::optional<int> ParseAcknowledgement(std::span<const uint8_t> datagram) {
    const auto message = TakeMessage(datagram);
    if (!message || Read<nlmsghdr>(*message)->nlmsg_type != NLMSG_ERROR) return {};
    const auto error = Read<nlmsgerr>(message->subspan(sizeof(nlmsghdr)));
    if (!error) return {};
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
