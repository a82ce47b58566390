#include <gtest/gtest.h>
#include <linux/if.h>
#include <linux/rtnetlink.h>

#include <cerrno>
#include <cstring>

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
              FromHex("34 00 00 00  10 00  00 00  01 00 00 00  00 00 00 00"  // a new link, and no request
                      " 07 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00"  // bridge family
                      " 09 00 03 00  65 74 68 30  00 00 00 00"               // the name, padded
                      " 08 00 0a 00  9e 00 00 00"));
}

TEST(NetlinkMessages, PairIsAsVirtualEthernetWithThePeerElsewhere) {
    EXPECT_EQ(MakePairRequest("eth0", "cpu", 7, MacAddress{0x02, 0, 0, 0, 0x10, 0x01}, 1600),
              FromHex("80 00 00 00  10 00 05 06  01 00 00 00  00 00 00 00"  // a new link that nobody has yet
                      " 00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00"
                      " 09 00 03 00  65 74 68 30  00 00 00 00"  // the name
                      " 08 00 04 00  40 06 00 00"               // the largest frame
                      " 0a 00 01 00  02 00 00 00  10 01 00 00"  // the address
                      " 40 00 12 00"                            // what makes its kind
                      " 09 00 01 00  76 65 74 68  00 00 00 00"
                      " 30 00 02 00  2c 00 01 00"  // of the peer
                      " 00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00"
                      " 08 00 03 00  63 70 75 00"
                      " 08 00 04 00  40 06 00 00"
                      " 08 00 1c 00  07 00 00 00"));  // the descriptor of its namespace
    EXPECT_EQ(MakePairRequest("eth0", "cpu", 7, {}, 1600).size(), 128u - 12);
}

TEST(NetlinkMessages, RequestsForOneInterfaceNameIt) {
    EXPECT_EQ(BringUpRequest("cpu"), FromHex("28 00 00 00  10 00 05 00  01 00 00 00  00 00 00 00"
                                             " 00 00 00 00  00 00 00 00  01 00 00 00  01 00 00 00"
                                             " 08 00 03 00  63 70 75 00"));
    EXPECT_EQ(RemoveRequest("eth0"), FromHex("2c 00 00 00  11 00 05 00  01 00 00 00  00 00 00 00"
                                             " 00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00"
                                             " 09 00 03 00  65 74 68 30  00 00 00 00"));
    EXPECT_EQ(QueryRequest("peer10"), FromHex("2c 00 00 00  12 00 01 00  01 00 00 00  00 00 00 00"
                                              " 00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00"
                                              " 0b 00 03 00  70 65 65 72  31 30 00 00"));
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
    EXPECT_FALSE(changes[2].up);
    EXPECT_EQ(changes[3].index, 8);
    EXPECT_FALSE(changes[3].up);
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
    for (const uint8_t claimed : std::initializer_list<uint8_t>{0, 15, 16, 31, 33, 255}) {
        whole[0] = claimed;
        EXPECT_TRUE(ParseLinkChanges(whole).empty()) << int{claimed};
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
