#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mrp/test_participant.h"

namespace norvad::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Ge;
using testing::IsEmpty;
using testing::Le;
using testing::Lt;
using testing::SizeIs;

class ParticipantTimers : public testing::Test, protected ParticipantBench {
protected:
    // How long until condition holds, at most limitMs.
    template <typename Condition>
    uint64_t MsUntil(Condition condition, uint64_t limitMs) {
        uint64_t ms = 0;
        for (; ms < limitMs && !condition(); ++ms) RunMs(1);
        return ms;
    }
};

TEST_F(ParticipantTimers, ARegistrationEnds800To1000MillisecondsAfterItsLeave) {
    for (uint64_t offsetMs = 0; offsetMs < 200; ++offsetMs) {
        ParticipantBench bench;
        TestAttribute& attribute = bench.mrp.Add(1, 0, 5);
        bench.mrp.Run(attribute, Event::NEW);  // declared too, so that it outlives its registration
        bench.mrp.Run(attribute, Event::RJOIN_IN);
        bench.RunMs(offsetMs);

        bench.mrp.Run(attribute, Event::RLV);
        bench.RunMs(799);
        EXPECT_TRUE(attribute.IsRegistered()) << offsetMs;
        bench.RunMs(201);
        EXPECT_FALSE(attribute.IsRegistered()) << offsetMs;
        EXPECT_EQ(bench.mrp.calls.back(), "propagate 5 LV 0");
    }
}

TEST_F(ParticipantTimers, ARenewedRegistrationStays) {
    TestAttribute& attribute = mrp.Add(1, 0, 5);
    mrp.Run(attribute, Event::RJOIN_IN);
    mrp.Run(attribute, Event::RLV);
    RunMs(700);
    mrp.Run(attribute, Event::RJOIN_IN);
    mrp.calls.clear();

    RunMs(2000);

    EXPECT_EQ(attribute.state.leaveTimer, -1);
    EXPECT_TRUE(attribute.IsRegistered());
    EXPECT_THAT(mrp.calls, IsEmpty());
}

TEST_F(ParticipantTimers, AnAttributeNeitherDeclaredNorRegisteredGoesAtTheNextTick) {
    for (const ApplicantState state : {ApplicantState::VO, ApplicantState::AO, ApplicantState::QO}) {
        TestAttribute& attribute = mrp.Add(1, 0, 5);
        mrp.Run(attribute, Event::RJOIN_IN);
        attribute.state.applicant = state;
        mrp.Run(attribute, Event::UNDEFINED);
        RunMs(400);
        EXPECT_EQ(TestAttribute::living, 1);

        mrp.Run(attribute, Event::RLV);  // the applicant becomes LO
        attribute.state.applicant = state;
        mrp.calls.clear();
        RunMs(1000);

        EXPECT_THAT(mrp.calls, ElementsAre("propagate 5 LV 0", "delete 5"));
        EXPECT_EQ(TestAttribute::living, 0);
    }
}

TEST_F(ParticipantTimers, AnAttributeWithAnyOtherApplicantStateStays) {
    for (const ApplicantState state :
         {ApplicantState::VP, ApplicantState::VN, ApplicantState::AN, ApplicantState::AA, ApplicantState::QA,
          ApplicantState::LA, ApplicantState::AP, ApplicantState::QP, ApplicantState::LO}) {
        ParticipantBench bench;
        bench.mrp.Add(1, 0, 5).state.applicant = state;
        bench.clock.AdvanceMs(200);
        bench.timers.runDue();

        EXPECT_THAT(bench.mrp.TextsOn(0), SizeIs(1)) << Name(state);
    }
}

TEST_F(ParticipantTimers, AFlushedRegistrationIsDeletedAtTheNextTick) {
    for (const uint8_t value : std::initializer_list<uint8_t>{2, 1, 3}) mrp.Run(mrp.Add(1, 0, value), Event::RNEW);
    mrp.ApplyToPort(0, Event::FLUSH);
    mrp.calls.clear();

    RunMs(200);

    EXPECT_THAT(mrp.calls, ElementsAre("delete 2", "delete 1", "delete 3"));
    EXPECT_EQ(TestAttribute::living, 0);
}

TEST_F(ParticipantTimers, AWithdrawnDeclarationIsDeletedOnceItsLeaveIsSent) {
    TestAttribute& attribute = mrp.Add(1, 0, 5);
    mrp.Run(attribute, Event::JOIN);
    RunMs(1000);
    mrp.Run(attribute, Event::LV);
    mrp.sent.clear();

    RunMs(1400);

    ASSERT_THAT(mrp.sent, testing::Not(IsEmpty()));
    EXPECT_EQ(mrp.sent[0].payload, FromHex("00 01 02 00 07 00 01 00 05 b4 00 00 00 00"));
    EXPECT_EQ(TestAttribute::living, 0);
}

TEST_F(ParticipantTimers, ALeaveAllIsDueTenToFifteenSecondsAfterTheLast) {
    uint64_t last = NowMs();
    for (int round = 0; round < 100; ++round) {
        const size_t before = mrp.sent.size();
        MsUntil([&] { return mrp.sent.size() > before; }, 20'000);
        ASSERT_GT(mrp.sent.size(), before);
        if (mrp.sent.back().port != 0) continue;

        EXPECT_THAT(mrp.sent.back().ms - last, AllOf(Ge(10'000u), Le(15'002u)));
        last = mrp.sent.back().ms;
    }
    EXPECT_GT(last, 400'000u);
}

TEST_F(ParticipantTimers, AReceivedLeaveAllPutsOurOwnOff) {
    for (int i = 0; i < 30; ++i) {
        RunMs(5'000);
        mrp.RunAttributeStateMachines(nullptr, 0, Event::RLA);
        mrp.RunAttributeStateMachines(nullptr, 1, Event::BEGIN);
    }

    EXPECT_THAT(mrp.sent, IsEmpty());
}

TEST_F(ParticipantTimers, PeriodicMakesOnlyFlaggedAttributesDeclareAgain) {
    TestAttribute& flagged = mrp.Add(1, 0, 5, true);
    TestAttribute& plain = mrp.Add(1, 0, 6);
    flagged.state.applicant = plain.state.applicant = ApplicantState::QA;

    RunMs(999);
    EXPECT_EQ(flagged.state.applicant, ApplicantState::QA);
    const uint64_t wait = MsUntil([&] { return flagged.state.applicant == ApplicantState::AA; }, 100);

    EXPECT_THAT(wait, AllOf(Ge(1u), Le(51u)));
    EXPECT_EQ(plain.state.applicant, ApplicantState::QA);
    RunMs(1);
    ASSERT_THAT(mrp.sent, SizeIs(1));
    EXPECT_EQ(mrp.sent[0].payload, FromHex("00 01 02 00 07 00 01 00 05 6c 00 00 00 00"));
}

TEST_F(ParticipantTimers, PeriodicComesEverySecondAndABit) {
    TestAttribute& attribute = mrp.Add(1, 0, 5, true);
    attribute.state.applicant = ApplicantState::QP;
    uint64_t last = NowMs();
    for (int round = 0; round < 8; ++round) {
        MsUntil([&] { return attribute.state.applicant == ApplicantState::AP; }, 2000);
        EXPECT_THAT(NowMs() - last, AllOf(Ge(1000u), Lt(1051u)));
        last = NowMs();
        attribute.state.applicant = ApplicantState::QP;
    }
}

}  // namespace
}  // namespace norvad::test
