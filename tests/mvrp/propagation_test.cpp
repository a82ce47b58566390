#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mvrp/mvrp_bridge.h"
#include "tests/support/captured_log.h"

namespace norvad::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What a neighbour says of VLAN 100 or 200, one vector and one value.
const Bytes new100 = FromHex("00 01 02 00 01 00 64 00 00 00 00 00");
const Bytes join100 = FromHex("00 01 02 00 01 00 64 24 00 00 00 00");
const Bytes leave100 = FromHex("00 01 02 00 01 00 64 b4 00 00 00 00");

class MvrpPropagation : public testing::Test, protected MvrpBridge {
protected:
    // Until a registration that was left has ended.
    void RunLeaveTime() { RunMs(1001); }
    std::string StateOf(uint8_t port) {
        const Vlan* vlan = mvrp.FindVlan(100, port);
        return vlan ? Name(vlan->state.applicant) : "none";
    }
};

TEST_F(MvrpPropagation, ARegistrationMakesThePortAMemberAndIsDeclaredOnTheOthers) {
    Receive(0, join100);

    EXPECT_EQ(bridge.vlans, (std::set<FakeSwitch::Vlan>{{0, 100}}));
    EXPECT_EQ(StateOf(1), "VP");
    EXPECT_TRUE(mvrp.FindVlan(100, 1)->sources.Contains(0));
    EXPECT_TRUE(mvrp.FindVlan(100, 1)->state.periodic);
    EXPECT_EQ(StateOf(2), "none");  // down
}

TEST_F(MvrpPropagation, ANewOneIsDeclaredAsNew) {
    Receive(0, new100);

    EXPECT_EQ(StateOf(1), "VN");
}

TEST_F(MvrpPropagation, AVlanWithTwoSourcesStaysUntilBothHaveLeft) {
    bridge.Raise(2);
    Receive(0, join100);
    Receive(1, join100);
    EXPECT_TRUE(mvrp.FindVlan(100, 2)->sources.Contains(0));
    EXPECT_TRUE(mvrp.FindVlan(100, 2)->sources.Contains(1));
    RunMs(700);

    Receive(0, leave100);
    RunLeaveTime();
    EXPECT_EQ(StateOf(2), "QA");
    EXPECT_TRUE(IsMember(1, 100));
    EXPECT_FALSE(IsMember(0, 100));

    Receive(1, leave100);
    RunLeaveTime();
    RunMs(500);
    EXPECT_EQ(StateOf(2), "none");
    EXPECT_THAT(bridge.vlans, IsEmpty());
}

TEST_F(MvrpPropagation, AVlanThatLeavesIsWithdrawnFromAPortThatIsDownAsWell) {
    Receive(0, join100);
    bridge.ports[1].up = false;  // before anyone was told

    Receive(0, leave100);
    RunLeaveTime();

    EXPECT_FALSE(IsMember(0, 100));
    EXPECT_THAT(VlansOn(1), testing::Not(testing::Contains(testing::HasSubstr("Applicant Q"))));
    ASSERT_TRUE(mvrp.FindVlan(100, 1) == nullptr || mvrp.FindVlan(100, 1)->sources.IsEmpty());
    RunMs(600);
    EXPECT_THAT(VlansOn(1), IsEmpty());
}

TEST_F(MvrpPropagation, APortThatIsDownHearsOfARegistrationWhenItComesUp) {
    bridge.ports[1].up = false;
    Receive(0, join100);
    EXPECT_EQ(StateOf(1), "none");

    bridge.Raise(1);
    mvrp.PortUp(1);

    EXPECT_EQ(StateOf(1), "VN");
}

TEST_F(MvrpPropagation, PortUpDeclaresAgainWhatIsOnThePort) {
    Receive(0, join100);
    RunMs(900);
    ASSERT_EQ(StateOf(1), "QA");

    mvrp.PortUp(1);

    EXPECT_EQ(StateOf(1), "VN");  // REDECLARE, then NEW from port 0
    mvrp.PortUp(0);
    EXPECT_EQ(mvrp.FindVlan(100, 0)->state.registrar, RegistrarState::LV);
}

TEST_F(MvrpPropagation, PortUpDoesNotPropagateWhatIsRegisteredOnThePortItself) {
    Receive(0, join100);
    RunMs(900);

    mvrp.PortUp(0);

    EXPECT_EQ(StateOf(1), "QA");
}

TEST_F(MvrpPropagation, PortDownFlushesThePort) {
    Receive(0, join100);
    Receive(1, FromHex("00 01 02 00 01 00 c8 24 00 00"));

    mvrp.PortDown(0);

    EXPECT_EQ(bridge.vlans, (std::set<FakeSwitch::Vlan>{{1, 200}}));
    EXPECT_FALSE(mvrp.FindVlan(100, 0)->IsRegistered());
    EXPECT_EQ(StateOf(1), "VO");
    RunMs(200);
    EXPECT_THAT(VlansOn(0), IsEmpty());
    EXPECT_THAT(VlansOn(1), ElementsAre("200: Applicant AO Registrar IN"));
}

TEST_F(MvrpPropagation, APortThatComesBackDeclaresWhatTheOtherHolds) {
    Receive(0, join100);
    RunMs(400);
    bridge.ports[1].up = false;
    mvrp.PortDown(1);
    RunMs(1000);
    bridge.sent.clear();

    bridge.Raise(1);
    mvrp.PortUp(1);
    RunMs(1);

    ASSERT_EQ(bridge.SentOn(1).size(), 1u);
    EXPECT_EQ(bridge.SentOn(1)[0][29], 0);  // the event byte: New
}

TEST_F(MvrpPropagation, ChangesOfSourcesAreLogged) {
    bridge.ports[1].up = false;
    bridge.Raise(2);
    const auto line = [](const std::string& rest) {
        return testing::MatchesRegex("\\[SW-MVRP\\] \\(0x[0-9a-f]+\\) Port\\(2\\) " + rest);
    };

    {
        CapturedLog captured(LogCategory::MVRP, 1);
        Receive(0, join100);
        EXPECT_THAT(captured.Lines(),
                    testing::Contains(line("Propagate from \\(0\\): \\[MVRP\\] Vlan:100 Applicant VP Registrar MT")));
    }
    {
        CapturedLog captured(LogCategory::MVRP, 1);
        Receive(1, join100);
        EXPECT_THAT(
            captured.Lines(),
            testing::Contains(line("Propagate from \\(1\\): \\[MVRP\\] Vlan:100 Applicant VP Registrar MT 1 added")));
    }
    CapturedLog captured(LogCategory::MVRP, 1);
    mvrp.PortDown(0);
    EXPECT_THAT(
        captured.Lines(),
        testing::Contains(line("Propagate LV from \\(0\\): \\[MVRP\\] Vlan:100 Applicant VP Registrar MT 0 removed")));
}

}  // namespace
}  // namespace norvad::test
