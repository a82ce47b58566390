#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>
#include <vector>

#include "tests/support/bytes.h"

namespace norvad::test {

// A number as size bytes in the host's order, which is that of netlink.
inline std::vector<uint8_t> HostOrder(uint64_t value, size_t size) {
    std::vector<uint8_t> bytes = BigEndian(value, size);
    if constexpr (std::endian::native == std::endian::little) std::ranges::reverse(bytes);
    return bytes;
}

// The number that stands so, in size bytes from offset on; throws when bytes end before.
inline uint64_t HostOrderAt(std::span<const uint8_t> bytes, size_t offset, size_t size) {
    std::vector<uint8_t> number = Part(bytes, offset, size);
    if constexpr (std::endian::native == std::endian::little) std::ranges::reverse(number);
    return BigEndianAt(number, 0, size);
}

// Link values of one port as the switch driver reports them: up and STP up at a speed, up without STP, down.
inline constexpr uint32_t linkGigabit = 0xE;
inline constexpr uint32_t linkFast = 0xD;
inline constexpr uint32_t linkGigabitBlocked = 0xA;
inline constexpr uint32_t linkFastBlocked = 0x9;
inline constexpr uint32_t linkDown = 0;

// The 32-bit value with 4 bits a port, from port 0 on: PortLinks({linkGigabit, linkFast}).
inline uint32_t PortLinks(std::initializer_list<uint32_t> values) {
    uint32_t all = 0;
    uint32_t shift = 0;
    for (const uint32_t value : values) {
        all |= value << shift;
        shift += 4;
    }
    return all;
}

// Composes route netlink messages in host order. Add attributes in any order; Bytes gives the message.
class LinkMessage {
public:
    static constexpr uint16_t done = 3, error = 2, newLink = 16, delLink = 17;
    static constexpr uint8_t bridgeFamily = 7, plainFamily = 0;
    static constexpr uint16_t nameAttribute = 3, portLinksAttribute = 10, operStateAttribute = 16;

    // A link message of the given family.
    explicit LinkMessage(uint8_t family, uint16_t type = newLink) : bytes(32), type(type) { bytes[16] = family; }

    LinkMessage& Name(std::string_view name) {
        std::vector<uint8_t> value(name.begin(), name.end());
        value.push_back(0);
        return Attribute(nameAttribute, value);
    }
    LinkMessage& OperState(uint8_t state) { return Attribute(operStateAttribute, {state}); }
    LinkMessage& PortLinkValue(uint32_t value) {
        std::vector<uint8_t> payload;
        Append(payload, value);
        return Attribute(portLinksAttribute, payload);
    }
    LinkMessage& Attribute(uint16_t attributeType, const std::vector<uint8_t>& payload) {
        Append(bytes, static_cast<uint16_t>(4 + payload.size()));
        Append(bytes, attributeType);
        bytes.insert(bytes.end(), payload.begin(), payload.end());
        bytes.resize((bytes.size() + 3) / 4 * 4);
        return *this;
    }

    std::vector<uint8_t> Bytes() const {
        std::vector<uint8_t> header;
        Append(header, static_cast<uint32_t>(bytes.size()));
        Append(header, type);
        std::vector<uint8_t> message = bytes;
        std::copy(header.begin(), header.end(), message.begin());
        return message;
    }

    // A message of the header and four bytes: done and error.
    static std::vector<uint8_t> Control(uint16_t type) {
        LinkMessage message(0, type);
        message.bytes.resize(20);
        return message.Bytes();
    }

private:
    template <typename Number>
    static void Append(std::vector<uint8_t>& to, Number value) {
        const auto* first = reinterpret_cast<const uint8_t*>(&value);
        to.insert(to.end(), first, first + sizeof value);
    }

    std::vector<uint8_t> bytes;
    uint16_t type;
};

// What the switch driver sends when a port of the switch changes.
inline std::vector<uint8_t> PortLinkMessage(std::string_view interfaceName, uint32_t portLinks) {
    return LinkMessage(LinkMessage::bridgeFamily).Name(interfaceName).PortLinkValue(portLinks).Bytes();
}

// What the kernel sends when the interface itself changes; 6 is up.
inline std::vector<uint8_t> OperStateMessage(std::string_view interfaceName, uint8_t state) {
    return LinkMessage(LinkMessage::plainFamily).Name(interfaceName).OperState(state).Bytes();
}

}  // namespace norvad::test
