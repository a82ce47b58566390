#include "mvrp/mvrpdb.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

namespace norvad::test {
namespace {

TEST(VlanIndex, KeepsOneRecordForEachIdAndPort) {
    VlanIndex index(7);
    std::map<std::pair<uint16_t, uint8_t>, std::unique_ptr<Vlan>> records;
    for (const int vid : {0, 1, 255, 256, 4094, 65535}) {
        for (uint8_t port = 0; port < 7; ++port) {
            auto& record = records[{static_cast<uint16_t>(vid), port}];
            record = std::make_unique<Vlan>(static_cast<uint16_t>(vid), port);
            EXPECT_EQ(index.Find(record->Vid(), port), nullptr);
            index.Set(record->Vid(), port, record.get());
        }
    }

    for (const auto& [key, record] : records) EXPECT_EQ(index.Find(key.first, key.second), record.get());
    EXPECT_EQ(index.Find(2, 0), nullptr);
    EXPECT_EQ(index.Find(1000, 0), nullptr);

    index.Set(255, 6, nullptr);
    EXPECT_EQ(index.Find(255, 6), nullptr);
    EXPECT_NE(index.Find(255, 5), nullptr);
    EXPECT_NE(index.Find(256, 0), nullptr);
}

TEST(VlanIndex, APortBeyondItsTableIsFoundNowhereAndCannotBeSet) {
    VlanIndex index(2);
    Vlan vlan(255, 1);
    index.Set(255, 1, &vlan);

    EXPECT_EQ(index.Find(254, 3), nullptr);  // would be the place of port 1 of the next id
    EXPECT_THROW(index.Set(254, 3, &vlan), std::out_of_range);
}

}  // namespace
}  // namespace norvad::test
