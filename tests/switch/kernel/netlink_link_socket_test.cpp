#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "switch/kernel/interface_wait.h"
#include "switch/kernel/netlink_link_socket.h"
#include "switch/link_monitor.h"
#include "tests/support/captured_log.h"
#include "tests/switch/cable.h"

namespace norvad {
namespace {

using namespace test;

TEST(NetlinkLinkSocket, DumpAnswersAndLinkChangesArrive) {
    ExpectIsolated([] {
        MakePair();
        LinkMonitor monitor("sw0", std::make_unique<NetlinkLinkSocket>());
        ASSERT_EQ(Events(monitor.Descriptor()), POLLIN);
        while (EventsNow(monitor.Descriptor()) == POLLIN) EXPECT_EQ(monitor.read_netlink(), 0);
        SetLink("sw1", false);
        while (monitor.OperationalState() == 0 && Events(monitor.Descriptor()) == POLLIN) monitor.read_netlink();
        EXPECT_NE(monitor.OperationalState(), 6U);
        EXPECT_TRUE(monitor.WentDown());
        SetLink("sw1", true);
        while (monitor.OperationalState() != 6 && Events(monitor.Descriptor()) == POLLIN) monitor.read_netlink();
        EXPECT_EQ(monitor.OperationalState(), 6U);
        EXPECT_EQ(monitor.GetPortLinkState(0), 0);
    });
}

TEST(NetlinkLinkSocket, TakenPortIdLeavesNoSocket) {
    ExpectIsolated([] {
        NetlinkLinkSocket first;
        NetlinkLinkSocket second;
        EXPECT_GE(first.Descriptor(), 0);
        EXPECT_EQ(second.Descriptor(), -1);
        EXPECT_EQ(second.TakeError(), 0);
        std::array<uint8_t, 16> buffer{};
        EXPECT_EQ(second.Receive(buffer), -1);
        EXPECT_EQ(second.Send(buffer), -1);
    });
}

// More link messages than the socket holds: poll reports POLLERR beside POLLIN until the error is taken, and then
// the monitor asks again for what it lost.
TEST(NetlinkLinkSocket, OverrunIsTakenAndTheLinksAreAskedForAgain) {
    ExpectIsolated([] {
        MakePair();
        auto door = std::make_unique<NetlinkLinkSocket>();
        const int descriptor = door->Descriptor();
        const int smallest = 1;
        ASSERT_EQ(::setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &smallest, sizeof smallest), 0);
        LinkMonitor monitor("sw0", std::move(door));
        while (EventsNow(descriptor) == POLLIN) monitor.read_netlink();
        for (int i = 0; i < 8; ++i) Ip("link set sw0 mtu " + std::to_string(1000 + i));
        ASSERT_EQ(EventsNow(descriptor), POLLIN | POLLERR);

        EXPECT_NE(Logged(0, [&] { EXPECT_EQ(monitor.TakeError(), ENOBUFS); }), "");

        EXPECT_EQ(EventsNow(descriptor), POLLIN) << "the answer to the new request";
        EXPECT_EQ(monitor.read_netlink(), 0);
        EXPECT_EQ(monitor.TakeError(), 0);
    });
}

TEST(LinkMonitor, StartUpWaitEndsWhenTheInterfaceRuns) {
    ExpectIsolated([] {
        MakePair();
        SetLink("sw1", false);
        WaitingClock clock([](int round) {
            if (round == 3) SetLink("sw1", true);
        });

        WaitForInterface("sw0", clock);

        EXPECT_EQ(clock.rounds, 4);
    });
}

// The texts go to standard output, which the test has joined to standard error to see both.
TEST(LinkMonitorDeathTest, StartUpWaitEndsTheProcessWhenThereIsNoSuchInterface) {
    SystemClock clock;
    EXPECT_EXIT(
        {
            ::dup2(STDERR_FILENO, STDOUT_FILENO);
            WaitForInterface("nosuch0", clock);
        },
        testing::ExitedWithCode(255),
        "SIOCGIFFLAGS: No such device\nError getting Interface flags !Problem interface: nosuch0\n");
}

}  // namespace
}  // namespace norvad
