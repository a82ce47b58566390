// Random datagrams of link messages, whole and broken, read by the link monitor, by a switch and by a literal model.

#include <gtest/gtest.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstdint>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "base/ethertypes.h"
#include "switch/link_monitor.h"
#include "switch/switch.h"
#include "tests/support/bytes.h"
#include "tests/support/fake_doors.h"
#include "tests/support/fake_link_socket.h"
#include "tests/support/link_messages.h"
#include "tests/support/recording_handler.h"
#include "tests/support/stepped_clock.h"
#include "tests/switch/link_model.h"

namespace norvad::test {
namespace {

constexpr auto interfaceName = "eth0";

class RandomDatagrams {
public:
    explicit RandomDatagrams(uint32_t seed) : random(seed) {}

    Bytes Next() {
        Bytes datagram;
        for (uint32_t left = 1 + Below(Below(10) == 0 ? 60 : 4); left > 0; --left) {
            datagram = Join({datagram, AnyMessage()});
        }
        if (Below(8) == 0) datagram.resize(1 + Below(static_cast<uint32_t>(datagram.size())));
        if (Below(8) == 0) datagram[Below(static_cast<uint32_t>(datagram.size()))] = static_cast<uint8_t>(Below(256));
        return datagram;
    }

private:
    uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(random() % bound); }

    uint16_t AnyType() {
        constexpr uint16_t types[] = {
            LinkMessage::delLink, LinkMessage::done, LinkMessage::error, 0, 18, 0x1000, 0x0110};
        return Below(10) != 0 ? LinkMessage::newLink : types[Below(std::size(types))];
    }
    Bytes AnyMessage() {
        constexpr uint8_t families[] = {LinkMessage::bridgeFamily, LinkMessage::bridgeFamily, LinkMessage::plainFamily,
                                        28};
        LinkMessage message(families[Below(4)], AnyType());
        for (uint32_t left = Below(5); left > 0; --left) AddAttribute(message);
        Bytes bytes = message.Bytes();
        if (Below(4) == 0) ShortenLast(bytes);
        if (Below(20) == 0) SetLength(bytes, 0, 16 + Below(17));  // up to a bare link header
        if (Below(20) == 0) bytes.resize(bytes.size() + 4 * Below(3));
        return bytes;
    }
    void AddAttribute(LinkMessage& message) {
        switch (Below(6)) {
            case 0:
            case 1:
                return AddName(message);
            case 2:
                message.PortLinkValue(Below(2) == 0 ? static_cast<uint32_t>(random()) : Below(16) << 4 * Below(8));
                return;
            case 3:
                message.OperState(static_cast<uint8_t>(Below(2) == 0 ? 6 : Below(8)));
                return;
            case 4:  // an attribute of attributes, which means nothing here
                message.Attribute(static_cast<uint16_t>(26 + Below(2) * 0x8000),
                                  Part(PortLinkMessage(interfaceName, 0xFFFF'FFFF), 32, 12 + 8));
                return;
            default:
                message.Attribute(static_cast<uint16_t>(Below(20) + Below(4) / 3 * 0x8000), AnyBytes(Below(12)));
        }
    }
    void AddName(LinkMessage& message) {
        constexpr const char* names[] = {"eth0", "eth0", "eth0", "eth1", "eth", "eth00", ""};
        const std::string name = names[Below(std::size(names))];
        if (Below(4) != 0) {
            message.Name(name);
            return;
        }
        Bytes value(name.begin(), name.end());  // without its zero, or with more behind it
        if (Below(2) == 0) value = Join({value, {0}, AnyBytes(Below(6))});
        message.Attribute(LinkMessage::nameAttribute, value);
    }
    // The last attribute and its message end where they end, and only the next message begins at a multiple of four.
    void ShortenLast(Bytes& message) {
        SetLength(message, 0, static_cast<uint32_t>(message.size()) - Below(4));
        for (uint32_t left = Below(4); left > 0; --left)
            message[message.size() - left] = static_cast<uint8_t>(random());
    }
    static void SetLength(Bytes& message, size_t offset, uint32_t length) {
        std::ranges::copy(HostOrder(length, 4), message.begin() + offset);
    }
    Bytes AnyBytes(size_t size) {
        Bytes bytes(size);
        for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
        return bytes;
    }

    std::mt19937 random;
};

// A switch whose one handler writes down what it is told.
struct SwitchUnderTest {
    SwitchUnderTest() {
        bridge.Dispatcher().AddHandler(boost::make_shared<RecordingHandler>(ETHERTYPE_MSRP, "", events));
    }
    std::vector<std::string> Read(const Bytes& datagram) {
        doors.links.Queue(datagram);
        bridge.UpdateLinks();
        return std::exchange(events, {});
    }

    std::vector<std::string> events;
    SteppedClock clock;
    FakeDoors doors{clock};
    Switch bridge{interfaceName, clock, doors};
};

TEST(LinkMonitorAndItsModel, ReadTheSameFromEveryDatagram) {
    for (uint32_t seed = 0; seed < 200; ++seed) {
        RandomDatagrams datagrams(seed);
        auto door = std::make_unique<FakeLinkSocket>();
        FakeLinkSocket& socket = *door;
        LinkMonitor monitor(interfaceName, std::move(door));
        LinkModel model(interfaceName);
        for (int n = 0; n < 100; ++n) {
            const Bytes datagram = datagrams.Next();
            SCOPED_TRACE("seed " + std::to_string(seed) + " datagram " + std::to_string(n) + " " + ToHex(datagram));
            socket.Queue(datagram);

            ASSERT_EQ(monitor.read_netlink(), model.Read(datagram));
            for (uint8_t port = 0; port < 9; ++port) ASSERT_EQ(monitor.GetPortLinkState(port), model.LinkOfPort(port));
            ASSERT_EQ(monitor.OperationalState(), model.operationalState);
            ASSERT_EQ(monitor.WentUp(), model.up);
            ASSERT_EQ(monitor.WentDown(), model.down);
        }
    }
}

TEST(LinkMonitorAndItsModel, MakeTheSamePortEvents) {
    size_t told = 0;
    for (uint32_t seed = 0; seed < 50; ++seed) {
        RandomDatagrams datagrams(seed);
        SwitchUnderTest real;
        LinkModel links(interfaceName);
        PortsModel ports;
        for (int n = 0; n < 100; ++n) {
            const Bytes datagram = datagrams.Next();
            links.Read(datagram);
            std::vector<std::string> expected;
            for (const std::string& event : ports.Update(links)) expected.push_back(" " + event);

            ASSERT_EQ(real.Read(datagram), expected) << "seed " << seed << " datagram " << n << " " << ToHex(datagram);
            told += expected.size();
        }
    }

    EXPECT_GT(told, 50 * 100u);  // or the datagrams were too tame to tell
}

}  // namespace
}  // namespace norvad::test
