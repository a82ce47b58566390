#include "lab/board/forwarding_database.h"

#include <algorithm>

#include "lab/common/ethernet_frame.h"

namespace norvad::board {

using namespace lab;

void ForwardingDatabase::Learn(uint16_t vid, const MacAddress& address, uint8_t port, int64_t nowNs) {
    if (IsGroupAddress(address)) return;
    const auto rank = [&](const std::optional<Entry>& entry) {
        if (!entry) return INT64_MIN + 1;
        return entry->vid == vid && entry->address == address ? INT64_MIN : entry->heardNs;
    };
    Bucket& bucket = buckets[BucketIndex(vid, address)];
    auto& slot = *std::min_element(bucket.begin(), bucket.end(),
                                   [&](const auto& left, const auto& right) { return rank(left) < rank(right); });
    slot = Entry{vid, address, port, nowNs};
}

std::optional<uint8_t> ForwardingDatabase::Find(uint16_t vid, const MacAddress& address, int64_t nowNs) const {
    for (const auto& entry : buckets[BucketIndex(vid, address)]) {
        if (!entry || entry->vid != vid || entry->address != address) continue;
        if (nowNs - entry->heardNs > agingNs) return {};
        return entry->port;
    }
    return {};
}

void ForwardingDatabase::ForgetPort(uint8_t port) {
    for (auto& bucket : buckets) {
        for (auto& entry : bucket) {
            if (entry && entry->port == port) entry.reset();
        }
    }
}

std::vector<ForwardingDatabase::Entry> ForwardingDatabase::Entries(int64_t nowNs) const {
    std::vector<Entry> entries;
    for (const auto& bucket : buckets) {
        for (const auto& entry : bucket) {
            if (entry && nowNs - entry->heardNs <= agingNs) entries.push_back(*entry);
        }
    }
    return entries;
}

// Stations of one maker differ in the last bytes only; the multiplication spreads them over the buckets.
size_t ForwardingDatabase::BucketIndex(uint16_t vid, const MacAddress& address) {
    uint64_t key = vid;
    for (const auto byte : address) key = key << 8 | byte;
    return static_cast<size_t>((key * 0x9E3779B97F4A7C15) >> 56) % (capacity / ways);
}

}  // namespace norvad::board
