#include <gtest/gtest.h>
#include <linux/if.h>
#include <linux/rtnetlink.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <sstream>

#include "lab/virtual_switch/netlink_messages.h"
#include "tests/lab/board/support.h"

namespace norvad::board {
namespace {

using test::Bytes;
using test::FromHex;
using test::Join;

template <typename Value>
void Append(Bytes& bytes, const Value& value) {
    const auto* begin = reinterpret_cast<const uint8_t*>(&value);
    bytes.insert(bytes.end(), begin, begin + sizeof(value));
}

// Netlink's numbers are in host order: each word is one number, of half as many bytes as it has digits.
Bytes InHostOrder(const std::string& text) {
    Bytes bytes;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        Bytes number = FromHex(word);
        if constexpr (std::endian::native == std::endian::little) std::ranges::reverse(number);
        bytes.insert(bytes.end(), number.begin(), number.end());
    }
    return bytes;
}

Bytes LinkMessage(uint16_t type, uint8_t family, int index, unsigned flags) {
    Bytes bytes;
    Append(bytes, nlmsghdr{sizeof(nlmsghdr) + sizeof(ifinfomsg), type, 0, 0, 0});
    ifinfomsg link{};
    link.ifi_family = family;
    link.ifi_index = index;
    link.ifi_flags = flags;
    Append(bytes, link);
    return bytes;
}

TEST(NetlinkMessages, PortLinksAreAttribute10OfABridgeLinkMessage) {
    EXPECT_EQ(PortLinkReport("eth0", 0x9E),
              InHostOrder("00000034  0010  0000  00000001  00000000"  // a new link, and no request
                          " 07 00 0000  00000000 00000000 00000000"   // bridge family
                          " 0009 0003  65 74 68 30 00  00 00 00"      // the name, padded
                          " 0008 000a  0000009e"));
}

TEST(NetlinkMessages, PairIsAsVirtualEthernetWithThePeerElsewhere) {
    EXPECT_EQ(MakePairRequest("eth0", "cpu", 7, MacAddress{0x02, 0, 0, 0, 0x10, 0x01}, 1600),
              InHostOrder("00000080  0010  0605  00000001  00000000"  // a new link that nobody has yet
                          " 00 00 0000  00000000 00000000 00000000"
                          " 0009 0003  65 74 68 30 00  00 00 00"  // the name
                          " 0008 0004  00000640"                  // the largest frame
                          " 000a 0001  02 00 00 00 10 01  00 00"  // the address
                          " 0040 0012"                            // what makes its kind
                          " 0009 0001  76 65 74 68 00  00 00 00"
                          " 0030 0002  002c 0001"  // of the peer
                          " 00 00 0000  00000000 00000000 00000000"
                          " 0008 0003  63 70 75 00"
                          " 0008 0004  00000640"
                          " 0008 001c  00000007"));  // the descriptor of its namespace
    EXPECT_EQ(MakePairRequest("eth0", "cpu", 7, {}, 1600).size(), 128u - 12);
}

TEST(NetlinkMessages, RequestsForOneInterfaceNameIt) {
    EXPECT_EQ(BringUpRequest("cpu"), InHostOrder("00000028  0010  0005  00000001  00000000"
                                                 " 00 00 0000  00000000 00000001 00000001"
                                                 " 0008 0003  63 70 75 00"));
    EXPECT_EQ(RemoveRequest("eth0"), InHostOrder("0000002c  0011  0005  00000001  00000000"
                                                 " 00 00 0000  00000000 00000000 00000000"
                                                 " 0009 0003  65 74 68 30 00  00 00 00"));
    EXPECT_EQ(QueryRequest("peer10"), InHostOrder("0000002c  0012  0001  00000001  00000000"
                                                  " 00 00 0000  00000000 00000000 00000000"
                                                  " 000b 0003  70 65 65 72 31 30 00  00"));
}

TEST(NetlinkMessages, NameThatIsTooLongIsRefused) {
    EXPECT_THROW(QueryRequest(std::string(600, 'x')), std::length_error);
}

TEST(NetlinkMessages, LinkIsUpWithSwitchAndCarrier) {
    const auto up = LinkMessage(RTM_NEWLINK, AF_UNSPEC, 5, IFF_UP | IFF_LOWER_UP);
    const auto noCarrier = LinkMessage(RTM_NEWLINK, AF_UNSPEC, 6, IFF_UP);
    const auto switchedOff = LinkMessage(RTM_NEWLINK, AF_UNSPEC, 7, IFF_LOWER_UP);
    const auto removed = LinkMessage(RTM_DELLINK, AF_UNSPEC, 8, IFF_UP | IFF_LOWER_UP);

    const auto changes = ParseLinkChanges(Join({up, noCarrier, switchedOff, removed}));

    ASSERT_EQ(changes.size(), 4u);
    EXPECT_EQ(changes[0].index, 5);
    EXPECT_TRUE(changes[0].up);
    EXPECT_FALSE(changes[1].up);
    EXPECT_TRUE(changes[1].on);
    EXPECT_FALSE(changes[2].up);
    EXPECT_FALSE(changes[2].on);
    EXPECT_EQ(changes[3].index, 8);
    EXPECT_FALSE(changes[3].up);
    EXPECT_FALSE(changes[3].on);
}

TEST(NetlinkMessages, BridgeFamilyAndOtherMessagesAreNoChanges) {
    const auto bridge = LinkMessage(RTM_NEWLINK, AF_BRIDGE, 5, IFF_UP | IFF_LOWER_UP);
    const auto address = LinkMessage(RTM_NEWADDR, AF_UNSPEC, 5, IFF_UP | IFF_LOWER_UP);

    EXPECT_TRUE(ParseLinkChanges(Join({bridge, address})).empty());
}

TEST(NetlinkMessages, TruncatedAndLyingMessagesAreNotRead) {
    auto whole = LinkMessage(RTM_NEWLINK, AF_UNSPEC, 5, IFF_UP);
    for (size_t length = 0; length < whole.size(); ++length) {
        EXPECT_TRUE(ParseLinkChanges(std::span(whole).first(length)).empty()) << length;
    }
    for (const uint32_t claimed : {0, 15, 16, 31, 33, 255}) {
        std::memcpy(whole.data(), &claimed, sizeof(claimed));
        EXPECT_TRUE(ParseLinkChanges(whole).empty()) << claimed;
    }
}

TEST(NetlinkMessages, AcknowledgementHoldsAnErrorNumber) {
    Bytes bytes;
    Append(bytes, nlmsghdr{sizeof(nlmsghdr) + sizeof(nlmsgerr), NLMSG_ERROR, 0, 1, 0});
    nlmsgerr error{};
    error.error = -EEXIST;
    Append(bytes, error);

    EXPECT_EQ(ParseAcknowledgement(bytes), EEXIST);
    for (size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_FALSE(ParseAcknowledgement(std::span(bytes).first(length)));
    }
    EXPECT_FALSE(ParseAcknowledgement(LinkMessage(RTM_NEWLINK, AF_UNSPEC, 5, 0)));
}

TEST(NetlinkMessages, SubscribersAreRouteSocketsInTheLinkGroup) {
    const auto* table =
        "sk               Eth Pid        Groups   Rmem     Wmem     Dump  Locks    Drops    Inode\n"
        "00000000ebe49d0a 0   0          00000000 0        0        0     2        0        4       \n"
        "00000000ebe49d0b 0   1234       00000001 0        0        0     2        0        101     \n"
        "00000000ebe49d0c 0   77         00000001 0        0        0     2        0        102     \n"
        "00000000ebe49d0d 0   4294963000 00000551 0        0        0     2        0        103     \n"
        "00000000ebe49d0e 0   1236       00000010 0        0        0     2        0        104     \n"
        "00000000ebe49d0f 15  1237       00000001 0        0        0     2        0        105     \n"
        "rubbish\n";

    EXPECT_EQ(LinkSubscribers(table, 77), (std::set<uint64_t>{101, 103}));
    EXPECT_TRUE(LinkSubscribers("", 77).empty());
}

}  // namespace
}  // namespace norvad::board
