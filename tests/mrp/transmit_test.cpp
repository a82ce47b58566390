#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mrp/per_port_timers.h"
#include "tests/mrp/test_participant.h"

namespace norvad::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class Transmit : public testing::Test, protected ParticipantBench {
protected:
    std::vector<uint64_t> SentAfterMs(uint64_t startMs) const {
        std::vector<uint64_t> times;
        for (const auto& pdu : mrp.sent) times.push_back(pdu.ms - startMs);
        return times;
    }
};

TEST(TransmitPacing, TheThirdRequestWaitsForTheWindowOfTheFirst) {
    SteppedClock clock;
    TransmitPacing pacing;

    EXPECT_EQ(pacing.Request(clock.Monotonic()), 1u);
    EXPECT_EQ(pacing.Request(clock.Monotonic()), 1u);
    clock.AdvanceMs(100);
    EXPECT_EQ(pacing.Request(clock.Monotonic()), 200u);
}

TEST(TransmitPacing, ElapsedTimeCountsWholeMilliseconds) {
    SteppedClock clock;
    TransmitPacing almost, reached;
    for (int i = 0; i < 2; ++i) {
        almost.Request(clock.Monotonic());
        reached.Request(clock.Monotonic());
    }

    clock.AdvanceNs(299'999'999);
    EXPECT_EQ(almost.Request(clock.Monotonic()), 1u);  // 300 - 299
    clock.AdvanceNs(1);
    EXPECT_EQ(reached.Request(clock.Monotonic()), 1u);
}

TEST(TransmitPacing, AtOnceTheThirdRequestWaits300Milliseconds) {
    SteppedClock clock;
    TransmitPacing pacing;
    pacing.Request(clock.Monotonic());
    pacing.Request(clock.Monotonic());

    EXPECT_EQ(pacing.Request(clock.Monotonic()), 300u);
}

TEST(TransmitPacing, AClockThatWasSteppedBackCostsTheWholeWindow) {
    TransmitPacing pacing;
    pacing.Request({500, 0});
    pacing.Request({500, 0});

    EXPECT_EQ(pacing.Request({400, 0}), 300u);
}

TEST_F(Transmit, ALoneChangeGoesOutAfterOneMillisecond) {
    const uint64_t start = NowMs();

    mrp.Run(mrp.Add(1, 0, 5), Event::JOIN);
    EXPECT_THAT(mrp.sent, IsEmpty());
    RunMs(50);

    ASSERT_THAT(mrp.sent, testing::Not(IsEmpty()));
    EXPECT_EQ(mrp.sent[0].ms, start + 1);
    EXPECT_EQ(mrp.sent[0].port, 0);
}

TEST_F(Transmit, TwoChangesWithinAMillisecondShareOneOpportunity) {
    mrp.Run(mrp.Add(1, 0, 5), Event::JOIN);
    mrp.Run(mrp.Add(1, 0, 6), Event::JOIN);
    RunMs(1);

    ASSERT_THAT(mrp.sent, SizeIs(1));
    EXPECT_EQ(mrp.valuesAdded, 2u);
}

TEST_F(Transmit, WhatIsStillToBeSentGetsTheNextOpportunities) {
    const uint64_t start = NowMs();

    mrp.Run(mrp.Add(1, 0, 5), Event::NEW);  // VN, AN, AA, then quiet
    RunMs(1000);

    EXPECT_THAT(SentAfterMs(start), ElementsAre(1, 2, 300));
}

TEST_F(Transmit, NoPortGetsMoreThanThreeOpportunitiesInAny300Milliseconds) {
    TestAttribute& attribute = mrp.Add(1, 0, 5);
    for (int ms = 0; ms < 5000; ++ms) {
        mrp.Run(attribute, Event::NEW);
        RunMs(1);
    }

    EXPECT_GE(mrp.sent.size(), 45u);
    for (size_t i = 3; i < mrp.sent.size(); ++i) EXPECT_GE(mrp.sent[i].ms - mrp.sent[i - 3].ms, 300u) << i;
}

TEST_F(Transmit, PortsArePacedApart) {
    for (int i = 0; i < 3; ++i) {
        mrp.Run(mrp.Add(1, 0, 5), Event::JOIN);
        RunMs(1);
    }
    const uint64_t start = NowMs();
    mrp.Run(mrp.Add(1, 1, 6), Event::JOIN);
    RunMs(1);

    EXPECT_EQ(mrp.sent.back().port, 1);
    EXPECT_EQ(mrp.sent.back().ms, start + 1);
}

TEST_F(Transmit, ARequestOfAPortBeyondTheListDoesNothing) {
    mrp.RequestTransmit(2);
    mrp.RequestTransmit(255);
    RunMs(400);

    EXPECT_THAT(mrp.sent, IsEmpty());
}

TEST_F(Transmit, AnActiveLeaveAllAsksForAnOpportunity) {
    mrp.RunAttributeStateMachines(nullptr, 1, Event::LEAVEALLTIMER);
    RunMs(1);

    ASSERT_THAT(mrp.sent, SizeIs(1));
    EXPECT_EQ(mrp.sent[0].port, 1);
    EXPECT_EQ(mrp.sent[0].payload, FromHex("00 "                             // protocol version
                                           "01 02 00 06 20 00 00 00 00 00 "  // LeaveAll for type 1, no values
                                           "02 02 00 06 20 00 00 00 00 00 "  // and for type 2
                                           "00 00"));
}

TEST_F(Transmit, OnlyWhatHasSomethingToSendIsSentInListOrder) {
    TestAttribute& first = mrp.Add(1, 0, 1);
    mrp.Run(mrp.Add(1, 0, 2), Event::RNEW);
    mrp.Run(mrp.Add(1, 0, 3), Event::JOIN);
    mrp.Run(mrp.Add(2, 0, 4), Event::NEW);
    mrp.Run(first, Event::JOIN);  // last to ask, first in the list

    EXPECT_EQ(mrp.BuildPdu(0), FromHex("00 "
                                       "01 02 00 0c 00 01 00 01 6c 00 01 00 03 6c 00 00 "  // JoinMt 1, JoinMt 3
                                       "02 02 00 07 00 01 00 04 00 00 00 "                 // New 4
                                       "00 00"));
}

TEST_F(Transmit, NothingToSendMakesNoMessage) {
    mrp.Run(mrp.Add(1, 0, 1), Event::RNEW);

    EXPECT_THAT(mrp.BuildPdu(0), IsEmpty());
}

TEST_F(Transmit, ALeaveAllRunsThroughRegistrarsAndMarksTheFirstVectorOnly) {
    TestAttribute& both = mrp.Add(1, 0, 1);
    mrp.Run(both, Event::JOIN);
    mrp.Run(both, Event::RJOIN_IN);
    TestAttribute& quiet = mrp.Add(1, 0, 2);
    mrp.Run(quiet, Event::RJOIN_IN);
    mrp.RunAttributeStateMachines(nullptr, 0, Event::LEAVEALLTIMER);
    mrp.Run(mrp.Add(1, 0, 3), Event::NEW);

    EXPECT_EQ(mrp.BuildPdu(0),
              FromHex("00 "
                      "01 02 00 0c 20 01 00 01 6c 00 01 00 03 00 00 00 "  // JoinMt 1: now leaving; New 3
                      "02 02 00 06 20 00 00 00 00 00 "
                      "00 00"));
    EXPECT_EQ(both.state.registrar, RegistrarState::LV);
    EXPECT_EQ(quiet.state.registrar, RegistrarState::LV);
    EXPECT_EQ(quiet.state.applicant, ApplicantState::LO);
}

TEST_F(Transmit, AFullPduWithoutLeaveAllRunsNothing) {
    TestAttribute& attribute = mrp.Add(1, 0, 1);
    mrp.Run(attribute, Event::JOIN);

    EXPECT_FALSE(mrp.TxAttribute(attribute, 0, false, true));
    EXPECT_EQ(attribute.state.applicant, ApplicantState::VP);
}

TEST_F(Transmit, AFullPduWithLeaveAllPutsTheDeclarationOff) {
    TestAttribute& attribute = mrp.Add(1, 0, 1);
    attribute.state.applicant = ApplicantState::QA;
    attribute.state.registrar = RegistrarState::IN;

    EXPECT_FALSE(mrp.TxAttribute(attribute, 0, true, true));
    EXPECT_EQ(attribute.state.applicant, ApplicantState::VP);
    EXPECT_EQ(attribute.state.registrar, RegistrarState::IN);
}

TEST_F(Transmit, WhatDoesNotFitFollowsInLaterOpportunities) {
    constexpr size_t inOnePdu = 275;  // values of 5 bytes behind a header of 4 until 1377 bytes are reached
    for (uint8_t i = 0; i < 200; ++i) mrp.Run(mrp.Add(1, 0, i), Event::JOIN);
    for (uint8_t i = 0; i < 200; ++i) mrp.Run(mrp.Add(1, 0, i), Event::JOIN);

    EXPECT_EQ(mrp.BuildPdu(0).size(), 1 + 4 + 5 * inOnePdu + 2 + 2);
    std::vector<size_t> values = {mrp.valuesAdded};
    for (int i = 0; i < 4; ++i) {
        mrp.BuildPdu(0);
        values.push_back(mrp.valuesAdded);
    }

    // Each value is sent twice, those at the front of the list first.
    EXPECT_THAT(values, ElementsAre(inOnePdu, inOnePdu, 400 - inOnePdu, 400 - inOnePdu, 0));
}

class TakingTurns : public Transmit {
protected:
    void Declare(uint8_t port, uint8_t type, size_t count) {
        for (size_t i = 0; i < count; ++i) mrp.Run(mrp.Add(type, port, static_cast<uint8_t>(i)), Event::NEW);
    }
    // Types of the messages of a PDU with values in them, in their order.
    static std::vector<uint8_t> TypesWithValues(const Bytes& pdu) {
        std::vector<uint8_t> types;
        constexpr size_t withoutValues = 6;  // a LeaveAll and an end mark
        for (size_t at = 1; pdu.at(at) != 0;) {
            const size_t listLength = pdu.at(at + 2) << 8 | pdu.at(at + 3);
            if (listLength > withoutValues) types.push_back(pdu[at]);
            at += 4 + listLength;
        }
        return types;
    }
};

TEST_F(TakingTurns, TypesThatFindRoomAreAlwaysAskedInTheOrderOfThePdu) {
    Declare(0, 1, 100);
    Declare(0, 2, 100);

    for (int i = 0; i < 4; ++i) {
        mrp.BuildPdu(0);
        EXPECT_THAT(mrp.asked, ElementsAre(1, 2)) << i;
    }
}

TEST_F(TakingTurns, ATypeThatFoundNoRoomIsAskedFirstNextTimeAndKeepsItsPlaceInThePdu) {
    Declare(0, 1, 400);
    Declare(0, 2, 1);

    EXPECT_THAT(TypesWithValues(mrp.BuildPdu(0)), ElementsAre(1));
    const Bytes second = mrp.BuildPdu(0);

    EXPECT_THAT(mrp.asked, ElementsAre(2, 1));
    EXPECT_THAT(TypesWithValues(second), ElementsAre(1, 2));
    // Its eleven bytes are taken from the room of the others: 1377 less 11 is reached by 273 values.
    EXPECT_EQ(mrp.valuesAdded, 273u + 1);
    EXPECT_EQ(Bytes(second.begin(), second.begin() + 10), FromHex("00 01 02 05 57 00 01 00 00 00"));
    EXPECT_EQ(Bytes(second.end() - 13, second.end()), FromHex("02 02 00 07 00 01 00 00 00 00 00 00 00"));
}

TEST_F(TakingTurns, FourTypesThatEachFillAPduFollowOneAnother) {
    mrp.messages = {{1, 2}, {2, 2}, {3, 2}, {4, 2}};
    for (uint8_t type = 1; type <= 4; ++type) Declare(0, type, 1'000);

    std::vector<uint8_t> served;
    for (int i = 0; i < 8; ++i) {
        const auto types = TypesWithValues(mrp.BuildPdu(0));
        ASSERT_THAT(types, SizeIs(1));
        served.push_back(types[0]);
    }

    EXPECT_THAT(served, ElementsAre(1, 2, 3, 4, 1, 2, 3, 4));
}

TEST_F(TakingTurns, ATypeThatGotOnlyAPartOfItsValuesInHasHadItsTurn) {
    mrp.messages = {{1, 2}, {2, 2}, {3, 2}};
    Declare(0, 1, 200);
    Declare(0, 2, 200);
    Declare(0, 3, 1);

    mrp.BuildPdu(0);
    EXPECT_THAT(mrp.asked, ElementsAre(1, 2, 3));
    mrp.BuildPdu(0);
    EXPECT_THAT(mrp.asked, ElementsAre(3, 1, 2));
}

TEST_F(TakingTurns, APortsTurnsAreItsOwn) {
    Declare(0, 1, 400);
    Declare(0, 2, 1);
    Declare(1, 1, 1);

    mrp.BuildPdu(0);
    mrp.BuildPdu(1);

    EXPECT_THAT(mrp.asked, ElementsAre(1, 2));
}

TEST_F(TakingTurns, WhatALeaveAllPutsOffIsAskedFirst) {
    Declare(0, 1, 400);
    Declare(0, 2, 1);
    while (!mrp.BuildPdu(0).empty()) continue;
    mrp.RunAttributeStateMachines(nullptr, 0, Event::LEAVEALLTIMER);

    EXPECT_THAT(TypesWithValues(mrp.BuildPdu(0)), ElementsAre(1));
    EXPECT_THAT(TypesWithValues(mrp.BuildPdu(0)), ElementsAre(1, 2));
    EXPECT_THAT(mrp.asked, ElementsAre(2, 1));
}

TEST_F(TakingTurns, ALeaveAllPutsNothingOffForATypeThatDeclaresNothing) {
    Declare(0, 1, 400);
    mrp.Run(mrp.Add(2, 0, 1), Event::RJOIN_IN);
    while (!mrp.BuildPdu(0).empty()) continue;
    mrp.RunAttributeStateMachines(nullptr, 0, Event::LEAVEALLTIMER);

    mrp.BuildPdu(0);
    mrp.BuildPdu(0);

    EXPECT_THAT(mrp.asked, ElementsAre(1, 2));
}

TEST_F(Transmit, WithLeaveAllWhatDoesNotFitIsDeclaredAgainLater) {
    constexpr size_t count = 400;
    for (size_t i = 0; i < count; ++i) mrp.Run(mrp.Add(1, 0, static_cast<uint8_t>(i)), Event::JOIN);
    do {
        mrp.BuildPdu(0);
    } while (mrp.valuesAdded > 0);
    mrp.RunAttributeStateMachines(nullptr, 0, Event::LEAVEALLTIMER);

    mrp.BuildPdu(0);
    size_t anxious = 0;
    mrp.ForEach(0, [&](MRPAttribute& attribute) { anxious += attribute.state.applicant == ApplicantState::VP; });

    EXPECT_EQ(mrp.valuesAdded, 275u);
    EXPECT_EQ(anxious, count - 275);
}

}  // namespace
}  // namespace norvad::test
