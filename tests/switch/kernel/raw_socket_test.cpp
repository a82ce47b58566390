#include <gtest/gtest.h>

#include <array>
#include <string>

#include "switch/cpu_tag.h"
#include "switch/kernel/raw_socket.h"
#include "tests/support/captured_log.h"
#include "tests/switch/cable.h"

namespace norvad {
namespace {

using namespace test;

TEST(RawSocket, MissingInterfaceFailsWithTheSystemsReason) {
    ExpectIsolated([] {
        SystemClock clock;
        const std::string printed = PrintedBy([&] {
            EXPECT_EQ(FailureOf([&] { RawSocket("nosuch0", 0xDADA, clock); }), "unable to get interface index");
        });
        EXPECT_EQ(printed, "unable to get index: No such device\n");
    });
}

TEST(RawSocket, WithoutPrivilegeFailsToOpen) {
    ExpectIsolated([] {
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
    ExpectIsolated([] {
        Ip("link add fifteen-letters type veth peer name sw1");
        SystemClock clock;
        EXPECT_EQ(FailureOf([&] { RawSocket("fifteen-lettersX", 0xDADA, clock); }), "no failure");
        EXPECT_EQ(FailureOf([&] { RawSocket("fifteen-letters-and-many-more", 0xDADA, clock); }), "no failure");
    });
}

// While the loop waits for time stamps, or refreshes thousands of streams, frames wait here.
TEST(RawSocket, HoldsLargerBurstsThanOtherSockets) {
    ExpectIsolated([] {
        SystemClock clock;
        const auto buffer = [](int descriptor) {
            int bytes = 0;
            socklen_t length = sizeof bytes;
            ::getsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &bytes, &length);
            return bytes;
        };
        const RawSocket frames("lo", 0xDADA, clock);
        const FileDescriptor ordinary(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0));

        EXPECT_GT(buffer(frames.Descriptor()), buffer(ordinary.Get()));
    });
}

TEST(RawSocket, LogsItsStepsAtLevelThree) {
    ExpectIsolated([] {
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
    ExpectIsolated([] {
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
    ExpectIsolated([] {
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
    ExpectIsolated([] {
        MakePair();
        SystemClock clock;
        RawSocket socket("sw0", ETHERTYPE_TAG, clock);
        const FileDescriptor peer = OpenPeer();
        EXPECT_EQ(ToHex(socket.HardwareAddress()), "02 00 00 00 10 01");

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
        EXPECT_EQ(ToHex(std::span(buffer).first(68)), ToHex(in));
    });
}

TEST(RawSocket, FramesOfOtherEtherTypesDoNotArrive) {
    ExpectIsolated([] {
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
    ExpectIsolated([] {
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
    ExpectIsolated([] {
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
    ExpectIsolated([] {
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
    ExpectIsolated([] {
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

}  // namespace
}  // namespace norvad
