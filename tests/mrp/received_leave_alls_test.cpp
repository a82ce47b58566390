#include "mrp/received_leave_alls.h"

#include <gtest/gtest.h>

#include "tests/mrp/test_participant.h"

namespace norvad::test {
namespace {

class LeaveAlls : public testing::Test, protected ParticipantBench {
protected:
    RegistrarState After(MRPAttribute& attribute, uint8_t type) {
        mrp.Run(attribute, Event::RJOIN_IN);
        leaveAlls.Apply(mrp, 0, type);
        return attribute.state.registrar;
    }

    ReceivedLeaveAlls leaveAlls;
};

TEST_F(LeaveAlls, EachCounts) {
    MRPAttribute& attribute = mrp.Add(1, 0, 1);
    for (int n = 0; n < 300; ++n) ASSERT_EQ(After(attribute, 1), RegistrarState::LV);
}

// Without an end 280 of them, in a frame of 2 kB, held the loop for 0.4 s.
TEST_F(LeaveAlls, EndWhenTheyHaveGoneOverEnoughButForTheFirstOfAType) {
    MRPAttribute& first = mrp.Add(1, 0, 1);
    MRPAttribute& other = mrp.Add(2, 0, 2);
    for (int n = 1; n < 1'000; ++n) mrp.Add(1, 0, 3);

    int counted = 0;
    while (counted < 280 && After(first, 1) == RegistrarState::LV) ++counted;

    EXPECT_EQ(counted, 66);
    EXPECT_EQ(After(other, 2), RegistrarState::LV);
    EXPECT_EQ(After(other, 2), RegistrarState::IN);
    leaveAlls = {};
    EXPECT_EQ(After(first, 1), RegistrarState::LV);
}

}  // namespace
}  // namespace norvad::test
