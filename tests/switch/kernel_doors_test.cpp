#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/if_packet.h>
#include <mqueue.h>
#include <net/if.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <boost/endian/conversion.hpp>
#include <cerrno>
#include <functional>
#include <memory>
#include <string>

#include "daemon/clock.h"
#include "switch/cpu_tag.h"
#include "switch/file_descriptor.h"
#include "switch/interface_request.h"
#include "switch/kernel_borders.h"
#include "switch/kernel_request_queue.h"
#include "switch/link_monitor.h"
#include "switch/netlink_link_socket.h"
#include "switch/packet_address.h"
#include "switch/packet_driver_socket.h"
#include "switch/raw_socket.h"
#include "switch/socket_exception.h"
#include "switch/switch.h"
#include "tests/support/stepped_clock.h"
#include "tests/switch/hex.h"
#include "tests/switch/log_capture.h"
#include "tests/switch/private_namespace.h"

namespace norvad {
namespace {

using namespace test;

// A clock that does something each time somebody sleeps on it.
class WaitingClock final : public Clock {
public:
    explicit WaitingClock(std::function<void(int)> onSleep = {}) : onSleep(std::move(onSleep)) {}
    timespec Monotonic() const override { return {}; }
    timeval TimeOfDay() const override { return {}; }
    void Sleep(uint32_t ms) override {
        EXPECT_EQ(ms, 200U);
        ++rounds;
        if (onSleep) onSleep(rounds);
    }
    int rounds = 0;

private:
    std::function<void(int)> onSleep;
};

bool IsRunning(const char* name) {
    const FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request = InterfaceRequest(name);
    return ::ioctl(socket.Get(), SIOCGIFFLAGS, &request) == 0 && (request.ifr_flags & IFF_RUNNING) != 0;
}

// Brings one end of the pair up or down and waits until the kernel has told the other end, up to a second later.
void SetLink(const std::string& name, bool up) {
    Ip("link set " + name + (up ? " up" : " down"));
    while (IsRunning("sw0") != up || IsRunning("sw1") != up) ::usleep(1000);
}

void MakePair() {
    Ip("link add sw0 address 02:00:00:00:10:01 type veth peer name sw1");
    Ip("link set sw1 up");
    SetLink("sw0", true);
}

// The far end of the cable, for every EtherType.
FileDescriptor OpenPeer() {
    constexpr uint16_t everything = 3;
    FileDescriptor peer(OpenPacketSocket(everything));
    const sockaddr_ll address = PacketAddress(everything, static_cast<int32_t>(::if_nametoindex("sw1")));
    EXPECT_EQ(::bind(peer.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return peer;
}

std::vector<uint8_t> TaggedFrame(uint8_t lastByte) {
    auto frame = FromHex("01 80 c2 00 00 0e 02 00 00 00 00 02 da da 00 00 00 08 00 00 22 ea");
    frame.resize(68, lastByte);
    return frame;
}

void SendFrame(const FileDescriptor& peer, const std::vector<uint8_t>& frame) {
    ASSERT_EQ(::send(peer.Get(), frame.data(), frame.size(), 0), static_cast<ssize_t>(frame.size()));
}

// What poll says of a descriptor now; it is given up to a second to say anything.
short Events(int descriptor) {
    pollfd entry{descriptor, POLLIN, 0};
    (void)::poll(&entry, 1, 1000);
    return entry.revents;
}

short EventsNow(int descriptor) {
    pollfd entry{descriptor, POLLIN, 0};
    (void)::poll(&entry, 1, 0);
    return entry.revents;
}

template <typename Action>
std::string FailureOf(Action action) {
    try {
        action();
    } catch (const SocketException& failure) {
        EXPECT_EQ(failure.Message(), failure.what());
        return failure.what();
    }
    return "no failure";
}

template <typename Action>
std::string PrintedBy(Action action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

TEST(RawSocket, MissingInterfaceFailsWithTheSystemsReason) {
    InPrivateNamespace([] {
        SystemClock clock;
        const std::string printed = PrintedBy([&] {
            EXPECT_EQ(FailureOf([&] { RawSocket("nosuch0", 0xDADA, clock); }), "unable to get interface index");
        });
        EXPECT_EQ(printed, "unable to get index: No such device\n");
    });
}

TEST(RawSocket, WithoutPrivilegeFailsToOpen) {
    InPrivateNamespace([] {
        // A second user namespace that owns no network: its own capabilities are worth nothing for this one.
        ASSERT_EQ(::unshare(CLONE_NEWUSER), 0);
        SystemClock clock;
        const std::string printed = PrintedBy([&] {
            EXPECT_EQ(FailureOf([&] { RawSocket("lo", 0xDADA, clock); }), "unable to open socket");
            EXPECT_EQ(FailureOf([&] { PacketDriverSocket("lo", 0xDADA); }), "unable to open socket");
        });
        EXPECT_EQ(printed,
                  " open error : Operation not permitted\n"
                  " setsockopt SO_BINDTODEVICE : Operation not permitted\n");
    });
}

TEST(RawSocket, LongInterfaceNameIsCutToWhatTheRequestHolds) {
    InPrivateNamespace([] {
        Ip("link add fifteen-letters type veth peer name sw1");
        SystemClock clock;
        EXPECT_EQ(FailureOf([&] { RawSocket("fifteen-lettersX", 0xDADA, clock); }), "no failure");
        EXPECT_EQ(FailureOf([&] { RawSocket("fifteen-letters-and-many-more", 0xDADA, clock); }), "no failure");
    });
}

TEST(RawSocket, LogsItsStepsAtLevelThree) {
    InPrivateNamespace([] {
        MakePair();
        WaitingClock clock;
        const std::string index = std::to_string(::if_nametoindex("sw0"));
        const auto live = [&] {
            RawSocket socket("sw0", 0xDADA, clock);
            socket.waitForInterface();
            socket.addMulticast({0x01, 0x80, 0xC2, 0, 0, 0x0E});
        };
        EXPECT_EQ(Logged(3, live),
                  "RawSocket  :opening \n"
                  "RawSocket    :bind to sw0 proto dada\n"
                  "RawSocket    :sw0 if index is " +
                      index +
                      " \n"
                      "RawSocket    :wait for sw0 index is " +
                      index +
                      " \n"
                      "RawSocket    : iface ready\n"
                      "RawSocket    : add multicast\n"
                      "RawSocket  :closing \n"
                      "RawSocket    :deleted \n");
        EXPECT_EQ(Logged(2, live), "");
        EXPECT_EQ(Logged(3, [&] { RawSocket unopened(clock); }), "RawSocket  :created \nRawSocket    :deleted \n");
    });
}

TEST(RawSocket, WaitsForTheLinkInRoundsOf200MsTheFirstBeforeAnyTest) {
    InPrivateNamespace([] {
        MakePair();
        WaitingClock patient;
        RawSocket("sw0", 0xDADA, patient).waitForInterface();
        EXPECT_EQ(patient.rounds, 1) << "a link that runs";

        SetLink("sw1", false);  // up, but not running
        WaitingClock repairing([](int round) {
            if (round == 5) SetLink("sw1", true);
        });
        RawSocket("sw0", 0xDADA, repairing).waitForInterface();
        EXPECT_EQ(repairing.rounds, 6);
    });
}

TEST(RawSocket, InterfaceThatVanishesWhileWaitingIsReportedAndWaitedFor) {
    InPrivateNamespace([] {
        MakePair();
        SetLink("sw1", false);
        WaitingClock clock([](int round) {
            if (round == 1) Ip("link del sw0");
            if (round == 3) MakePair();
        });
        RawSocket socket("sw0", 0xDADA, clock);
        std::string lines;
        const std::string printed = PrintedBy([&] { lines = Logged(0, [&] { socket.waitForInterface(); }); });
        EXPECT_EQ(clock.rounds, 4);
        EXPECT_EQ(lines, "RawSocket    :unable get SIOCGIFFLAGS\nRawSocket    :unable get SIOCGIFFLAGS\n");
        EXPECT_EQ(printed,
                  "unable get SIOCGIFFLAGS: No such device\n"
                  "unable get SIOCGIFFLAGS: No such device\n");
    });
}

TEST(RawSocket, SendsAndReceivesFramesAsTheyStand) {
    InPrivateNamespace([] {
        MakePair();
        SystemClock clock;
        RawSocket socket("sw0", ETHERTYPE_TAG, clock);
        const FileDescriptor peer = OpenPeer();
        EXPECT_EQ(Hex(socket.HardwareAddress()), "02 00 00 00 10 01");

        const auto out = TaggedFrame(0x11);
        EXPECT_EQ(socket.write(out.data(), out.size()), 68);
        std::vector<uint8_t> arrived(100);
        do {  // the kernel itself greets a new link
            arrived.resize(100);
            arrived.resize(static_cast<size_t>(::recv(peer.Get(), arrived.data(), arrived.size(), 0)));
        } while (arrived.size() > 13 && arrived[12] != 0xDA);
        EXPECT_EQ(arrived, out);

        const auto in = TaggedFrame(0x22);
        SendFrame(peer, in);
        std::array<uint8_t, 100> buffer{};
        ASSERT_EQ(Events(socket.Descriptor()), POLLIN);
        ASSERT_EQ(socket.read(buffer.data(), buffer.size()), 68U);
        EXPECT_EQ(Hex(std::span(buffer).first(68)), Hex(in));
    });
}

TEST(RawSocket, FramesOfOtherEtherTypesDoNotArrive) {
    InPrivateNamespace([] {
        MakePair();
        SystemClock clock;
        RawSocket socket("sw0", ETHERTYPE_TAG, clock);
        const FileDescriptor peer = OpenPeer();
        auto foreign = TaggedFrame(0x11);
        foreign[12] = 0x88;
        SendFrame(peer, foreign);
        SendFrame(peer, TaggedFrame(0x22));
        std::array<uint8_t, 100> buffer{};
        ASSERT_EQ(socket.read(buffer.data(), buffer.size()), 68U);
        EXPECT_EQ(buffer[67], 0x22);
        EXPECT_EQ(EventsNow(socket.Descriptor()), 0);
    });
}

TEST(RawSocket, ReadOfNothingIsADisconnectAndAFailedReadAnError) {
    InPrivateNamespace([] {
        MakePair();
        SystemClock clock;
        RawSocket socket("sw0", ETHERTYPE_TAG, clock);
        const FileDescriptor peer = OpenPeer();
        SendFrame(peer, TaggedFrame(0x11));
        ASSERT_EQ(Events(socket.Descriptor()), POLLIN);
        std::array<uint8_t, 100> buffer{};
        EXPECT_EQ(FailureOf([&] { socket.read(buffer.data(), 0); }), " read disconnect ");
        socket.close();
        EXPECT_EQ(socket.Descriptor(), -1);
        EXPECT_EQ(FailureOf([&] { socket.read(buffer.data(), buffer.size()); }), " read error ");
        EXPECT_EQ(socket.write(buffer.data(), buffer.size()), -1);
        EXPECT_EQ(socket.TakeError(), 0);
    });
}

TEST(RawSocket, JoinsGroupsUntilOneFails) {
    InPrivateNamespace([] {
        MakePair();
        SystemClock clock;
        RawSocket socket("sw0", ETHERTYPE_TAG, clock);
        const std::array<MacAddress, 2> groups{MacAddress{0x91, 0xE0, 0xF0, 0, 0, 1}, {0x91, 0xE0, 0xF0, 0, 0, 2}};
        socket.addMulticast(groups);
        EXPECT_EQ(std::system("ip maddr show dev sw0 | grep -q 91:e0:f0:00:00:01"), 0);
        EXPECT_EQ(std::system("ip maddr show dev sw0 | grep -q 91:e0:f0:00:00:02"), 0);

        Ip("link del sw0");
        const std::string printed = PrintedBy([&] {
            EXPECT_EQ(FailureOf([&] { socket.addMulticast(groups); }),
                      "unable to get interface index to add multicast");
        });
        EXPECT_EQ(printed, "unable to get index: No such device\n");
        MakePair();
        socket.close();
        (void)PrintedBy([&] {
            EXPECT_EQ(FailureOf([&] { socket.addMulticast(groups); }),
                      "unable to get interface index to add multicast");
        });
    });
}

// The interface goes down with a frame waiting and comes back. The kernel leaves ENETDOWN behind, which poll reports
// as POLLERR until somebody takes it: a loop that serves POLLIN alone would neither sleep nor ever read again.
TEST(RawSocket, InterfaceThatGoesDownAndUpAgainIsHeardAgainOnceTheErrorIsTaken) {
    InPrivateNamespace([] {
        MakePair();
        SystemClock clock;
        RawSocket socket("sw0", ETHERTYPE_TAG, clock);
        const FileDescriptor peer = OpenPeer();
        SendFrame(peer, TaggedFrame(0x11));
        SetLink("sw0", false);
        EXPECT_EQ(Events(socket.Descriptor()), POLLIN | POLLERR);
        EXPECT_EQ(EventsNow(socket.Descriptor()), POLLIN | POLLERR) << "asking poll again does not help";

        EXPECT_EQ(socket.TakeError(), ENETDOWN);

        EXPECT_EQ(socket.TakeError(), 0);
        EXPECT_EQ(EventsNow(socket.Descriptor()), POLLIN);
        std::array<uint8_t, 100> buffer{};
        EXPECT_EQ(socket.read(buffer.data(), buffer.size()), 68U);
        EXPECT_EQ(EventsNow(socket.Descriptor()), 0);
        SetLink("sw0", true);
        SendFrame(peer, TaggedFrame(0x22));
        EXPECT_EQ(Events(socket.Descriptor()), POLLIN);
        EXPECT_EQ(socket.read(buffer.data(), buffer.size()), 68U);
        EXPECT_EQ(buffer[67], 0x22);
    });
}

// The same, but the interface goes down after poll reported the frame and before it is read: reading must not end
// the daemon over an error that is none of the frame's.
TEST(RawSocket, ReadStepsOverAnInterfaceThatWentDownAfterTheFrameArrived) {
    InPrivateNamespace([] {
        MakePair();
        SystemClock clock;
        RawSocket socket("sw0", ETHERTYPE_TAG, clock);
        const FileDescriptor peer = OpenPeer();
        SendFrame(peer, TaggedFrame(0x11));
        ASSERT_EQ(Events(socket.Descriptor()), POLLIN);
        SetLink("sw0", false);
        std::array<uint8_t, 100> buffer{};

        EXPECT_EQ(socket.read(buffer.data(), buffer.size()), 68U);

        EXPECT_EQ(EventsNow(socket.Descriptor()), 0);
    });
}

TEST(PacketDriverSocket, LogsItsStepsAndReadsTheInterfacesAddress) {
    InPrivateNamespace([] {
        MakePair();
        const std::string index = std::to_string(::if_nametoindex("sw0"));
        const auto live = [] {
            const PacketDriverSocket socket("sw0", ETHERTYPE_TAG);
            EXPECT_EQ(Hex(socket.HardwareAddress()), "02 00 00 00 10 01");
        };
        EXPECT_EQ(Logged(3, live),
                  "SwitchIoctl  :opening \n"
                  "SwitchIoctl    :bind to sw0 proto dada\n"
                  "SwitchIoctl    :sw0 if index is " +
                      index +
                      " \n"
                      "SwitchIoctl  :closing \n");
        EXPECT_EQ(Logged(2, live), "");
    });
}

TEST(PacketDriverSocket, MissingInterfaceFailsWithTheSystemsReason) {
    InPrivateNamespace([] {
        const std::string printed = PrintedBy([] {
            EXPECT_EQ(FailureOf([] { PacketDriverSocket("nosuch0", 0xDADA); }), "unable to get interface index");
        });
        EXPECT_EQ(printed, "unable to get iface index : No such device\n");
    });
}

TEST(PacketDriverSocket, RequestToAnInterfaceWithoutTheDriverFails) {
    InPrivateNamespace([] {
        MakePair();
        PacketDriverSocket socket("sw0", ETHERTYPE_TAG);
        std::array<uint8_t, 8> record{21};
        EXPECT_FALSE(socket.Request(record));
    });
}

// Finds the descriptor that the next socket will get, so that a test can look behind a door.
int NextDescriptor() {
    return FileDescriptor(::dup(0)).Get();
}

TEST(PacketDriverSocket, QueuesNoFrames) {
    InPrivateNamespace([] {
        MakePair();
        const int descriptor = NextDescriptor();
        const PacketDriverSocket driver("sw0", ETHERTYPE_TAG);
        SystemClock clock;
        RawSocket frames("sw0", ETHERTYPE_TAG, clock);
        SendFrame(OpenPeer(), TaggedFrame(0x11));
        ASSERT_EQ(Events(frames.Descriptor()), POLLIN) << "the frame was there";
        EXPECT_EQ(EventsNow(descriptor), 0);
    });
}

TEST(NetlinkLinkSocket, DumpAnswersAndLinkChangesArrive) {
    InPrivateNamespace([] {
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
    InPrivateNamespace([] {
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
    InPrivateNamespace([] {
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
    InPrivateNamespace([] {
        MakePair();
        SetLink("sw1", false);
        WaitingClock clock([](int round) {
            if (round == 3) SetLink("sw1", true);
        });

        LinkMonitor::WaitForInterface("sw0", clock);

        EXPECT_EQ(clock.rounds, 4);
    });
}

// The texts go to standard output, which the test has joined to standard error to see both.
TEST(LinkMonitorDeathTest, StartUpWaitEndsTheProcessWhenThereIsNoSuchInterface) {
    SystemClock clock;
    EXPECT_EXIT(
        {
            ::dup2(STDERR_FILENO, STDOUT_FILENO);
            LinkMonitor::WaitForInterface("nosuch0", clock);
        },
        testing::ExitedWithCode(255),
        "SIOCGIFFLAGS: No such device\nError getting Interface flags !Problem interface: nosuch0\n");
}

TEST(KernelRequestQueue, TakesRequestsOfFullLengthAndRefusesASecondOwner) {
    InPrivateNamespace([] {
        ::umask(0);
        KernelRequestQueue queue;
        ASSERT_GE(queue.Descriptor(), 0);
        struct stat status {};
        ASSERT_EQ(::fstat(queue.Descriptor(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0666U);
        mq_attr attributes{};
        ASSERT_EQ(::mq_getattr(queue.Descriptor(), &attributes), 0);
        EXPECT_EQ(attributes.mq_maxmsg, 10);
        EXPECT_EQ(attributes.mq_msgsize, 2124);
        EXPECT_EQ(attributes.mq_flags, 0);

        const std::string request(2124, 'x');
        const mqd_t client = ::mq_open("/norvad.mq", O_WRONLY);
        ASSERT_EQ(::mq_send(client, request.data(), request.size(), 256), 0);
        ::mq_close(client);
        ASSERT_EQ(Events(queue.Descriptor()), POLLIN);
        std::array<uint8_t, 2124> message{};
        EXPECT_EQ(queue.Receive(message), 2124);
        EXPECT_EQ(message[2123], 'x');

        const std::string printed = PrintedBy([] { EXPECT_EQ(KernelRequestQueue().Descriptor(), -1); });
        EXPECT_EQ(printed, "[Switch] creating message queue failed: File exists\n");
    });
}

TEST(KernelRequestQueue, NameStaysWhenTheQueueIsClosed) {
    InPrivateNamespace([] {
        { const KernelRequestQueue queue; }
        EXPECT_EQ(::mq_unlink("/norvad.mq"), 0);
    });
}

TEST(KernelBorders, SwitchStartsOnARunningInterface) {
    InPrivateNamespace([] {
        MakePair();
        SystemClock clock;
        KernelBorders borders(clock);

        Switch bridge("sw0", clock, borders);

        EXPECT_EQ(Hex({bridge.GetMacAddress(), 6}), "02 00 00 00 10 01");
        EXPECT_GE(bridge.Dispatcher().Descriptor(), 0);
        EXPECT_GE(bridge.LinkDescriptor(), 0);
        EXPECT_GE(bridge.Requests().Descriptor(), 0);
        for (const int descriptor :
             {bridge.Dispatcher().Descriptor(), bridge.LinkDescriptor(), bridge.Requests().Descriptor()}) {
            EXPECT_EQ(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
        }
    });
}

TEST(KernelBorders, SwitchDoesNotStartWithoutItsInterface) {
    InPrivateNamespace([] {
        SystemClock clock;
        KernelBorders borders(clock);
        (void)PrintedBy(
            [&] { EXPECT_EQ(FailureOf([&] { Switch("nosuch0", clock, borders); }), "unable to get interface index"); });
    });
}

}  // namespace
}  // namespace norvad
