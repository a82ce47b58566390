// How many VLANs a neighbour gets records for.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mvrp/mvrp_bridge.h"
#include "tests/support/captured_log.h"

namespace norvad::test {
namespace {

constexpr uint16_t bound = 4096;

class MvrpBound : public testing::Test, protected MvrpBridge {
protected:
    void Fill(uint8_t port, uint16_t first = 0) {
        for (uint16_t n = 0; n < bound; ++n) mvrp.AddVlan(static_cast<uint16_t>(first + n), Event::RNEW, port);
    }
};

TEST_F(MvrpBound, TheFirstVlanBeyondItIsRefusedWithALine) {
    CapturedLog filling;
    Fill(0);
    EXPECT_EQ(filling.Text(), "");
    EXPECT_NE(mvrp.FindVlan(bound - 1, 0), nullptr);

    CapturedLog watch;
    mvrp.AddVlan(bound, Event::RJOIN_IN, 0);

    EXPECT_EQ(mvrp.FindVlan(bound, 0), nullptr);
    EXPECT_EQ(RegisteredOn(0).size(), 4096u);
    EXPECT_EQ(watch.Text(), "[SW-MRP] Port(0) refuses attributes of type 5 beyond 4096\n");
}

TEST_F(MvrpBound, WhatIsKnownIsRefreshedAsEver) {
    Fill(0);

    mvrp.AddVlan(7, Event::RLV, 0);
    mvrp.AddVlan(7, Event::RJOIN_IN, 0);

    EXPECT_EQ(mvrp.FindVlan(7, 0)->state.registrar, RegistrarState::IN);
}

TEST_F(MvrpBound, ARemovalMakesRoomForOneMore) {
    Fill(0);
    mvrp.RemoveAttribute(*mvrp.FindVlan(7, 0));

    mvrp.AddVlan(bound, Event::RNEW, 0);
    mvrp.AddVlan(bound + 1, Event::RNEW, 0);

    EXPECT_NE(mvrp.FindVlan(bound, 0), nullptr);
    EXPECT_EQ(mvrp.FindVlan(bound + 1, 0), nullptr);
}

TEST_F(MvrpBound, CopiesAreNeverRefusedAndDoNotCount) {
    Fill(0);
    Fill(1, bound);

    EXPECT_EQ(VlansOn(0).size(), 2u * bound);
    EXPECT_EQ(VlansOn(1).size(), 2u * bound);
    EXPECT_EQ(RegisteredOn(1).size(), 4096u);
}

}  // namespace
}  // namespace norvad::test
