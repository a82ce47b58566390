#include "mrp/place_set.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <set>

namespace norvad::test {
namespace {

// The last place that a set can hold.
constexpr uint32_t lastPlace = (1u << 24) - 1;

TEST(PlaceSet, IsEmptyAtFirst) {
    const PlaceSet set;

    EXPECT_TRUE(set.IsEmpty());
    EXPECT_FALSE(set.Contains(0));
    EXPECT_EQ(set.Next(0), PlaceSet::none);
    EXPECT_EQ(set.Next(lastPlace), PlaceSet::none);
}

TEST(PlaceSet, FindsAPlaceFromItselfAndFromBeforeButNotFromBehind) {
    for (const uint32_t place : {0u, 1u, 63u, 64u, 4095u, 4096u, 262143u, 262144u, lastPlace}) {
        PlaceSet set;
        set.Set(place, true);

        EXPECT_TRUE(set.Contains(place)) << place;
        EXPECT_FALSE(set.IsEmpty()) << place;
        EXPECT_EQ(set.Next(0), place);
        EXPECT_EQ(set.Next(place), place);
        EXPECT_EQ(set.Next(place + 1), PlaceSet::none) << place;

        set.Set(place, false);

        EXPECT_FALSE(set.Contains(place)) << place;
        EXPECT_TRUE(set.IsEmpty()) << place;
        EXPECT_EQ(set.Next(0), PlaceSet::none) << place;
    }
}

TEST(PlaceSet, TakesOutWhatItDoesNotHoldWithoutEffect) {
    PlaceSet set;
    set.Set(7, true);

    set.Set(8, false);
    set.Set(100'000, false);
    set.Set(7, true);

    EXPECT_EQ(set.Next(0), 7u);
    EXPECT_EQ(set.Next(8), PlaceSet::none);
}

// Against the ordered set of the standard library: places close together and far apart, put in and taken out at random.
TEST(PlaceSet, AgreesWithAnOrderedSet) {
    std::mt19937 random(1);
    for (const uint32_t reach : {100u, 5'000u, 300'000u, lastPlace}) {
        PlaceSet set;
        std::set<uint32_t> model;
        std::uniform_int_distribution<uint32_t> place(0, reach);
        for (int step = 0; step < 3'000; ++step) {
            const uint32_t at = place(random);
            const bool belongs = random() % 3 != 0;
            set.Set(at, belongs);
            if (belongs) model.insert(at);
            if (!belongs) model.erase(at);
            if (step % 4 == 0 && !model.empty()) {
                set.Set(*model.begin(), false);
                model.erase(model.begin());
            }

            const uint32_t from = place(random);
            const auto next = model.lower_bound(from);
            ASSERT_EQ(set.Next(from), next == model.end() ? PlaceSet::none : *next) << from;
            ASSERT_EQ(set.Contains(from), model.count(from) != 0) << from;
            ASSERT_EQ(set.IsEmpty(), model.empty());
        }
    }
}

}  // namespace
}  // namespace norvad::test
