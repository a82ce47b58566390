#pragma once

#include <cstddef>
#include <vector>

namespace norvad {

// Gives what was freed back to the system. The allocator by itself keeps it while a few blocks live on between the
// freed ones. Takes some milliseconds after a flood, so ask for it seldom.
void GiveMemoryBack();

// Hash maps and vectors keep room for the most that they ever held. To be called after a removal: gives room back when
// less than an eighth of it is used, so that it costs the same for each removal in the mean. Iterators are invalid
// then.
template <typename Map>
void GiveRoomBack(Map& map) {
    constexpr size_t fewBuckets = 64;
    if (map.bucket_count() > fewBuckets && map.size() < map.bucket_count() / 8) map.rehash(2 * map.size());
}

template <typename Value>
void GiveRoomBack(std::vector<Value>& values) {
    constexpr size_t fewValues = 64;
    if (values.capacity() > fewValues && values.size() < values.capacity() / 8) values.shrink_to_fit();
}

}  // namespace norvad
