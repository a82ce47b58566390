#include <gmock/gmock.h>

#include "tests/support/system/ptp4l_test.h"

namespace norvad::test {
namespace {

using Ptp4lMastership = Ptp4lTest;

TEST_F(Ptp4lMastership, TheBridgeTakesOverFromADeadGrandmasterAndStepsBackForItsReturn) {
    StartBetween(grandmasterRole, slaveRole);
    ASSERT_TRUE(WaitForState("SLAVE")) << Everything();
    ASSERT_TRUE(downstream->WaitForGrandmaster(upstream->Identity())) << Everything();
    size_t seen = log.Size();

    upstream->Kill();

    ASSERT_TRUE(WaitForState("MASTER", seen)) << Everything();
    EXPECT_EQ(States(seen), (std::vector<std::string>{"LISTENING", "ANNOUNCE", "MASTER"}));
    EXPECT_TRUE(downstream->WaitForGrandmaster(bridge)) << Everything();
    EXPECT_TRUE(downstream->WaitForOffsetTo(bridge, sameTime)) << Everything();

    seen = log.Size();
    StartUpstream(grandmasterRole);

    EXPECT_TRUE(WaitForState("SLAVE", seen)) << Everything();
    EXPECT_TRUE(downstream->WaitForGrandmaster(upstream->Identity())) << Everything();
    EXPECT_TRUE(downstream->WaitForOffsetTo(upstream->Identity(), sameTime)) << Everything();
}

TEST_F(Ptp4lMastership, AWorseClockFollowsTheBridge) {
    StartBetween({}, Ptp4lRole{254}, {"-n", "-d", "PTP", "1", "--priority1", "249"});

    EXPECT_TRUE(WaitForState("MASTER")) << Everything();

    EXPECT_TRUE(downstream->WaitForGrandmaster(bridge)) << Everything();
    EXPECT_TRUE(downstream->WaitForValue("PARENT_DATA_SET", "grandmasterPriority1", "249")) << Everything();
    EXPECT_TRUE(downstream->WaitForValue("CURRENT_DATA_SET", "stepsRemoved", "1")) << Everything();
    EXPECT_TRUE(downstream->WaitForOffsetTo(bridge, sameTime)) << Everything();
}

// Without its ban the bridge would be grandmaster at the second traffic check after it lost the old one.
TEST_F(Ptp4lMastership, ABridgeThatMustNotBeGrandmasterFollowsOneAndWaitsForTheNext) {
    StartBetween(grandmasterRole, slaveRole, {"-n", "-g", "-d", "PTP", "4"});
    ASSERT_TRUE(downstream->WaitForGrandmaster(upstream->Identity())) << Everything();
    const size_t seen = log.Size();

    upstream->Kill();

    ASSERT_TRUE(WaitForState("LISTENING", seen)) << Everything();
    const std::string check = "[SW-PTP] PTPCheckTrafficAction";
    const size_t checks = log.Count(check);
    ASSERT_TRUE(WaitFor([&] { return log.Count(check) >= checks + 3; })) << Everything();
    EXPECT_THAT(States(), testing::Each(testing::AnyOf("LISTENING", "SLAVE"))) << Everything();
}

}  // namespace
}  // namespace norvad::test
