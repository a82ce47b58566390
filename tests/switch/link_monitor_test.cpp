#include "switch/link_monitor.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <vector>

#include "tests/support/bytes.h"
#include "tests/support/captured_log.h"
#include "tests/support/fake_link_socket.h"
#include "tests/support/link_messages.h"

namespace norvad {
namespace {

using test::FakeLinkSocket;
using test::HostOrder;
using test::LinkMessage;
using test::OperStateMessage;
using test::PortLinkMessage;
using Datagram = test::Bytes;

Datagram Joined(std::initializer_list<Datagram> messages) {
    Datagram all;
    for (const Datagram& message : messages) all.insert(all.end(), message.begin(), message.end());
    return all;
}

class LinkMonitorTest : public testing::Test {
protected:
    int Read(Datagram datagram) {
        socket.Queue(std::move(datagram));
        return monitor.read_netlink();
    }
    uint32_t PortLinks() const {
        uint32_t links = 0;
        for (uint8_t port = 8; port-- > 0;) links = links << 4 | monitor.GetPortLinkState(port);
        return links;
    }

    std::unique_ptr<FakeLinkSocket> door = std::make_unique<FakeLinkSocket>();
    FakeLinkSocket& socket = *door;
    LinkMonitor monitor{"eth0", std::move(door)};
};

TEST_F(LinkMonitorTest, StartsWithOneDumpRequestAndEveryPortDown) {
    ASSERT_EQ(socket.requests.size(), 1U);
    // Length 17, type 18, request and dump flags, sequence 1; then the port id and the family.
    EXPECT_EQ(
        socket.requests[0],
        Joined({HostOrder(17, 4), HostOrder(18, 2), HostOrder(0x301, 2), HostOrder(1, 4), HostOrder(0x1234, 4), {7}}));
    EXPECT_EQ(PortLinks(), 0U);
}

TEST_F(LinkMonitorTest, PortValuesAreFourBitsEach) {
    EXPECT_EQ(Read(PortLinkMessage("eth0", 0x8765'43ED)), 0);

    EXPECT_EQ(monitor.GetPortLinkState(0), 0xD);
    EXPECT_EQ(monitor.GetPortLinkState(1), 0xE);
    EXPECT_EQ(monitor.GetPortLinkState(6), 0x7);
    EXPECT_EQ(monitor.GetPortLinkState(7), 0x8);
    EXPECT_EQ(monitor.GetPortLinkState(8), 0);
    EXPECT_EQ(monitor.GetPortLinkState(255), 0);
}

TEST_F(LinkMonitorTest, OnlyAGreaterPortValueRaisesTheUpFlag) {
    Read(PortLinkMessage("eth0", 0xE));
    EXPECT_TRUE(monitor.WentUp());
    Read(PortLinkMessage("eth0", 0xE));
    EXPECT_FALSE(monitor.WentUp());
    Read(PortLinkMessage("eth0", 0));
    EXPECT_FALSE(monitor.WentUp());
    EXPECT_FALSE(monitor.WentDown());
    EXPECT_EQ(PortLinks(), 0U);
}

TEST_F(LinkMonitorTest, MessageForAnotherInterfaceChangesNothing) {
    Read(PortLinkMessage("eth0", 0xE));
    Read(OperStateMessage("eth0", 6));

    for (const char* other : {"eth1", "eth", "eth00", "", "0eth0"}) {
        EXPECT_EQ(Read(PortLinkMessage(other, 0xFFFF'FFFF)), 0);
        EXPECT_EQ(Read(OperStateMessage(other, 2)), 0);
        EXPECT_EQ(PortLinks(), 0xEU) << other;
        EXPECT_EQ(monitor.OperationalState(), 6U) << other;
        EXPECT_FALSE(monitor.WentUp() || monitor.WentDown()) << other;
    }
}

TEST_F(LinkMonitorTest, OfAMessageWithoutANameOnlyThePortValueCounts) {
    Read(LinkMessage(LinkMessage::bridgeFamily).PortLinkValue(0xE).Bytes());
    EXPECT_EQ(PortLinks(), 0xEU);
    EXPECT_FALSE(monitor.WentUp());

    Read(LinkMessage(LinkMessage::plainFamily).OperState(6).Bytes());
    EXPECT_EQ(monitor.OperationalState(), 0U);
    EXPECT_FALSE(monitor.WentUp());
}

TEST_F(LinkMonitorTest, NameOfAnotherInterfaceBehindTheValueTakesItBack) {
    Read(LinkMessage(LinkMessage::bridgeFamily).PortLinkValue(0xE).Name("eth1").Bytes());

    EXPECT_EQ(PortLinks(), 0U);
}

TEST_F(LinkMonitorTest, NameMayFollowTheValue) {
    Read(LinkMessage(LinkMessage::bridgeFamily).PortLinkValue(0xE).Name("eth0").Bytes());

    EXPECT_EQ(PortLinks(), 0xEU);
}

TEST_F(LinkMonitorTest, NameWithoutTerminatorEndsWithItsAttribute) {
    const Datagram name{'e', 't', 'h', '0'};
    Read(LinkMessage(LinkMessage::bridgeFamily).Attribute(LinkMessage::nameAttribute, name).PortLinkValue(0xE).Bytes());

    EXPECT_EQ(PortLinks(), 0xEU);
}

TEST_F(LinkMonitorTest, PortValueCountsInBridgeFamilyMessagesOnly) {
    Read(LinkMessage(LinkMessage::plainFamily).Name("eth0").PortLinkValue(0xE).Bytes());
    EXPECT_EQ(PortLinks(), 0U);

    Read(LinkMessage(LinkMessage::bridgeFamily).Name("eth0").OperState(6).Bytes());
    EXPECT_EQ(monitor.OperationalState(), 0U);
    EXPECT_FALSE(monitor.WentUp());
}

TEST_F(LinkMonitorTest, OperationalStateRaisesOneFlagWhenItChangesAndNoneWhenRepeated) {
    Read(OperStateMessage("eth0", 6));
    EXPECT_TRUE(monitor.WentUp());
    EXPECT_FALSE(monitor.WentDown());
    Read(OperStateMessage("eth0", 6));
    EXPECT_FALSE(monitor.WentUp());
    EXPECT_FALSE(monitor.WentDown());

    Read(OperStateMessage("eth0", 2));
    EXPECT_FALSE(monitor.WentUp());
    EXPECT_TRUE(monitor.WentDown());
    EXPECT_EQ(monitor.OperationalState(), 2U);
    Read(OperStateMessage("eth0", 2));
    EXPECT_FALSE(monitor.WentDown());
}

TEST_F(LinkMonitorTest, EveryOperationalStateOfAMessageIsComparedWithTheOneBeforeIt) {
    Read(OperStateMessage("eth0", 6));

    Read(LinkMessage(LinkMessage::plainFamily).OperState(2).OperState(6).Name("eth0").Bytes());

    EXPECT_TRUE(monitor.WentDown());
    EXPECT_FALSE(monitor.WentUp());
    EXPECT_EQ(monitor.OperationalState(), 6U);
}

TEST_F(LinkMonitorTest, DoneEndsTheDatagramAfterWhatStandsBeforeIt) {
    const int result = Read(Joined({PortLinkMessage("eth1", 0x1), PortLinkMessage("eth0", 0x9D),
                                    LinkMessage::Control(LinkMessage::done), PortLinkMessage("eth0", 0xEE)}));

    EXPECT_EQ(result, 0);
    EXPECT_EQ(PortLinks(), 0x9DU);
}

TEST_F(LinkMonitorTest, ErrorMessageIsReportedAfterWhatStandsBeforeIt) {
    EXPECT_EQ(Read(Joined({PortLinkMessage("eth0", 0x9D), LinkMessage::Control(LinkMessage::error)})), -1);

    EXPECT_EQ(PortLinks(), 0x9DU);
}

TEST_F(LinkMonitorTest, OtherMessagesAreSkipped) {
    const Datagram gone =
        LinkMessage(LinkMessage::bridgeFamily, LinkMessage::delLink).Name("eth0").PortLinkValue(3).Bytes();

    EXPECT_EQ(Read(Joined({gone, PortLinkMessage("eth0", 0x9D)})), 0);

    EXPECT_EQ(PortLinks(), 0x9DU);
}

TEST_F(LinkMonitorTest, MessagesOfOneDatagramAreAppliedInTheirOrder) {
    Read(Joined({PortLinkMessage("eth0", 0x9D), PortLinkMessage("eth0", 0xE0)}));

    EXPECT_EQ(PortLinks(), 0xE0U);
}

// Every cut of a datagram of two messages, in a buffer of exactly its size so that a sanitizer sees any byte read
// beyond it. A message that is not whole is not applied.
TEST_F(LinkMonitorTest, TruncationAtAnyLengthAppliesOnlyWholeMessages) {
    const Datagram first = PortLinkMessage("eth0", 0x9D);
    const Datagram both = Joined({first, PortLinkMessage("eth0", 0xE0)});
    for (size_t length = 1; length <= both.size(); ++length) {
        Read(PortLinkMessage("eth0", 0x11));
        EXPECT_EQ(Read(test::Part(both, 0, length)), 0);
        const uint32_t expected = length == both.size() ? 0xE0 : length >= first.size() ? 0x9D : 0x11;
        EXPECT_EQ(PortLinks(), expected) << length;
    }
}

TEST_F(LinkMonitorTest, MessageLengthBelowItsHeaderOrBeyondTheDatagramEndsTheWalk) {
    for (const uint8_t length : std::initializer_list<uint8_t>{0, 1, 15}) {
        Datagram broken = PortLinkMessage("eth0", 0x9D);
        std::ranges::copy(HostOrder(length, 4), broken.begin());
        EXPECT_EQ(Read(Joined({broken, PortLinkMessage("eth0", 0xE0)})), 0);
        EXPECT_EQ(PortLinks(), 0U) << int{length};
    }
    Datagram endless = PortLinkMessage("eth0", 0x9D);
    endless[0] = endless[1] = endless[2] = endless[3] = 0xFF;
    EXPECT_EQ(Read(endless), 0);
    EXPECT_EQ(PortLinks(), 0U);
}

TEST_F(LinkMonitorTest, MessageWithoutAWholeLinkHeaderIsSkipped) {
    Datagram bare = LinkMessage::Control(LinkMessage::newLink);
    ASSERT_EQ(bare.size(), 20U);

    EXPECT_EQ(Read(Joined({bare, PortLinkMessage("eth0", 0x9D)})), 0);

    EXPECT_EQ(PortLinks(), 0x9DU);
}

TEST_F(LinkMonitorTest, AttributeLengthBelowItsHeaderOrBeyondTheMessageEndsTheAttributes) {
    constexpr size_t firstAttribute = 32, secondAttribute = 44;
    for (const uint8_t length : std::initializer_list<uint8_t>{0, 3, 9, 255}) {  // 8 are left of the message
        Datagram message = PortLinkMessage("eth0", 0x9D);
        ASSERT_EQ(message.size(), secondAttribute + 8);
        std::ranges::copy(HostOrder(length, 2), message.begin() + secondAttribute);
        Read(message);
        EXPECT_EQ(PortLinks(), 0U) << int{length};

        message = PortLinkMessage("eth0", 0x9D);
        const unsigned ofName = length == 9 ? 21 : length;  // 20 are left from the name on
        std::ranges::copy(HostOrder(ofName, 2), message.begin() + firstAttribute);
        Read(message);
        EXPECT_EQ(PortLinks(), 0U) << int{length};
    }
}

TEST_F(LinkMonitorTest, ValuesThatAreTooShortAreIgnored) {
    const Datagram three{1, 2, 3};
    Read(LinkMessage(LinkMessage::bridgeFamily).Name("eth0").Attribute(LinkMessage::portLinksAttribute, three).Bytes());
    EXPECT_EQ(PortLinks(), 0U);

    Read(LinkMessage(LinkMessage::plainFamily).Name("eth0").Attribute(LinkMessage::operStateAttribute, {}).Bytes());
    EXPECT_EQ(monitor.OperationalState(), 0U);
    EXPECT_FALSE(monitor.WentDown());
}

TEST_F(LinkMonitorTest, NothingWaitingIsNoError) {
    testing::internal::CaptureStderr();

    EXPECT_EQ(monitor.read_netlink(), 0);

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(LinkMonitorTest, ReceiveErrorIsReportedAndReturned) {
    socket.QueueError(EIO);
    testing::internal::CaptureStderr();

    EXPECT_EQ(monitor.read_netlink(), -1);

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "read_netlink: Error recvmsg: -1\n");
    EXPECT_EQ(socket.requests.size(), 1U);
}

TEST_F(LinkMonitorTest, EmptyDatagramIsReportedAsTheEnd) {
    testing::internal::CaptureStderr();

    EXPECT_EQ(Read({}), 0);

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "read_netlink: EOF\n");
}

// When the daemon is held up, the kernel drops link messages and says so once. Were the links not asked for again,
// a port that went down meanwhile would be taken for up until its next change.
TEST_F(LinkMonitorTest, LostMessagesAreMadeUpForByANewDump) {
    socket.QueueError(ENOBUFS);
    socket.Queue(PortLinkMessage("eth0", 0xE));
    socket.Queue(PortLinkMessage("eth0", 0xD));
    testing::internal::CaptureStderr();

    EXPECT_EQ(monitor.read_netlink(), -1);

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "read_netlink: Error recvmsg: -1\n");
    EXPECT_FALSE(socket.HasMessages());
    EXPECT_EQ(PortLinks(), 0xDU);
    ASSERT_EQ(socket.requests.size(), 2U);
    EXPECT_EQ(socket.requests[1], socket.requests[0]);
}

TEST_F(LinkMonitorTest, PendingOverrunIsTakenLoggedAndMadeUpFor) {
    socket.pendingError = ENOBUFS;
    socket.Queue(PortLinkMessage("eth0", 0xE));

    EXPECT_EQ(test::Logged(0, [this] { EXPECT_EQ(monitor.TakeError(), ENOBUFS); }),
              "LinkMonitor    :socket error: No buffer space available\n");
    EXPECT_EQ(PortLinks(), 0xEU);
    EXPECT_EQ(socket.requests.size(), 2U);
    EXPECT_EQ(test::Logged(0, [this] { EXPECT_EQ(monitor.TakeError(), 0); }), "");
    EXPECT_EQ(socket.requests.size(), 2U);
}

}  // namespace
}  // namespace norvad
