#pragma once

#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

#include "base/mac_address.h"
#include "base/memory.h"
#include "switch/ports.h"

namespace norvad {

struct VlanEntry {
    static constexpr bool staysWhenEmpty = true;

    uint16_t vid = 0;
    uint16_t portMask = 0;  // bit n: port n is a member
};

struct MulticastEntry {
    static constexpr bool staysWhenEmpty = false;  // addresses without end would come and go

    uint16_t vid = 0;
    MacAddress address{};
    uint16_t portMask = 0;  // bit n: frames leave by port n
};

// What tells entries of one table apart.
constexpr uint64_t MembershipKey(const VlanEntry& entry) {
    return entry.vid;
}

constexpr uint64_t MembershipKey(const MulticastEntry& entry) {
    uint64_t key = entry.vid;
    for (const uint8_t byte : entry.address) key = key << 8 | byte;
    return key;
}

// Which ports belong to a VLAN or a multicast group. VLANs keep the order of their first use and are never removed; a
// mask may become 0. A multicast group that has lost its last port is forgotten. A lookup costs the same for any number
// of entries.
template <typename Entry>
class MembershipTable {
public:
    // Makes port (0..15) a member of the entry that has wanted's key, appended when it is new; the mask in wanted
    // is ignored. True when port was no member before.
    bool Enable(Entry wanted, uint8_t port) {
        wanted.portMask = 0;
        const auto [found, isNew] = index.try_emplace(MembershipKey(wanted), entries.size());
        if (isNew) entries.push_back(wanted);
        return Change(entries[found->second], PortBit(port), true);
    }

    // Ends the membership; true when there was one.
    bool Disable(const Entry& wanted, uint8_t port) {
        const auto found = index.find(MembershipKey(wanted));
        if (found == index.end()) return false;
        const size_t at = found->second;
        if (!Change(entries[at], PortBit(port), false)) return false;
        if (!Entry::staysWhenEmpty && entries[at].portMask == 0) Forget(at);
        return true;
    }

    std::span<const Entry> Entries() const { return entries; }

private:
    static bool Change(Entry& entry, uint16_t bit, bool member) {
        if (((entry.portMask & bit) != 0) == member) return false;
        entry.portMask = static_cast<uint16_t>(entry.portMask ^ bit);
        return true;
    }

    // The last entry takes its place.
    void Forget(size_t at) {
        index.erase(MembershipKey(entries[at]));
        if (at + 1 < entries.size()) {
            entries[at] = entries.back();
            index[MembershipKey(entries[at])] = at;
        }
        entries.pop_back();
        GiveRoomBack(entries);
        GiveRoomBack(index);
    }

    std::vector<Entry> entries;
    std::unordered_map<uint64_t, size_t> index;  // of entries, by key
};

}  // namespace norvad
