#pragma once

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <initializer_list>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "switch/cpu_tag.h"
#include "tests/support/bytes.h"
#include "tests/support/fake_driver_socket.h"
#include "tests/support/fake_frame_socket.h"
#include "tests/support/fake_link_socket.h"
#include "tests/support/link_messages.h"

namespace norvad::test {

// A request queue that gives the messages a test queues.
class FakeRequestQueue final : public RequestQueue {
public:
    void Queue(Bytes message) {
        received.push_back(std::move(message));
        ready.Add();
    }

    int Descriptor() const override { return ready.Descriptor(); }

    ssize_t Receive(std::span<uint8_t> message) override {
        if (received.empty()) {
            errno = EAGAIN;
            return -1;
        }
        const auto bytes = std::move(received.front());
        received.pop_front();
        ready.Take();
        const size_t length = std::min(bytes.size(), message.size());
        if (length > 0) std::memcpy(message.data(), bytes.data(), length);
        return static_cast<ssize_t>(length);
    }

private:
    std::deque<Bytes> received;
    Readiness ready;
};

// All doors of one switch. Set them up before the switch is built over them and look at them while it lives:
// it owns them once they are opened, so they go with it.
//
//     SteppedClock clock;
//     FakeDoors doors(clock);
//     Switch bridge("eth0", clock, doors);
//     doors.SetPortLinks({linkGigabit, linkFast});
//     bridge.UpdateLinks();
//
// PTP event messages are stamped as they pass: sent ones on the port they leave by, queued ones on the port
// they came from.
class FakeDoors final : public SwitchDoors {
    // Here before they are asked for, so that a test can set them up.
    std::unique_ptr<FakeFrameSocket> frameDoor = std::make_unique<FakeFrameSocket>();
    std::unique_ptr<FakeDriverSocket> driverDoor;
    std::unique_ptr<FakeLinkSocket> linkDoor = std::make_unique<FakeLinkSocket>();
    std::unique_ptr<FakeRequestQueue> requestDoor = std::make_unique<FakeRequestQueue>();

public:
    explicit FakeDoors(const Clock& clock)
        : driverDoor(std::make_unique<FakeDriverSocket>(clock)),
          frames(*frameDoor),
          driver(*driverDoor),
          links(*linkDoor),
          requests(*requestDoor) {
        frames.onTransmit = [this](std::span<const uint8_t> frame) { Stamp(frame, driver.transmitted); };
        frames.onReceive = [this](std::span<const uint8_t> frame) { Stamp(frame, driver.arrived); };
    }

    FakeFrameSocket& frames;
    FakeDriverSocket& driver;
    FakeLinkSocket& links;
    FakeRequestQueue& requests;
    std::vector<std::string> opened;  // "driver eth0 dada", "frames eth0 dada", "links", "requests"
    std::string interfaceName;

    // Reports the link values of the ports from port 0 on, to be read by the switch's next link update.
    void SetPortLinks(std::initializer_list<uint32_t> values) {
        links.Queue(PortLinkMessage(interfaceName, PortLinks(values)));
    }

    // Of the interface, as both sockets report it.
    void SetHardwareAddress(const MacAddress& address) {
        frames.hardwareAddress = address;
        driver.hardwareAddress = address;
    }

    std::unique_ptr<DriverSocket> OpenDriver(const std::string& name, uint16_t protocol) override {
        interfaceName = name;
        opened.push_back("driver " + name + " " + HexOf(protocol));
        return std::move(driverDoor);
    }
    std::unique_ptr<FrameSocket> OpenFrames(const std::string& name, uint16_t protocol) override {
        opened.push_back("frames " + name + " " + HexOf(protocol));
        return std::move(frameDoor);
    }
    std::unique_ptr<LinkSocket> OpenLinks() override {
        opened.emplace_back("links");
        return std::move(linkDoor);
    }
    std::unique_ptr<RequestQueue> OpenRequests() override {
        opened.emplace_back("requests");
        return std::move(requestDoor);
    }

private:
    static std::string HexOf(uint16_t value) { return ToHex(BigEndian(value, 2), ""); }

    // IEEE 802.1AS, 11.4.2: the message type is the low nibble of the first byte, event messages are those
    // below 8, the sequence id stands at byte 30.
    void Stamp(std::span<const uint8_t> frame, std::map<FakeDriverSocket::StampKey, Stamps>& stamps) {
        const auto header = Peek<TaggedHeader>(frame);
        const auto firstByte = Peek<uint8_t>(frame, taggedHeaderSize);
        const auto sequenceId = Peek<boost::endian::big_uint16_t>(frame, taggedHeaderSize + 30);
        if (!header || !firstByte || !sequenceId || header->etherType != ETHERTYPE_PTP2) return;
        const uint8_t messageType = *firstByte & 0xF;
        if (messageType >= 8) return;
        const auto port = static_cast<uint8_t>(header->tag.port >> 3);
        stamps[{port, messageType, *sequenceId}] = driver.Read();
    }
};

}  // namespace norvad::test
