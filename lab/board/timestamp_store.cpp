#include "lab/board/timestamp_store.h"

#include <algorithm>

namespace norvad::board {

void TimestampStore::Keep(const StampKey& key, uint64_t value, int64_t referenceNs) {
    Fault& fault = FaultOf(key.direction, key.port);
    if (fault.lose > 0) {
        --fault.lose;
        return;
    }
    Stamp stamp{key, value, referenceNs, 0};
    if (fault.delay > 0) {
        --fault.delay;
        stamp.vainQueries = fault.queries;
    }
    SlotFor(key) = stamp;
}

std::optional<uint64_t> TimestampStore::Take(const StampKey& key, int64_t referenceNs) {
    const auto isWanted = [&](const auto& slot) { return slot && slot->key == key; };
    const auto slot = std::find_if(stamps.begin(), stamps.end(), isWanted);
    if (slot == stamps.end()) return {};
    if (referenceNs - (*slot)->referenceNs > maximumAgeNs) {
        slot->reset();
        return {};
    }
    if ((*slot)->vainQueries > 0) {
        --(*slot)->vainQueries;
        return {};
    }
    const uint64_t value = (*slot)->value;
    slot->reset();
    return value;
}

void TimestampStore::LoseNext(Direction direction, uint8_t port, uint32_t count) {
    FaultOf(direction, port).lose = count;
}

void TimestampStore::DelayNext(Direction direction, uint8_t port, uint32_t count, uint32_t queries) {
    Fault& fault = FaultOf(direction, port);
    fault.delay = count;
    fault.queries = queries;
}

TimestampStore::Fault& TimestampStore::FaultOf(Direction direction, uint8_t port) {
    return faults.at(static_cast<size_t>(direction) * ports + port);
}

// The slot of the same key, else a free one, else the oldest.
std::optional<TimestampStore::Stamp>& TimestampStore::SlotFor(const StampKey& key) {
    const auto age = [&](const auto& slot) {
        if (!slot) return INT64_MIN + 1;
        return slot->key == key ? INT64_MIN : slot->referenceNs;
    };
    return *std::min_element(stamps.begin(), stamps.end(),
                             [&](const auto& left, const auto& right) { return age(left) < age(right); });
}

}  // namespace norvad::board
