#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "tests/soak/world.h"

namespace norvad::test {

namespace {

constexpr uint64_t minuteMs = 60'000;
constexpr uint64_t dayMs = 24 * 60 * minuteMs;

// Measured against the end of the first hour. What is held in rows and tables grows to the largest crowd seen so far
// and may stay so, and some frame or other is always under way. Anything that were kept for each trouble, of which a
// day has some 1,400, would be beyond it within days.
constexpr int64_t tolerableBytes = 16 * 1024;

int Days() {
    const char* const days = std::getenv("NORVAD_SOAK_DAYS");
    return days ? std::atoi(days) : 1;
}

}  // namespace

TEST(TwoBridges, AreEachEveningAsTheyWereAtFirst) {
    World world(4711);
    world.RunTroubledMs(60 * minuteMs);
    ASSERT_TRUE(world.IsWhole()) << world.State();
    const std::string firstState = world.UsualState();
    const int64_t firstBytes = world.LeastBytes();
    std::printf("first hour: %lld bytes\n", static_cast<long long>(firstBytes));

    for (int day = 1; day <= Days(); ++day) {
        world.RunTroubledMs(dayMs - 3 * minuteMs);
        ASSERT_TRUE(world.IsWhole()) << "day " << day << "\n" << world.State();
        ASSERT_EQ(world.UsualState(), firstState) << "day " << day;
        const int64_t moreBytes = world.LeastBytes() - firstBytes;
        std::printf("day %d: %+lld bytes; so far %s\n", day, static_cast<long long>(moreBytes),
                    world.Account().c_str());
        std::fflush(stdout);
        ASSERT_LE(moreBytes, tolerableBytes) << "day " << day;
    }
}

}  // namespace norvad::test
