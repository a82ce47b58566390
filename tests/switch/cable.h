#pragma once

#include <gtest/gtest.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "base/clock.h"
#include "base/file_descriptor.h"
#include "switch/kernel/interface_request.h"
#include "switch/kernel/packet_address.h"
#include "switch/kernel/packet_driver_socket.h"
#include "switch/socket_exception.h"
#include "tests/support/bytes.h"
#include "tests/support/isolated_process.h"

// A cable between the interfaces sw0 and sw1 of an isolated process, and what the tests of the kernel's doors do with
// it.

namespace norvad::test {

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

// Runs ip from iproute2.
inline void Ip(const std::string& arguments) {
    const std::string command = "ip " + arguments;
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

inline bool IsRunning(const char* name) {
    const FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request = InterfaceRequest(name);
    return ::ioctl(socket.Get(), SIOCGIFFLAGS, &request) == 0 && (request.ifr_flags & IFF_RUNNING) != 0;
}

// Brings one end of the pair up or down and waits until the kernel has told the other end, up to a second later.
inline void SetLink(const std::string& name, bool up) {
    Ip("link set " + name + (up ? " up" : " down"));
    while (IsRunning("sw0") != up || IsRunning("sw1") != up) ::usleep(1000);
}

inline void MakePair() {
    Ip("link add sw0 address 02:00:00:00:10:01 type veth peer name sw1");
    Ip("link set sw1 up");
    SetLink("sw0", true);
}

// The far end of the cable, for every EtherType.
inline FileDescriptor OpenPeer() {
    constexpr uint16_t everything = 3;
    FileDescriptor peer(OpenPacketSocket(everything));
    const sockaddr_ll address = PacketAddress(everything, static_cast<int32_t>(::if_nametoindex("sw1")));
    EXPECT_EQ(::bind(peer.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return peer;
}

inline Bytes TaggedFrame(uint8_t lastByte) {
    auto frame = FromHex("01 80 c2 00 00 0e 02 00 00 00 00 02 da da 00 00 00 08 00 00 22 ea");
    frame.resize(68, lastByte);
    return frame;
}

inline void SendFrame(const FileDescriptor& peer, const Bytes& frame) {
    ASSERT_EQ(::send(peer.Get(), frame.data(), frame.size(), 0), static_cast<ssize_t>(frame.size()));
}

// What poll says of a descriptor now; it is given ten seconds to say anything.
inline short Events(int descriptor) {
    pollfd entry{descriptor, POLLIN, 0};
    (void)::poll(&entry, 1, 10'000);
    return entry.revents;
}

inline short EventsNow(int descriptor) {
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

}  // namespace norvad::test
