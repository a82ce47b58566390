#include "switch/membership_table.h"

#include <gtest/gtest.h>

namespace norvad {
namespace {

TEST(MembershipTable, FirstEnableIsAChangeAndTheSecondIsNot) {
    MembershipTable<VlanEntry> table;

    EXPECT_TRUE(table.Enable({2, 0}, 1));
    EXPECT_FALSE(table.Enable({2, 0}, 1));
    EXPECT_TRUE(table.Enable({2, 0}, 6));
    ASSERT_EQ(table.Entries().size(), 1U);
    EXPECT_EQ(table.Entries()[0].vid, 2);
    EXPECT_EQ(table.Entries()[0].portMask, 0x42);
}

TEST(MembershipTable, MaskOfTheWantedEntryIsIgnored) {
    MembershipTable<VlanEntry> table;

    EXPECT_TRUE(table.Enable({2, 0xFFFF}, 0));

    EXPECT_EQ(table.Entries()[0].portMask, 1);
}

TEST(MembershipTable, DisablingWhatWasNeverEnabledIsNoChange) {
    MembershipTable<VlanEntry> table;
    table.Enable({2, 0}, 1);

    EXPECT_FALSE(table.Disable({3, 0}, 1));
    EXPECT_FALSE(table.Disable({2, 0}, 0));
    EXPECT_EQ(table.Entries().size(), 1U);
}

TEST(MembershipTable, EmptyVlanKeepsItsPlace) {
    MembershipTable<VlanEntry> table;
    table.Enable({30, 0}, 1);
    table.Enable({20, 0}, 1);

    EXPECT_TRUE(table.Disable({30, 0}, 1));
    EXPECT_FALSE(table.Disable({30, 0}, 1));
    table.Enable({10, 0}, 1);
    table.Enable({30, 0}, 0);

    ASSERT_EQ(table.Entries().size(), 3U);
    EXPECT_EQ(table.Entries()[0].vid, 30);
    EXPECT_EQ(table.Entries()[0].portMask, 1);
    EXPECT_EQ(table.Entries()[1].vid, 20);
    EXPECT_EQ(table.Entries()[2].vid, 10);
}

// A neighbour that declares new streams all the time made the table grow for as long as the daemon ran.
TEST(MembershipTable, MulticastGroupWithoutAPortIsForgottenAndTheOthersAreFound) {
    MembershipTable<MulticastEntry> table;
    const auto group = [](uint8_t n) { return MulticastEntry{2, {0x91, 0xE0, 0xF0, 0, 0, n}, 0}; };
    for (uint8_t n = 1; n <= 3; ++n) table.Enable(group(n), 0);
    table.Enable(group(1), 1);

    EXPECT_TRUE(table.Disable(group(1), 0));
    EXPECT_EQ(table.Entries().size(), 3U);
    EXPECT_TRUE(table.Disable(group(1), 1));
    EXPECT_EQ(table.Entries().size(), 2U);
    EXPECT_FALSE(table.Disable(group(1), 1));

    EXPECT_FALSE(table.Enable(group(3), 0));
    EXPECT_TRUE(table.Disable(group(3), 0));
    EXPECT_TRUE(table.Disable(group(2), 0));
    EXPECT_TRUE(table.Entries().empty());
    EXPECT_TRUE(table.Enable(group(1), 1));
    EXPECT_EQ(table.Entries()[0].portMask, 2);
}

TEST(MembershipTable, MulticastEntriesDifferByVlanAndByEveryByteOfTheAddress) {
    MembershipTable<MulticastEntry> table;
    const MacAddress address{0x91, 0xE0, 0xF0, 0x00, 0x00, 0x01};
    table.Enable({2, address, 0}, 0);

    EXPECT_TRUE(table.Enable({3, address, 0}, 0));
    for (size_t byte = 0; byte < address.size(); ++byte) {
        MacAddress other = address;
        other[byte] ^= 0x80;
        EXPECT_TRUE(table.Enable({2, other, 0}, 0)) << byte;
    }
    EXPECT_EQ(table.Entries().size(), 8U);
}

TEST(MembershipTable, TenThousandEntriesAreAllFoundAgainInTheirOrder) {
    MembershipTable<MulticastEntry> table;
    const auto address = [](int n) {
        return MacAddress{0x91, 0xE0, 0xF0, 0, static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)};
    };
    for (int n = 0; n < 10'000; ++n) ASSERT_TRUE(table.Enable({2, address(n), 0}, 1));

    for (int n = 0; n < 10'000; ++n) ASSERT_FALSE(table.Enable({2, address(n), 0}, 1));
    for (int n = 0; n < 10'000; ++n) ASSERT_EQ(table.Entries()[static_cast<size_t>(n)].address, address(n));
}

}  // namespace
}  // namespace norvad
