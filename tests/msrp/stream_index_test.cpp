#include "msrp/stream_index.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <vector>

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
    entry.Add(listener);
    index.DropIfEmpty(entry);
    ASSERT_EQ(index.Find(Id(1)), &entry);

    entry.Remove(listener);
    index.DropIfEmpty(entry);
    EXPECT_EQ(index.Find(Id(1)), nullptr);
    EXPECT_NE(index.Find(Id(2)), nullptr);
}

TEST(StreamIndex, FindsTheOthersWhileItGrowsAndShrinks) {
    constexpr uint32_t many = 2000;
    StreamIndex index(ports);
    for (uint32_t n = 0; n < many; ++n) index.Get(Id(n));
    for (uint32_t n = 0; n + 1 < many; ++n) {
        index.DropIfEmpty(*index.Find(Id(n)));
        ASSERT_EQ(index.Find(Id(n)), nullptr) << n;
        ASSERT_NE(index.Find(Id(many - 1)), nullptr) << n;
    }
}

// Every combination of talkers, failed talkers and listeners on three ports, the outermost ones among them.
TEST(StreamEntry, TellsTheRecordsOfEveryPortApart) {
    const std::array<uint8_t, 3> usedPorts = {0, 3, 6};
    for (uint32_t combination = 0; combination < 1u << 9; ++combination) {
        StreamEntry entry(Id(1), ports);
        std::vector<std::unique_ptr<StreamAttribute>> records;
        for (uint32_t n = 9; n-- > 0;) {
            const uint8_t port = usedPorts[n / 3];
            if (n % 3 == 0) records.push_back(std::make_unique<Talker>(TalkerFirstValue{}, port));
            if (n % 3 == 1) records.push_back(std::make_unique<TalkerFailed>(TalkerFailedFirstValue{}, port));
            if (n % 3 == 2) records.push_back(std::make_unique<Listener>(Id(1), port));
            entry.Add(*records.back());
        }
        for (uint32_t n = 0; n < 9; ++n) {
            if ((combination >> n & 1) == 0) entry.Remove(*records[8 - n]);
        }

        for (uint32_t n = 0; n < 9; ++n) {
            const StreamRecords found = entry.On(usedPorts[n / 3]);
            const StreamAttribute* const byType[] = {found.talker, found.talkerFailed, found.listener};
            const StreamAttribute* expected = (combination >> n & 1) != 0 ? records[8 - n].get() : nullptr;
            ASSERT_EQ(byType[n % 3], expected) << combination << " " << n;
        }
        ASSERT_EQ(entry.IsEmpty(), combination == 0);
    }
}

TEST(StreamIndex, RefusesAPortBeyondTheTable) {
    StreamIndex index(ports);
    EXPECT_THROW(index.Get(Id(1)).On(ports), std::out_of_range);
}

}  // namespace
}  // namespace norvad::test
