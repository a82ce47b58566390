#include <gtest/gtest.h>
#include <unistd.h>

#include <array>

#include "switch/cpu_tag.h"
#include "switch/kernel/packet_driver_socket.h"
#include "switch/kernel/raw_socket.h"
#include "tests/support/captured_log.h"
#include "tests/switch/cable.h"

namespace norvad {
namespace {

using namespace test;

TEST(PacketDriverSocket, LogsItsStepsAndReadsTheInterfacesAddress) {
    ExpectIsolated([] {
        MakePair();
        const std::string index = std::to_string(::if_nametoindex("sw0"));
        const auto live = [] {
            const PacketDriverSocket socket("sw0", ETHERTYPE_TAG);
            EXPECT_EQ(ToHex(socket.HardwareAddress()), "02 00 00 00 10 01");
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
    ExpectIsolated([] {
        const std::string printed = PrintedBy([] {
            EXPECT_EQ(FailureOf([] { PacketDriverSocket("nosuch0", 0xDADA); }), "unable to get interface index");
        });
        EXPECT_EQ(printed, "unable to get iface index : No such device\n");
    });
}

TEST(PacketDriverSocket, RequestToAnInterfaceWithoutTheDriverFails) {
    ExpectIsolated([] {
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
    ExpectIsolated([] {
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

}  // namespace
}  // namespace norvad
