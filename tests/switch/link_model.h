#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/bytes.h"
#include "tests/support/link_messages.h"

namespace norvad::test {

// A reader of link messages written as one would tell it, byte by byte from offsets into the datagram.
class LinkModel {
public:
    explicit LinkModel(std::string interfaceName) : interfaceName(std::move(interfaceName)) {}

    // Of what was received, at most 4096 bytes are seen. Returns what a read returns.
    int Read(Bytes datagram) {
        if (datagram.size() > 4096) datagram.resize(4096);
        up = down = false;
        for (size_t at = 0; at + 16 <= datagram.size();) {
            const auto length = static_cast<size_t>(HostOrderAt(datagram, at, 4));
            if (length < 16 || length > datagram.size() - at) return 0;
            const uint64_t type = HostOrderAt(datagram, at + 4, 2);
            if (type == 3) return 0;
            if (type == 2) return -1;
            if (type == 16) ReadLink(Part(datagram, at, length));
            at += RoundedUp(length);
        }
        return 0;
    }
    uint32_t LinkOfPort(unsigned port) const { return port <= 7 ? portLinks >> 4 * port & 0xF : 0; }

    uint32_t portLinks = 0;
    uint32_t operationalState = 0;
    bool up = false;
    bool down = false;

private:
    static size_t RoundedUp(size_t length) {
        while (length % 4 != 0) ++length;
        return length;
    }
    // Up to its zero, if it has one.
    static std::string Name(const Bytes& value) {
        std::string name;
        for (const uint8_t byte : value) {
            if (byte == 0) break;
            name += static_cast<char>(byte);
        }
        return name;
    }

    void ReadLink(const Bytes& message) {
        if (message.size() < 32) return;
        const bool bridge = message[16] == 7;
        bool named = false, other = false, markedUp = false, markedDown = false;
        uint32_t newLinks = portLinks, newState = operationalState;
        for (size_t at = 32; at + 4 <= message.size();) {
            const auto length = static_cast<size_t>(HostOrderAt(message, at, 2));
            if (length < 4 || at + length > message.size()) break;
            const uint64_t type = HostOrderAt(message, at + 2, 2);
            const Bytes value = Part(message, at + 4, length - 4);
            if (type == 3) {
                named = Name(value) == interfaceName;
                other = !named;
            }
            if (type == 16 && !bridge && !value.empty()) {
                newState = value[0];
                if (newState != operationalState) (newState == 6 ? markedUp : markedDown) = true;
            }
            if (type == 10 && bridge && value.size() >= 4) {
                const auto links = static_cast<uint32_t>(HostOrderAt(value, 0, 4));
                if (links > newLinks) markedUp = true;
                newLinks = links;
            }
            at += RoundedUp(length);
        }
        if (!other) portLinks = newLinks;  // also of a message that names nobody
        if (!named) return;
        operationalState = newState;
        up = up || markedUp;
        down = down || markedDown;
    }

    const std::string interfaceName;
};

// What the switch's ports make of the values of a LinkModel.
class PortsModel {
public:
    // What handlers are told: all links first, then all spanning trees.
    std::vector<std::string> Update(const LinkModel& links) {
        std::vector<std::string> events;
        for (unsigned port = 0; port < 7; ++port) {
            const uint32_t link = links.LinkOfPort(port) & 0xB;
            if (link == linkStates[port]) continue;
            linkStates[port] = link;
            events.push_back((link > 8 ? "up " : "down ") + std::to_string(port));
        }
        for (unsigned port = 0; port < 7; ++port) {
            const uint32_t stp = links.LinkOfPort(port) & 0x4;
            if (stp == stpStates[port]) continue;
            stpStates[port] = stp;
            events.push_back((stp != 0 ? "STP up " : "STP down ") + std::to_string(port));
        }
        return events;
    }

private:
    std::array<uint32_t, 7> linkStates{};
    std::array<uint32_t, 7> stpStates{};
};

}  // namespace norvad::test
