#include "msrp/stream_index.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace norvad::test {
namespace {

constexpr uint8_t ports = 7;

StreamID Id(uint32_t number) {
    return {2,
            0,
            0,
            0,
            0,
            static_cast<uint8_t>(number >> 16),
            static_cast<uint8_t>(number >> 8),
            static_cast<uint8_t>(number)};
}

TEST(StreamIndex, FindsEveryStreamHoweverManyThereAre) {
    constexpr uint32_t many = 1000;
    StreamIndex index(ports);
    std::vector<StreamEntry*> entries;
    for (uint32_t n = 0; n < many; ++n) entries.push_back(&index.Get(Id(n)));
    for (uint32_t n = 0; n < many; ++n) {
        ASSERT_EQ(index.Find(Id(n)), entries[n]) << n;
        ASSERT_EQ(entries[n]->id, Id(n));
    }
    EXPECT_EQ(index.Find(Id(many)), nullptr);
}

TEST(StreamIndex, MakesOneEntryAStream) {
    StreamIndex index(ports);
    StreamEntry& first = index.Get(Id(1));
    EXPECT_EQ(&index.Get(Id(1)), &first);
    EXPECT_NE(&index.Get(Id(2)), &first);
}

TEST(StreamIndex, DropsAnEntryOnlyWhenItHasNoRecords) {
    StreamIndex index(ports);
    Listener listener(Id(1), 6);
    StreamEntry& entry = index.Get(Id(1));
    index.Get(Id(2));
    entry.On(6).listener = &listener;
    index.DropIfEmpty(entry);
    ASSERT_EQ(index.Find(Id(1)), &entry);

    entry.On(6).listener = nullptr;
    index.DropIfEmpty(entry);
    EXPECT_EQ(index.Find(Id(1)), nullptr);
    EXPECT_NE(index.Find(Id(2)), nullptr);
}

TEST(StreamIndex, RefusesAPortBeyondTheTable) {
    StreamIndex index(ports);
    EXPECT_THROW(index.Get(Id(1)).On(ports), std::out_of_range);
}

}  // namespace
}  // namespace norvad::test
