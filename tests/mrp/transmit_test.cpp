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
