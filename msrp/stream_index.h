#pragma once

#include <boost/container/small_vector.hpp>
#include <boost/intrusive/unordered_set.hpp>
#include <cstdint>
#include <vector>

#include "msrp/msrp_attributes.h"

namespace norvad {

// One port's records of a stream, each null when there is none.
struct StreamRecords {
    Talker* talker = nullptr;
    TalkerFailed* talkerFailed = nullptr;
    Listener* listener = nullptr;

    bool IsEmpty() const { return !talker && !talkerFailed && !listener; }
};

// All records of one stream, by port. Handling a value of a stream never looks further than this.
class StreamEntry : public boost::intrusive::unordered_set_base_hook<> {
public:
    StreamEntry(const StreamID& id, uint8_t portCount) : id(id), ports(portCount) {}

    // Throws std::out_of_range for a port beyond the table.
    StreamRecords& On(uint8_t port) { return ports.at(port); }
    const StreamRecords& On(uint8_t port) const { return ports.at(port); }

    bool IsEmpty() const;

    // Has the processor fetch all records at once: with thousands of streams they are cold, and wanted one by one.
    void Prefetch() const;

    const StreamID id;

private:
    boost::container::small_vector<StreamRecords, 7> ports;
};

// The streams by id. Only a stream's first and last record take and free memory.
class StreamIndex {
public:
    explicit StreamIndex(uint8_t portCount);
    ~StreamIndex();

    StreamEntry* Find(const StreamID& id);  // null for a stream without records
    StreamEntry& Get(const StreamID& id);   // makes an entry where there is none
    void DropIfEmpty(StreamEntry& entry);

private:
    struct Key {
        using type = StreamID;
        const StreamID& operator()(const StreamEntry& entry) const { return entry.id; }
    };
    struct Hash {
        size_t operator()(const StreamID& id) const;
    };
    using Streams =
        boost::intrusive::unordered_set<StreamEntry, boost::intrusive::key_of_value<Key>, boost::intrusive::hash<Hash>,
                                        boost::intrusive::power_2_buckets<true>>;
    using Buckets = std::vector<Streams::bucket_type>;

    void Grow();

    const uint8_t portCount;
    Buckets buckets;
    Streams streams;
};

}  // namespace norvad
