#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "mrp/listing.h"
#include "tests/mrp/grid.h"
#include "tests/mrp/test_participant.h"
#include "tests/support/captured_log.h"

namespace norvad::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Participant : public testing::Test, protected ParticipantBench {};

TEST_F(Participant, AReceivedNewRegistersAndIsPropagated) {
    TestAttribute& attribute = mrp.Add(1, 0, 5);

    mrp.Run(attribute, Event::RNEW);

    EXPECT_TRUE(attribute.IsRegistered());
    EXPECT_THAT(mrp.calls, ElementsAre("propagate 5 NEW 0"));
}

TEST_F(Participant, TwoJoinsInARowArePropagatedTwice) {
    TestAttribute& attribute = mrp.Add(1, 1, 5);

    mrp.Run(attribute, Event::RJOIN_IN);
    mrp.Run(attribute, Event::RJOIN_IN);

    EXPECT_THAT(mrp.calls, ElementsAre("propagate 5 JOIN 1", "propagate 5 JOIN 1"));
}

TEST_F(Participant, WhatNoNeighbourCanSendHasNoEffect) {
    TestAttribute& attribute = mrp.Add(1, 0, 5);

    CapturedLog captured(LogCategory::MRP);
    mrp.Run(attribute, ReceiveEvent(static_cast<uint8_t>(Event::RLA)));
    mrp.Run(attribute, ReceiveEvent(static_cast<uint8_t>(Event::FLUSH)));

    EXPECT_THAT(captured.Lines(), ElementsAre("Error, invalid RX EVENT 6", "Error, invalid RX EVENT 16"));
    EXPECT_EQ(attribute.state.applicant, ApplicantState::VO);
    EXPECT_THAT(mrp.calls, IsEmpty());
    mrp.Run(attribute, ReceiveEvent(static_cast<uint8_t>(Event::RNEW)));
    EXPECT_THAT(mrp.calls, ElementsAre("propagate 5 NEW 0"));
}

TEST_F(Participant, WithoutAnAttributeOnlyTheLeaveAllMachineAdvances) {
    TestAttribute& attribute = mrp.Add(1, 0, 5);
    mrp.Run(attribute, Event::RJOIN_IN);
    mrp.calls.clear();

    mrp.RunAttributeStateMachines(nullptr, 0, Event::RLA);
    EXPECT_FALSE(mrp.TxLeaveAll(0));
    mrp.RunAttributeStateMachines(nullptr, 0, Event::LEAVEALLTIMER);

    EXPECT_EQ(attribute.state.registrar, RegistrarState::IN);
    EXPECT_THAT(mrp.calls, IsEmpty());
    EXPECT_FALSE(mrp.TxLeaveAll(1));
    EXPECT_TRUE(mrp.TxLeaveAll(0));
    EXPECT_FALSE(mrp.TxLeaveAll(0));
}

TEST_F(Participant, AReceivedLeaveAllTakesOurOwnBack) {
    mrp.RunAttributeStateMachines(nullptr, 0, Event::LEAVEALLTIMER);

    mrp.RunAttributeStateMachines(nullptr, 0, Event::RLA);

    EXPECT_FALSE(mrp.TxLeaveAll(0));
}

TEST_F(Participant, APortBeyondTheListIsOutOfRange) {
    EXPECT_THROW(mrp.RunAttributeStateMachines(nullptr, 2, Event::RLA), std::out_of_range);
    EXPECT_THROW(mrp.ApplyToPort(2, Event::FLUSH), std::out_of_range);
    EXPECT_THROW(mrp.TxLeaveAll(255), std::out_of_range);
    EXPECT_THROW(mrp.Add(1, 2, 5), std::out_of_range);
    EXPECT_EQ(TestAttribute::living, 0);
}

TEST_F(Participant, ATypeBeyondFiveIsOutOfRange) {
    EXPECT_THROW(mrp.Add(0, 0, 5), std::out_of_range);
    EXPECT_THROW(mrp.Add(6, 0, 5), std::out_of_range);
    EXPECT_EQ(TestAttribute::living, 0);
}

TEST_F(Participant, ApplyToPortServesThePortInListOrder) {
    for (const uint8_t value : std::initializer_list<uint8_t>{3, 1, 2})
        mrp.Run(mrp.Add(value, 0, value), Event::RJOIN_IN);
    mrp.Run(mrp.Add(1, 1, 9), Event::RJOIN_IN);
    mrp.calls.clear();

    mrp.ApplyToPort(0, Event::REPROPAGATE);

    EXPECT_THAT(mrp.calls, ElementsAre("propagate 3 NEW 0", "propagate 1 NEW 0", "propagate 2 NEW 0"));
}

TEST_F(Participant, ApplyToTypeServesOneTypeOnly) {
    for (const uint8_t value : std::initializer_list<uint8_t>{1, 2, 3})
        mrp.Run(mrp.Add(value == 2 ? 2 : 1, 0, value), Event::RJOIN_IN);
    mrp.calls.clear();

    mrp.ApplyToType(0, 1, Event::REPROPAGATE);

    EXPECT_THAT(mrp.calls, ElementsAre("propagate 1 NEW 0", "propagate 3 NEW 0"));
}

TEST_F(Participant, RemovalAsksTheApplicationFirstAndFrees) {
    TestAttribute& attribute = mrp.Add(1, 0, 5);

    mrp.RemoveAttribute(attribute);

    EXPECT_THAT(mrp.calls, ElementsAre("delete 5"));
    EXPECT_THAT(mrp.TextsOn(0), IsEmpty());
    EXPECT_EQ(TestAttribute::living, 0);
}

TEST_F(Participant, ItsEndFreesAttributesAndStopsItsTimers) {
    mrp.Run(mrp.Add(1, 0, 5), Event::NEW);
    mrp.Add(2, 1, 6);

    owner.reset();

    EXPECT_EQ(TestAttribute::living, 0);
    clock.AdvanceMs(60'000);
    EXPECT_EQ(timers.runDue(), 10'000u);
}

TEST_F(Participant, TheEventToSendFollowsActionAndRegistrar) {
    const Grid grid = ParseGrid(R"(
        action    IN      LV        MT
        NEW       NEW     NEW       NEW
        JOIN      JOIN    JOINMT    JOINMT
        IN        IN      MT        MT
        LEAVE     LV      LV        LV
        TX_LA     JOIN    MT        MT
        NONE      JOIN    MT        MT
    )");
    TestAttribute attribute(1, 0, 5);

    for (const TxAction action : AllOf<TxAction>(6)) {
        for (const RegistrarState registrar : AllOf<RegistrarState>(registrarStateCount)) {
            attribute.state.action = action;
            attribute.state.registrar = registrar;

            EXPECT_EQ(Name(MRP::EventToSend(attribute)), grid.at({Name(action), Name(registrar)}))
                << Name(action) << " " << Name(registrar);
        }
    }
}

TEST_F(Participant, TheEventToSendIsLoggedAtLevelTwo) {
    TestAttribute attribute(1, 0, 5);
    attribute.state.action = TxAction::JOIN;

    CapturedLog captured(LogCategory::MRP, 2);
    MRP::EventToSend(attribute);

    EXPECT_THAT(captured.Lines(), ElementsAre("sending attribute JOINMT"));
}

TEST_F(Participant, AnEventIsLoggedInTheOrderOfTheMachines) {
    TestAttribute& attribute = mrp.Add(1, 0, 5);

    CapturedLog captured(LogCategory::MRP, 2);
    mrp.Run(attribute, Event::RNEW);

    EXPECT_THAT(
        captured.Lines(),
        ElementsAre("[SW-MRP] RunAttributeStateMachines: Event RNEW",
                    "[SW-MRP] LeaveAll state PASSIVE -> PASSIVE event NONE",
                    "[SW-MRP] Registrar state MT -> IN event NEW",
                    testing::MatchesRegex("\\[SW-MRP\\] \\(0x[0-9a-f]+\\) Event RNEW: Applicant state VO -> VO"),
                    "[SW-MRP] action NONE optional 0"));
}

TEST_F(Participant, StateTextNamesBothMachines) {
    TestAttribute& attribute = mrp.Add(1, 0, 5);

    mrp.Run(attribute, Event::RNEW);
    mrp.Run(attribute, Event::NEW);

    EXPECT_EQ(StateText(attribute), "Applicant VN Registrar IN");
}

}  // namespace
}  // namespace norvad::test
