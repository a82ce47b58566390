#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "base/mac_address.h"

namespace norvad::board {

// Which port a station was last heard on, learned from source addresses and forgotten after a while. The table is
// of fixed size, four entries to a bucket; where a bucket is full the entry heard of longest ago gives way.
class ForwardingDatabase {
public:
    static constexpr size_t capacity = 1024;
    static constexpr int64_t agingNs = 300'000'000'000;  // IEEE 802.1Q, table 8-6

    struct Entry {
        uint16_t vid;
        MacAddress address;
        uint8_t port;
        int64_t heardNs;
    };

    // A group address is nobody's source and is not learned.
    void Learn(uint16_t vid, const MacAddress& address, uint8_t port, int64_t nowNs);

    std::optional<uint8_t> Find(uint16_t vid, const MacAddress& address, int64_t nowNs) const;

    // A station may have moved when the port it was heard on goes down.
    void ForgetPort(uint8_t port);

    // The entries that have not aged, for display.
    std::vector<Entry> Entries(int64_t nowNs) const;

private:
    static constexpr size_t ways = 4;
    using Bucket = std::array<std::optional<Entry>, ways>;

    static size_t BucketIndex(uint16_t vid, const MacAddress& address);

    std::array<Bucket, capacity / ways> buckets;
};

}  // namespace norvad::board
