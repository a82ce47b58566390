#include "msrp/stream_index.h"

#include <cassert>
#include <memory>

namespace norvad {
namespace {

// Powers of 2: doubled when there are as many streams, halved when there is a stream for a quarter of them.
constexpr size_t firstBuckets = 64;

}  // namespace

void StreamEntry::Add(StreamAttribute& record) {
    const uint32_t bit = BitOf(record);
    records.insert(records.begin() + Rank(bit), &record);
    present |= bit;
}

void StreamEntry::Remove(const StreamAttribute& record) {
    const uint32_t bit = BitOf(record);
    records.erase(records.begin() + Rank(bit));
    present &= ~bit;
}

StreamIndex::StreamIndex(uint8_t portCount)
    : portCount(portCount), buckets(firstBuckets), streams(Streams::bucket_traits(buckets.data(), buckets.size())) {
    assert(portCount <= StreamEntry::maxPorts);
}

StreamIndex::~StreamIndex() {
    streams.clear_and_dispose(std::default_delete<StreamEntry>());
}

StreamEntry& StreamIndex::Get(const StreamID& id) {
    if (StreamEntry* known = Find(id)) return *known;
    if (streams.size() == buckets.size()) Resize(2 * buckets.size());
    auto entry = std::make_unique<StreamEntry>(id, portCount);
    streams.insert(*entry);
    return *entry.release();
}

void StreamIndex::DropIfEmpty(StreamEntry& entry) {
    if (!entry.IsEmpty()) return;
    streams.erase_and_dispose(streams.iterator_to(entry), std::default_delete<StreamEntry>());
    if (buckets.size() > firstBuckets && streams.size() < buckets.size() / 4) Resize(buckets.size() / 2);
}

void StreamIndex::Resize(size_t bucketCount) {
    Buckets other(bucketCount);
    streams.rehash(Streams::bucket_traits(other.data(), other.size()));
    buckets.swap(other);  // moves no bucket
}

}  // namespace norvad
