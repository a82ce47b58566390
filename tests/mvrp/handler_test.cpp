#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mvrp/mvrp_bridge.h"
#include "tests/support/captured_log.h"
#include "tests/support/operator.h"

namespace norvad::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MvrpControl : public testing::Test, protected MvrpBridge {
protected:
    std::string Answer(const std::vector<std::string>& words) { return AnswerOf(mvrp, words); }
};

// A value of a type that is not MVRP's.
class ForeignAttribute final : public MRPAttribute {
public:
    ForeignAttribute() : MRPAttribute(2, 0) {}
    std::span<const uint8_t> FirstValue() const override { return {}; }
    std::string Text() const override { return "foreign"; }
};

class MvrpHandler : public testing::Test, protected MvrpBridge {};

TEST_F(MvrpControl, ListsEveryPortWithItsVlansInTheOrderInWhichTheyCame) {
    Receive(0, FromHex("00 01 02 00 01 00 c8 24 00 00"));
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 00"));

    const std::string listing =
        "Port 0\n"
        "[MVRP] Vlan:200 Applicant AO Registrar IN\n"
        "[MVRP] Vlan:100 Applicant AO Registrar IN\n"
        "Port 1\n"
        "[MVRP] Vlan:200 Applicant VP Registrar MT\n"
        "[MVRP] Vlan:100 Applicant VP Registrar MT\n"
        "Port 2\nPort 3\nPort 4\nPort 5\nPort 6\n";
    EXPECT_EQ(Answer({"--mvrp"}), listing);
    EXPECT_EQ(Answer({"-v"}), listing);
}

TEST_F(MvrpControl, OtherCommandsAreLeftToOthers) {
    EXPECT_EQ(Answer({"--other"}), "");
    EXPECT_EQ(Answer({}), "");
}

TEST_F(MvrpControl, TheOptionIsDescribed) {
    boost::program_options::options_description options;
    mvrp.AddControlOptions(options);

    EXPECT_EQ(options.find("mvrp", false).description(), "show MVRP entries");
}

TEST_F(MvrpHandler, ServesTheMvrpEtherTypeAndJoinsNoGroup) {
    EXPECT_EQ(mvrp.GetEtherType(), 0x88F5);
    EXPECT_EQ(mvrp.GetMulticastAddress(), nullptr);
}

TEST_F(MvrpHandler, PortEventsAreLoggedAtLevelOne) {
    CapturedLog captured(LogCategory::MVRP, 1);
    mvrp.PortUp(1);
    mvrp.PortDown(1);
    mvrp.PortAvbUp(0);
    mvrp.PortAvbDown(0);
    mvrp.PortStpUp(2);
    mvrp.PortStpDown(2);

    EXPECT_THAT(captured.Lines(),
                ElementsAre("[SW-MVRP] port 1 up", "[SW-MVRP] port 1 down", "[SW-MVRP] port 0 AVB up",
                            "[SW-MVRP] port 0 AVB down", "[SW-MVRP] port 2 STP up", "[SW-MVRP] port 2 STP down"));
}

TEST_F(MvrpHandler, AvbAndStpEventsChangeNothing) {
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 00"));
    const auto before = VlansOn(0);

    mvrp.PortAvbUp(0);
    mvrp.PortAvbDown(0);
    mvrp.PortStpUp(0);
    mvrp.PortStpDown(0);

    EXPECT_EQ(VlansOn(0), before);
    EXPECT_TRUE(IsMember(0, 100));
}

TEST_F(MvrpHandler, ARemovalIsAlwaysLoggedAndForgotten) {
    Receive(0, FromHex("00 01 02 00 01 00 64 24 00 00"));

    CapturedLog captured(LogCategory::MVRP);
    mvrp.RemoveAttribute(*mvrp.FindVlan(100, 0));

    EXPECT_THAT(captured.Lines(), ElementsAre("[SW-MVRP] Port(0) Remove VLAN [MVRP] Vlan:100 "));
    EXPECT_EQ(mvrp.FindVlan(100, 0), nullptr);
    EXPECT_THAT(VlansOn(0), IsEmpty());
}

TEST_F(MvrpHandler, AttributesOfAnotherTypeAreOnlyLogged) {
    CapturedLog captured(LogCategory::MVRP);
    MRPAttribute& foreign = mvrp.Insert(std::make_unique<ForeignAttribute>());
    mvrp.RunAttributeStateMachines(&foreign, 0, Event::RNEW);
    mvrp.RemoveAttribute(foreign);

    EXPECT_THAT(captured.Lines(), ElementsAre("Propagate request for unknown attribute type 2",
                                              "DeleteAttribute request for unknown attribute type 2"));
    EXPECT_THAT(bridge.vlans, IsEmpty());
}

TEST_F(MvrpHandler, AnEventThatNoNeighbourCanSendReachesNoVlan) {
    mvrp.AddVlan(100, Event::JOIN, 0);

    CapturedLog captured(LogCategory::MRP);
    mvrp.AddVlan(100, ReceiveEvent(static_cast<uint8_t>(Event::RLA)), 0);

    EXPECT_THAT(captured.Lines(), ElementsAre("Error, invalid RX EVENT 6"));
    EXPECT_THAT(VlansOn(0), ElementsAre("100: Applicant VP Registrar MT"));
}

TEST_F(MvrpHandler, APortBeyondTheTableIsOutOfRange) {
    EXPECT_THROW(mvrp.AddVlan(100, Event::RNEW, 7), std::out_of_range);
    EXPECT_EQ(mvrp.FindVlan(100, 7), nullptr);
    EXPECT_THROW(mvrp.PortDown(7), std::out_of_range);
}

}  // namespace
}  // namespace norvad::test
