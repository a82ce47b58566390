#include "msrp/stream_index.h"

#include <algorithm>
#include <bit>
#include <memory>

namespace norvad {
namespace {

constexpr size_t firstBuckets = 64;  // a power of 2, doubled whenever there are as many streams

}  // namespace

bool StreamEntry::IsEmpty() const {
    return std::all_of(ports.begin(), ports.end(), [](const StreamRecords& records) { return records.IsEmpty(); });
}

void StreamEntry::Prefetch() const {
    for (const StreamRecords& records : ports) {
        __builtin_prefetch(records.talker);
        __builtin_prefetch(records.talkerFailed);
        __builtin_prefetch(records.listener);
    }
}

StreamIndex::StreamIndex(uint8_t portCount)
    : portCount(portCount), buckets(firstBuckets), streams(Streams::bucket_traits(buckets.data(), buckets.size())) {}

StreamIndex::~StreamIndex() {
    streams.clear_and_dispose(std::default_delete<StreamEntry>());
}

StreamEntry* StreamIndex::Find(const StreamID& id) {
    const auto found = streams.find(id);
    if (found == streams.end()) return nullptr;
    found->Prefetch();
    return &*found;
}

StreamEntry& StreamIndex::Get(const StreamID& id) {
    if (StreamEntry* known = Find(id)) return *known;
    if (streams.size() == buckets.size()) Grow();
    auto entry = std::make_unique<StreamEntry>(id, portCount);
    streams.insert(*entry);
    return *entry.release();
}

void StreamIndex::DropIfEmpty(StreamEntry& entry) {
    if (!entry.IsEmpty()) return;
    streams.erase_and_dispose(streams.iterator_to(entry), std::default_delete<StreamEntry>());
}

void StreamIndex::Grow() {
    Buckets more(2 * buckets.size());
    streams.rehash(Streams::bucket_traits(more.data(), more.size()));
    buckets.swap(more);  // moves no bucket
}

// The ids of one talker differ in the last bits only, so every bit is mixed into every other; the multiplications
// wrap.
size_t StreamIndex::Hash::operator()(const StreamID& id) const {
    auto bits = std::bit_cast<uint64_t>(id);
    bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9u;
    bits = (bits ^ bits >> 27) * 0x94D049BB133111EBu;
    return bits ^ bits >> 31;
}

}  // namespace norvad
