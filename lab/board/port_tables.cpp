#include "lab/board/port_tables.h"

#include <algorithm>
#include <tuple>

namespace norvad::board {

namespace {

uint64_t TableKey(uint16_t vid, const MacAddress& address) {
    uint64_t key = vid;
    for (const auto byte : address) key = key << 8 | byte;
    return key;
}

// Of parameter 2 the small limits are percentages of traffic class 2, all others totals of a VLAN's reservations in
// bytes per second, of which the smallest stream has more.
bool IsPercentage(uint32_t parameter, int32_t limit) {
    return parameter == 2 && limit >= 1 && limit <= 100;
}

}  // namespace

void VlanTable::Add(uint16_t vid, uint8_t portMask) {
    members.at(vid) |= portMask;
}

void VlanTable::Remove(uint16_t vid, uint8_t portMask) {
    auto& mask = members.at(vid);
    mask = static_cast<uint8_t>(mask & ~portMask);
}

uint8_t VlanTable::Members(uint16_t vid) const {
    return members.at(vid);
}

std::vector<std::pair<uint16_t, uint8_t>> VlanTable::Entries() const {
    std::vector<std::pair<uint16_t, uint8_t>> entries;
    for (uint16_t vid = 0; vid < members.size(); ++vid) {
        if (members[vid] != 0) entries.emplace_back(vid, members[vid]);
    }
    return entries;
}

bool MulticastTable::Add(uint16_t vid, const MacAddress& address, uint8_t portMask) {
    if (auto* entry = Find(vid, address)) {
        entry->portMask |= portMask;
        return true;
    }
    if (entries.size() >= capacity) return false;
    entries.emplace(TableKey(vid, address), MulticastEntry{vid, address, portMask, 0, {}});
    return true;
}

void MulticastTable::Remove(uint16_t vid, const MacAddress& address, uint8_t portMask) {
    const auto found = entries.find(TableKey(vid, address));
    if (found == entries.end()) return;
    auto& mask = found->second.portMask;
    mask = static_cast<uint8_t>(mask & ~portMask);
    if (mask == 0) entries.erase(found);
}

MulticastEntry* MulticastTable::Find(uint16_t vid, const MacAddress& address) {
    const auto found = entries.find(TableKey(vid, address));
    return found == entries.end() ? nullptr : &found->second;
}

std::vector<MulticastEntry*> MulticastTable::Entries() {
    std::vector<MulticastEntry*> sorted;
    sorted.reserve(entries.size());
    for (auto& [key, entry] : entries) sorted.push_back(&entry);
    std::sort(sorted.begin(), sorted.end(), [](const auto* left, const auto* right) {
        return std::tie(left->vid, left->address) < std::tie(right->vid, right->address);
    });
    return sorted;
}

bool EgressLimits::Set(uint8_t port, uint32_t parameter, int32_t limit) {
    const auto found = limits.find({port, parameter});
    if (found == limits.end() && limits.size() >= capacity) return false;
    limits[{port, parameter}] = limit;
    return true;
}

void EgressLimits::ForgetReservations() {
    std::erase_if(limits, [](const auto& entry) { return !IsPercentage(entry.first.second, entry.second); });
}

uint64_t EgressLimits::Reserved(uint8_t port) const {
    uint64_t bytesPerSecond = 0;
    for (const auto& [key, limit] : limits) {
        if (key.first == port && !IsPercentage(key.second, limit)) bytesPerSecond += static_cast<uint32_t>(limit);
    }
    return bytesPerSecond;
}

std::optional<int32_t> EgressLimits::Find(uint8_t port, uint32_t parameter) const {
    const auto found = limits.find({port, parameter});
    if (found == limits.end()) return {};
    return found->second;
}

}  // namespace norvad::board
