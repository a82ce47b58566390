#include "base/memory.h"

#include <gtest/gtest.h>

#include <unordered_map>

namespace norvad::test {
namespace {

TEST(Room, OfAMapThatHeldThousandsIsGivenBackAsTheyGo) {
    std::unordered_map<int, int> map;
    for (int n = 0; n < 10'000; ++n) map[n] = n;

    for (int n = 0; n < 9'990; ++n) {
        map.erase(n);
        GiveRoomBack(map);
    }

    EXPECT_LT(map.bucket_count(), 200U);
    EXPECT_EQ(map.size(), 10U);
    EXPECT_EQ(map.at(9'999), 9'999);
}

TEST(Room, OfAVectorThatHeldThousandsIsGivenBackAsTheyGo) {
    std::vector<int> values(10'000, 7);

    while (values.size() > 10) {
        values.pop_back();
        GiveRoomBack(values);
    }

    EXPECT_LT(values.capacity(), 200U);
    EXPECT_EQ(values, std::vector<int>(10, 7));
}

TEST(Room, IsKeptWhereAnEighthOfItIsUsed) {
    std::vector<int> values;
    values.reserve(800);
    values.resize(100);
    GiveRoomBack(values);
    EXPECT_EQ(values.capacity(), 800U);
}

}  // namespace
}  // namespace norvad::test
