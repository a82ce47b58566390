#include <gtest/gtest.h>

#include "lab/board/forwarding_database.h"
#include "lab/board/port_tables.h"
#include "lab/board/ports.h"
#include "tests/lab/board/support.h"

namespace norvad::board {
namespace {

using test::second;

constexpr MacAddress station{0x02, 0, 0, 0, 0, 0x05};
constexpr MacAddress group{0x91, 0xE0, 0xF0, 0, 0x01, 0};

TEST(ForwardingDatabase, FindsAStationWhereItWasHeardLast) {
    ForwardingDatabase stations;
    EXPECT_FALSE(stations.Find(0, station, 0));

    stations.Learn(0, station, 0, 0);
    EXPECT_EQ(stations.Find(0, station, 0), 0);
    stations.Learn(0, station, 1, 1);
    EXPECT_EQ(stations.Find(0, station, 1), 1);
    EXPECT_EQ(stations.Entries(1).size(), 1u);
}

TEST(ForwardingDatabase, LearnsForEachVlanAlone) {
    ForwardingDatabase stations;
    stations.Learn(5, station, 0, 0);

    EXPECT_FALSE(stations.Find(6, station, 0));
    EXPECT_TRUE(stations.Find(5, station, 0));
}

TEST(ForwardingDatabase, DoesNotLearnGroupAddresses) {
    ForwardingDatabase stations;
    stations.Learn(0, group, 0, 0);

    EXPECT_FALSE(stations.Find(0, group, 0));
    EXPECT_TRUE(stations.Entries(0).empty());
}

TEST(ForwardingDatabase, ForgetsAfterFiveMinutesOfSilence) {
    ForwardingDatabase stations;
    stations.Learn(0, station, 0, 0);
    stations.Learn(0, station, 0, second);  // heard again

    EXPECT_TRUE(stations.Find(0, station, 301 * second));
    EXPECT_FALSE(stations.Find(0, station, 301 * second + 1));
    EXPECT_TRUE(stations.Entries(301 * second + 1).empty());
}

TEST(ForwardingDatabase, ForgetsThePortThatWentDown) {
    ForwardingDatabase stations;
    stations.Learn(0, station, 0, 0);
    stations.Learn(0, {0x02, 0, 0, 0, 0, 0x06}, 1, 0);

    stations.ForgetPort(0);

    EXPECT_FALSE(stations.Find(0, station, 0));
    EXPECT_TRUE(stations.Find(0, {0x02, 0, 0, 0, 0, 0x06}, 0));
}

TEST(ForwardingDatabase, StaysWithinItsSizeAndKeepsTheNewest) {
    ForwardingDatabase stations;
    MacAddress address = station;
    for (uint32_t i = 0; i < 20'000; ++i) {
        address[4] = static_cast<uint8_t>(i >> 8);
        address[5] = static_cast<uint8_t>(i);
        stations.Learn(static_cast<uint16_t>(i >> 16), address, 1, i);
        EXPECT_EQ(stations.Find(static_cast<uint16_t>(i >> 16), address, i), 1);
    }

    EXPECT_LE(stations.Entries(20'000).size(), ForwardingDatabase::capacity);
    EXPECT_GT(stations.Entries(20'000).size(), ForwardingDatabase::capacity / 2);
}

TEST(VlanTable, VlanThatWasNeverProgrammedHasNoMember) {
    VlanTable vlans;

    EXPECT_EQ(vlans.Members(2), 0);
    EXPECT_TRUE(vlans.Entries().empty());
}

TEST(VlanTable, MembersComeAndGoPortByPort) {
    VlanTable vlans;
    vlans.Add(4095, 0x01);
    vlans.Add(4095, 0x02);
    EXPECT_EQ(vlans.Members(4095), 0x03);

    vlans.Remove(4095, 0x01);
    EXPECT_EQ(vlans.Members(4095), 0x02);
    EXPECT_EQ(vlans.Members(4094), 0);
}

TEST(VlanTable, ListsTheVlansThatHaveMembers) {
    VlanTable vlans;
    vlans.Add(4, 0x03);
    vlans.Add(2, 0x01);
    vlans.Add(3, 0x01);
    vlans.Remove(3, 0x01);
    vlans.Remove(5, 0x01);

    EXPECT_EQ(vlans.Members(3), 0);
    EXPECT_EQ(vlans.Members(5), 0);
    const std::vector<std::pair<uint16_t, uint8_t>> expected{{2, 0x01}, {4, 0x03}};
    EXPECT_EQ(vlans.Entries(), expected);
}

TEST(MulticastTable, EntryIsOfOneAddressInOneVlan) {
    MulticastTable multicasts;
    ASSERT_TRUE(multicasts.Add(2, group, 0x02));

    ASSERT_NE(multicasts.Find(2, group), nullptr);
    EXPECT_EQ(multicasts.Find(2, group)->portMask, 0x02);
    EXPECT_EQ(multicasts.Find(3, group), nullptr);
    EXPECT_EQ(multicasts.Find(2, {0x91, 0xE0, 0xF0, 0, 0x01, 1}), nullptr);
}

TEST(MulticastTable, PortsAddUpAndTheEntryGoesWithItsLast) {
    MulticastTable multicasts;
    multicasts.Add(2, group, 0x01);
    multicasts.Add(2, group, 0x02);
    EXPECT_EQ(multicasts.Find(2, group)->portMask, 0x03);

    multicasts.Remove(2, group, 0x01);
    EXPECT_EQ(multicasts.Find(2, group)->portMask, 0x02);
    multicasts.Remove(2, group, 0x02);
    EXPECT_EQ(multicasts.Find(2, group), nullptr);
    multicasts.Remove(2, group, 0x02);
    EXPECT_EQ(multicasts.Size(), 0u);
}

TEST(MulticastTable, IsBounded) {
    MulticastTable multicasts;
    MacAddress address = group;
    for (uint32_t i = 0; i < MulticastTable::capacity; ++i) {
        address[4] = static_cast<uint8_t>(i >> 8);
        address[5] = static_cast<uint8_t>(i);
        ASSERT_TRUE(multicasts.Add(2, address, 0x01));
    }

    EXPECT_FALSE(multicasts.Add(3, group, 0x01));
    EXPECT_TRUE(multicasts.Add(2, group, 0x02));
}

TEST(MulticastTable, ListsByVlanAndAddress) {
    MulticastTable multicasts;
    multicasts.Add(3, group, 1);
    multicasts.Add(2, {0x91, 0xE0, 0xF0, 0, 0x01, 1}, 1);
    multicasts.Add(2, group, 1);

    const auto entries = multicasts.Entries();

    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0]->vid, 2);
    EXPECT_EQ(entries[0]->address, group);
    EXPECT_EQ(entries[1]->vid, 2);
    EXPECT_EQ(entries[2]->vid, 3);
}

TEST(EgressLimits, KeepsTheLastLimitOfEachPortAndParameter) {
    EgressLimits limits;
    EXPECT_FALSE(limits.Find(1, 2));

    limits.Set(1, 2, 1'200'000);
    limits.Set(1, 2, 2'400'000);
    limits.Set(0, 2, -1);

    EXPECT_EQ(limits.Find(1, 2), 2'400'000);
    EXPECT_EQ(limits.Find(0, 2), -1);
    EXPECT_EQ(limits.Entries().size(), 2u);
}

TEST(EgressLimits, IsBounded) {
    EgressLimits limits;
    for (uint32_t i = 0; i < EgressLimits::capacity; ++i) ASSERT_TRUE(limits.Set(0, i, 1));

    EXPECT_FALSE(limits.Set(1, 0, 1));
    EXPECT_TRUE(limits.Set(0, 0, 2));
}

TEST(RateMeter, MeasuresOverWholeSeconds) {
    RateMeter rate;
    rate.Count(0, 10 * second);  // the first second begins
    for (int i = 0; i < 8'000; ++i) rate.Count(150, 10 * second + i * 125'000);

    EXPECT_EQ(rate.BytesPerSecond(10 * second + second / 2), 0u);
    EXPECT_EQ(rate.BytesPerSecond(11 * second), 1'200'000u);
    EXPECT_EQ(rate.BytesPerSecond(11 * second + second / 2), 1'200'000u);
    EXPECT_EQ(rate.BytesPerSecond(12 * second), 0u);
}

TEST(PortLink, NibbleIsLinkSpanningTreeAndSpeed) {
    EXPECT_EQ((PortLink{true, true, PortLink::gigabit}.Nibble()), 0b1110);
    EXPECT_EQ((PortLink{true, false, PortLink::gigabit}.Nibble()), 0b1010);
    EXPECT_EQ((PortLink{true, true, PortLink::fast}.Nibble()), 0b1101);
    EXPECT_EQ((PortLink{false, true, PortLink::gigabit}.Nibble()), 0);
}

TEST(LinkTable, ValueHoldsFourBitsAPort) {
    LinkTable links;
    EXPECT_EQ(links.Value(), 0u);

    links[0] = {true, true, PortLink::gigabit};
    links[1] = {true, false, PortLink::fast};
    links[6] = {true, true, PortLink::fast};

    EXPECT_EQ(links.Value(), 0x0D00'009Eu);
}

}  // namespace
}  // namespace norvad::board
