#pragma once

#include <bit>
#include <boost/container/small_vector.hpp>
#include <boost/intrusive/unordered_set.hpp>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include "msrp/msrp_attributes.h"

namespace norvad {

// One port's records of a stream, each null when there is none.
struct StreamRecords {
    Talker* talker = nullptr;
    TalkerFailed* talkerFailed = nullptr;
    Listener* listener = nullptr;
};

// All records of one stream, by port. Handling a value of a stream never looks further than this.
class StreamEntry : public boost::intrusive::unordered_set_base_hook<> {
public:
    static constexpr uint8_t maxPorts = 10;

    StreamEntry(const StreamID& id, uint8_t portCount) : id(id), portCount(portCount) {}

    // What there is now; later changes do not show. Throws std::out_of_range for a port beyond the table.
    StreamRecords On(uint8_t port) const;

    void Add(StreamAttribute& record);  // the only one of its type on its port
    void Remove(const StreamAttribute& record);

    bool IsEmpty() const { return present == 0; }

    // Has the processor fetch all records at once: with thousands of streams they are cold, and wanted one by one.
    void Prefetch() const {
        for (const StreamAttribute* record : records) __builtin_prefetch(record);
    }

    const StreamID id;

private:
    // Bits of a port, one for each type.
    static constexpr uint32_t talkerBit = 1, talkerFailedBit = 2, listenerBit = 4;
    static constexpr uint32_t typesOfPort = 3;

    static uint32_t BitOf(const StreamAttribute& record) {
        return 1u << (record.port * typesOfPort + record.type - TALKER_ADVERTISE);
    }
    // How many records come before that of the bit: a few, so that counting them one by one is the fastest way where
    // the processor has no instruction for it.
    size_t Rank(uint32_t bit) const {
        size_t rank = 0;
        for (uint32_t before = present & (bit - 1); before != 0; before &= before - 1) ++rank;
        return rank;
    }

    uint32_t present = 0;  // the records that there are, by port and type
    const uint8_t portCount;
    // In the order of their bits. Most streams have a talker on each of two or three ports, and perhaps a listener.
    boost::container::small_vector<StreamAttribute*, 5> records;
};

// The streams by id. Only a stream's first and last record take and free memory.
class StreamIndex {
public:
    explicit StreamIndex(uint8_t portCount);  // at most StreamEntry::maxPorts
    ~StreamIndex();

    // Null for a stream without records.
    StreamEntry* Find(const StreamID& id) {
        const auto found = streams.find(id);
        if (found == streams.end()) return nullptr;
        found->Prefetch();
        return &*found;
    }
    // The stream is wanted next: has the processor fetch the first entry of its bucket, which is mostly its own.
    void Expect(const StreamID& id) const {
        constexpr size_t cacheLine = 64;
        const auto bucket = streams.bucket(id);
        const auto first = streams.begin(bucket);
        if (first == streams.end(bucket)) return;
        const auto* const entry = reinterpret_cast<const uint8_t*>(&*first);
        __builtin_prefetch(entry);
        __builtin_prefetch(entry + cacheLine);
    }
    StreamEntry& Get(const StreamID& id);  // makes an entry where there is none
    void DropIfEmpty(StreamEntry& entry);

private:
    struct Key {
        using type = StreamID;
        const StreamID& operator()(const StreamEntry& entry) const { return entry.id; }
    };
    // The ids of one talker differ in the last bits only, so every bit is mixed into every other; the multiplications
    // wrap.
    struct Hash {
        size_t operator()(const StreamID& id) const {
            auto bits = std::bit_cast<uint64_t>(id);
            bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9u;
            bits = (bits ^ bits >> 27) * 0x94D049BB133111EBu;
            return static_cast<size_t>(bits ^ bits >> 31);
        }
    };
    struct Equal {
        bool operator()(const StreamID& left, const StreamID& right) const {
            return std::bit_cast<uint64_t>(left) == std::bit_cast<uint64_t>(right);
        }
    };
    using Streams =
        boost::intrusive::unordered_set<StreamEntry, boost::intrusive::key_of_value<Key>, boost::intrusive::hash<Hash>,
                                        boost::intrusive::equal<Equal>, boost::intrusive::power_2_buckets<true>>;
    using Buckets = std::vector<Streams::bucket_type>;

    void Resize(size_t bucketCount);

    const uint8_t portCount;
    Buckets buckets;
    Streams streams;
};

inline StreamRecords StreamEntry::On(uint8_t port) const {
    if (port >= portCount) throw std::out_of_range("port of a stream");
    const uint32_t firstBit = 1u << port * typesOfPort;
    const uint32_t bits = present >> port * typesOfPort;
    StreamRecords found;
    if (bits == 0) return found;
    auto record = records.begin() + Rank(firstBit);
    if (bits & talkerBit) found.talker = static_cast<Talker*>(*record++);
    if (bits & talkerFailedBit) found.talkerFailed = static_cast<TalkerFailed*>(*record++);
    if (bits & listenerBit) found.listener = static_cast<Listener*>(*record);
    return found;
}

}  // namespace norvad
