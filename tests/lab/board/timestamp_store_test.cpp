#include <gtest/gtest.h>

#include "lab/board/timestamp_store.h"

namespace norvad::board {
namespace {

constexpr StampKey key{Direction::TRANSMIT, 1, 2, 7};

TEST(TimestampStore, HandsAStampOutOnce) {
    TimestampStore store;
    store.Keep(key, 42, 0);

    EXPECT_EQ(store.Take(key, 1), 42u);
    EXPECT_FALSE(store.Take(key, 1));
}

TEST(TimestampStore, TellsStampsApartByEveryPartOfTheKey) {
    TimestampStore store;
    store.Keep(key, 42, 0);

    EXPECT_FALSE(store.Take({Direction::RECEIVE, 1, 2, 7}, 0));
    EXPECT_FALSE(store.Take({Direction::TRANSMIT, 0, 2, 7}, 0));
    EXPECT_FALSE(store.Take({Direction::TRANSMIT, 1, 3, 7}, 0));
    EXPECT_FALSE(store.Take({Direction::TRANSMIT, 1, 2, 8}, 0));
    EXPECT_EQ(store.Take(key, 0), 42u);
}

TEST(TimestampStore, NewStampOfTheSameKeyReplacesTheOld) {
    TimestampStore store;
    store.Keep(key, 42, 0);
    store.Keep(key, 43, 1);

    EXPECT_EQ(store.Take(key, 2), 43u);
    EXPECT_FALSE(store.Take(key, 2));
}

TEST(TimestampStore, StampAgesOutBeyondTenSeconds) {
    TimestampStore store;
    store.Keep(key, 42, 0);
    EXPECT_EQ(store.Take(key, TimestampStore::maximumAgeNs), 42u);

    store.Keep(key, 43, 0);
    EXPECT_FALSE(store.Take(key, TimestampStore::maximumAgeNs + 1));
    EXPECT_FALSE(store.Take(key, 0));
}

// What the daemon never asks for was kept until its place was taken by another, 1,024 stamps later.
TEST(TimestampStore, ForgetsWhatNobodyAsksForWhenItIsTooOld) {
    TimestampStore store;
    for (uint16_t sequence = 0; sequence < 100; ++sequence) {
        store.Keep({Direction::RECEIVE, 0, 0, sequence}, sequence, 0);
    }
    store.Keep(key, 42, TimestampStore::maximumAgeNs);
    EXPECT_EQ(store.Size(), 101u);

    store.Keep({Direction::TRANSMIT, 1, 2, 8}, 43, TimestampStore::maximumAgeNs + 1);

    EXPECT_EQ(store.Size(), 2u);
    EXPECT_EQ(store.Take(key, TimestampStore::maximumAgeNs + 1), 42u);
}

TEST(TimestampStore, OfTooManyStampsGivesUpTheOldest) {
    TimestampStore store;
    for (uint16_t sequence = 0; sequence <= TimestampStore::capacity; ++sequence) {
        store.Keep({Direction::RECEIVE, 0, 0, sequence}, sequence, sequence);
    }

    EXPECT_FALSE(store.Take({Direction::RECEIVE, 0, 0, 0}, 100));
    for (uint16_t sequence = 1; sequence <= TimestampStore::capacity; ++sequence) {
        EXPECT_EQ(store.Take({Direction::RECEIVE, 0, 0, sequence}, 100), sequence);
    }
}

// A neighbour that floods its port with requests used to push the stamps of all others out, and with them the answers
// that the other port's neighbour waited for.
TEST(TimestampStore, AnyNumberOfStampsCostsNoOtherPortItsOwn) {
    TimestampStore store;
    store.Keep(key, 42, 0);

    for (uint32_t sequence = 0; sequence <= UINT16_MAX; ++sequence) {
        store.Keep({Direction::TRANSMIT, 0, 2, static_cast<uint16_t>(sequence)}, sequence, 1);
    }

    EXPECT_EQ(store.Take(key, 2), 42u);
}

TEST(TimestampStore, LosesAsManyAsOrderedOnThatPortAndDirectionOnly) {
    TimestampStore store;
    store.LoseNext(Direction::TRANSMIT, 1, 2);

    store.Keep({Direction::RECEIVE, 1, 2, 7}, 1, 0);
    store.Keep({Direction::TRANSMIT, 0, 2, 7}, 2, 0);
    for (uint16_t sequence = 0; sequence < 3; ++sequence) store.Keep({Direction::TRANSMIT, 1, 2, sequence}, 3, 0);

    EXPECT_TRUE(store.Take({Direction::RECEIVE, 1, 2, 7}, 0));
    EXPECT_TRUE(store.Take({Direction::TRANSMIT, 0, 2, 7}, 0));
    EXPECT_FALSE(store.Take({Direction::TRANSMIT, 1, 2, 0}, 0));
    EXPECT_FALSE(store.Take({Direction::TRANSMIT, 1, 2, 1}, 0));
    EXPECT_TRUE(store.Take({Direction::TRANSMIT, 1, 2, 2}, 0));
}

TEST(TimestampStore, LateStampComesAfterTheOrderedVainQueries) {
    TimestampStore store;
    store.DelayNext(Direction::TRANSMIT, 1, 1, 3);
    store.Keep(key, 42, 0);

    for (int query = 0; query < 3; ++query) EXPECT_FALSE(store.Take(key, 0));
    EXPECT_EQ(store.Take(key, 0), 42u);

    store.Keep(key, 43, 0);
    EXPECT_EQ(store.Take(key, 0), 43u);
}

}  // namespace
}  // namespace norvad::board
