#include "lab/board/timestamp_store.h"

namespace norvad::board {

namespace {

// Where a stamp is kept: sequence ids that are capacity apart share a place.
StampKey PlaceOf(StampKey key) {
    key.sequenceId %= TimestampStore::capacity;
    return key;
}

}  // namespace

void TimestampStore::Keep(const StampKey& key, uint64_t value, int64_t referenceNs) {
    Fault& fault = FaultOf(key.direction, key.port);
    if (fault.lose > 0) {
        --fault.lose;
        return;
    }
    Stamp stamp{key.sequenceId, value, referenceNs, 0};
    if (fault.delay > 0) {
        --fault.delay;
        stamp.vainQueries = fault.queries;
    }
    stamps.insert_or_assign(PlaceOf(key), stamp);
    taken.push_back({PlaceOf(key), referenceNs});
    ForgetTooOld(referenceNs);
}

// Of those that nobody asks for.
void TimestampStore::ForgetTooOld(int64_t referenceNs) {
    while (!taken.empty() && referenceNs - taken.front().referenceNs > maximumAgeNs) {
        const auto found = stamps.find(taken.front().place);
        if (found != stamps.end() && found->second.referenceNs == taken.front().referenceNs) stamps.erase(found);
        taken.pop_front();
    }
}

std::optional<uint64_t> TimestampStore::Take(const StampKey& key, int64_t referenceNs) {
    const auto found = stamps.find(PlaceOf(key));
    if (found == stamps.end() || found->second.sequenceId != key.sequenceId) return {};
    Stamp& stamp = found->second;
    const bool isTooOld = referenceNs - stamp.referenceNs > maximumAgeNs;
    if (!isTooOld && stamp.vainQueries > 0) {
        --stamp.vainQueries;
        return {};
    }
    const uint64_t value = stamp.value;
    stamps.erase(found);
    if (isTooOld) return {};
    return value;
}

void TimestampStore::Clear() {
    stamps.clear();
    taken.clear();
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

}  // namespace norvad::board
