#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/mac_address.h"

namespace norvad::board {

// The tables that the daemon programs. A mask has bit n for port n.

// Which ports belong to a VLAN: none until they are added.
class VlanTable {
public:
    void Add(uint16_t vid, uint8_t portMask);  // vid 0..4095
    void Remove(uint16_t vid, uint8_t portMask);

    uint8_t Members(uint16_t vid) const;

    void Clear() { members.fill(0); }

    // VLANs that have members, by VLAN id.
    std::vector<std::pair<uint16_t, uint8_t>> Entries() const;

private:
    std::array<uint8_t, 4096> members{};
};

// Bytes per second, measured over stretches of at least one second.
class RateMeter {
public:
    void Count(uint64_t bytes, int64_t nowNs) {
        Close(nowNs);
        windowBytes += bytes;
    }

    // Of the last whole stretch, which ends now when a second has passed since the one before.
    uint64_t BytesPerSecond(int64_t nowNs) {
        Close(nowNs);
        return lastRate;
    }

private:
    static constexpr int64_t windowNs = 1'000'000'000;

    void Close(int64_t nowNs) {
        const int64_t elapsed = nowNs - windowStartNs;
        if (elapsed < windowNs) return;
        lastRate = static_cast<uint64_t>(static_cast<double>(windowBytes) * 1e9 / static_cast<double>(elapsed));
        windowStartNs = nowNs;
        windowBytes = 0;
    }

    int64_t windowStartNs = 0;
    uint64_t windowBytes = 0;
    uint64_t lastRate = 0;
};

// What has been forwarded by one entry of the multicast table.
struct MulticastEntry {
    uint16_t vid;
    MacAddress address;
    uint8_t portMask;
    uint64_t frames = 0;
    RateMeter rate;  // bytes on the wire
};

// Where group addresses go, by VLAN and address.
class MulticastTable {
public:
    static constexpr size_t capacity = 65536;

    // False when the table is full.
    bool Add(uint16_t vid, const MacAddress& address, uint8_t portMask);

    // An entry goes with its last port.
    void Remove(uint16_t vid, const MacAddress& address, uint8_t portMask);

    void Clear() { entries.clear(); }

    // Null for an address without entry.
    MulticastEntry* Find(uint16_t vid, const MacAddress& address);

    size_t Size() const { return entries.size(); }

    // By VLAN and address, for display.
    std::vector<MulticastEntry*> Entries();

private:
    std::unordered_map<uint64_t, MulticastEntry> entries;
};

// The limits as programmed: by port and by the parameter that came with them, a traffic class or a VLAN id.
class EgressLimits {
public:
    static constexpr size_t capacity = 4096;
    using Key = std::pair<uint8_t, uint32_t>;  // port, parameter

    // False when the table is full.
    bool Set(uint8_t port, uint32_t parameter, int32_t limit);

    // Limits in percent of the link stay: an operator set them.
    void ForgetReservations();

    std::optional<int32_t> Find(uint8_t port, uint32_t parameter) const;
    // What the reservations of all VLANs come to on a port, in bytes per second.
    uint64_t Reserved(uint8_t port) const;
    const std::map<Key, int32_t>& Entries() const { return limits; }

private:
    std::map<Key, int32_t> limits;
};

}  // namespace norvad::board
