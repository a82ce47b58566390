#include "lab/end_station/mrp_participant.h"

#include <gtest/gtest.h>

#include "tests/lab/end_station/support.h"

namespace norvad::station {

namespace {

const MrpValue stream{TALKER_ADVERTISE,
                      FromHex("02 00 00 00 00 01 00 01 91 e0 f0 00 01 00 00 02 00 64 00 01 70 00 00 00 00")};
const MrpValue ready{LISTENER_VECTOR, FromHex("02 00 00 00 00 01 00 01"), ListenerDeclaration::READY};
const MrpValue domain{DOMAIN, FromHex("06 03 00 02")};

class StationParticipant : public testing::Test, private RegistrationObserver {
protected:
    // Moves on to ms after the start, serving what is due at each millisecond.
    void RunUntil(uint64_t ms) {
        for (; nowMs < ms; ++nowMs) {
            clock.AdvanceMs(1);
            participant.RunDue();
        }
    }
    void Receive(const MrpValue& value, AttributeEvent event, bool leaveAll = false) {
        MrpPduWriter writer(msrpApplication);
        writer.AddValue(value, event, leaveAll);
        participant.Receive(writer.Finish());
    }
    void ReceiveLeaveAll(uint8_t type) {
        MrpPduWriter writer(msrpApplication);
        writer.AddLeaveAll(*msrpApplication.Shape(type));
        participant.Receive(writer.Finish());
    }
    // The values sent since the last call, with their times in ms.
    std::vector<std::string> TakeSent() { return std::exchange(sent, {}); }
    std::vector<std::string> TakeHeard() { return std::exchange(heard, {}); }

    test::SteppedClock clock;
    uint64_t nowMs = 0;
    MrpParticipant participant{msrpApplication, clock, 1,
                               [this](const MrpApplication&, std::span<const uint8_t> pdu) { WriteDown(pdu); }, *this};

private:
    void WriteDown(std::span<const uint8_t> pdu) {
        WrittenDown said;
        EXPECT_TRUE(ReadMrpPdu(msrpApplication, pdu, said));
        for (const auto& line : said.lines) sent.push_back(std::to_string(nowMs + 1) + ": " + line);
    }
    void Registered(const MrpValue& value) override { heard.push_back("registered " + std::to_string(value.type)); }
    void Withdrawn(const MrpValue& value) override { heard.push_back("withdrawn " + std::to_string(value.type)); }

    std::vector<std::string> sent;
    std::vector<std::string> heard;
};

using Lines = std::vector<std::string>;

}  // namespace

TEST_F(StationParticipant, DeclarationIsNewThenJoinedAgainEverySecond) {
    participant.Declare(domain);

    RunUntil(2500);

    EXPECT_EQ(TakeSent(), (Lines{"1: 4 event 0", "201: 4 event 3", "1201: 4 event 3", "2201: 4 event 3"}));
}

TEST_F(StationParticipant, DeclarationsMadeTogetherTravelTogetherInTheOrderOfTypes) {
    participant.Declare(domain);
    participant.Declare(ready);
    participant.Declare(stream);

    RunUntil(100);

    EXPECT_EQ(TakeSent(), (Lines{"1: 1 event 0", "1: 3 event 0 declaration 2", "1: 4 event 0"}));
}

TEST_F(StationParticipant, LeaveIsSentOnceAndEndsTheDeclaration) {
    participant.Declare(ready);
    RunUntil(500);
    TakeSent();

    participant.Withdraw(ready);
    RunUntil(5000);

    EXPECT_EQ(TakeSent(), Lines{"501: 3 event 5 declaration 2"});
    EXPECT_FALSE(participant.HasUnsent());
}

TEST_F(StationParticipant, LeaveKeepsItsDistanceFromThePduBefore) {
    participant.Declare(ready);
    RunUntil(10);
    TakeSent();

    participant.Withdraw(ready);
    EXPECT_TRUE(participant.HasUnsent());
    RunUntil(500);

    EXPECT_EQ(TakeSent(), Lines{"101: 3 event 5 declaration 2"});
}

TEST_F(StationParticipant, DeclaringAgainTakesBackALeaveThatWasNotSent) {
    participant.Declare(ready);
    RunUntil(10);
    participant.Withdraw(ready);
    participant.Declare(ready);
    TakeSent();

    RunUntil(150);

    EXPECT_EQ(TakeSent(), Lines{"101: 3 event 0 declaration 2"});
}

TEST_F(StationParticipant, WithdrawingWhatIsNotDeclaredSendsNothing) {
    participant.Withdraw(ready);

    RunUntil(300);

    EXPECT_EQ(TakeSent(), Lines{});
}

TEST_F(StationParticipant, RegisteredAttributeIsJoinedAsIn) {
    Receive(domain, AttributeEvent::JOIN);
    participant.Declare(domain);

    RunUntil(300);

    EXPECT_EQ(TakeSent(), (Lines{"1: 4 event 0", "201: 4 event 1"}));
}

TEST_F(StationParticipant, NewJoinInAndJoinMtRegisterOnceTheOthersDoNot) {
    for (const auto event : {AttributeEvent::IN, AttributeEvent::MT, AttributeEvent::LV}) Receive(stream, event);
    EXPECT_EQ(TakeHeard(), Lines{});

    Receive(stream, AttributeEvent::NEW);
    Receive(stream, AttributeEvent::JOIN);
    Receive(stream, AttributeEvent::JOINMT);

    EXPECT_EQ(TakeHeard(), Lines{"registered 1"});
}

TEST_F(StationParticipant, ChangedListenerDeclarationIsHeardOfAgain) {
    Receive(ready, AttributeEvent::NEW);
    MrpValue failed = ready;
    failed.declaration = ListenerDeclaration::ASKING_FAILED;

    Receive(failed, AttributeEvent::JOIN);

    EXPECT_EQ(TakeHeard(), (Lines{"registered 3", "registered 3"}));
}

TEST_F(StationParticipant, LeftRegistrationEndsAfterTheLeaveTime) {
    Receive(stream, AttributeEvent::NEW);
    RunUntil(100);
    TakeHeard();
    Receive(stream, AttributeEvent::LV);

    RunUntil(1099);
    EXPECT_EQ(TakeHeard(), Lines{});
    RunUntil(1100);

    EXPECT_EQ(TakeHeard(), Lines{"withdrawn 1"});
}

TEST_F(StationParticipant, SecondLeaveDoesNotPutOffTheEnd) {
    Receive(stream, AttributeEvent::NEW);
    Receive(stream, AttributeEvent::LV);
    RunUntil(900);
    Receive(stream, AttributeEvent::LV);
    TakeHeard();

    RunUntil(1000);

    EXPECT_EQ(TakeHeard(), Lines{"withdrawn 1"});
}

TEST_F(StationParticipant, JoinInTheLeaveTimeKeepsTheRegistration) {
    Receive(stream, AttributeEvent::NEW);
    Receive(stream, AttributeEvent::LV);
    RunUntil(999);
    Receive(stream, AttributeEvent::JOIN);

    RunUntil(3000);

    EXPECT_EQ(TakeHeard(), Lines{"registered 1"});
}

TEST_F(StationParticipant, LeaveAllAgesOnlyItsOwnType) {
    Receive(stream, AttributeEvent::NEW);
    Receive(domain, AttributeEvent::NEW);
    TakeHeard();

    ReceiveLeaveAll(DOMAIN);
    RunUntil(3000);

    EXPECT_EQ(TakeHeard(), Lines{"withdrawn 4"});
}

TEST_F(StationParticipant, ValuesBehindALeaveAllAreKept) {
    Receive(domain, AttributeEvent::NEW);

    Receive(domain, AttributeEvent::JOIN, true);
    RunUntil(3000);

    EXPECT_EQ(TakeHeard(), Lines{"registered 4"});
}

TEST_F(StationParticipant, LeaveAllIsAnsweredByDeclaringItsTypeAtOnce) {
    participant.Declare(domain);
    participant.Declare(ready);
    RunUntil(500);
    TakeSent();

    ReceiveLeaveAll(LISTENER_VECTOR);
    RunUntil(600);

    EXPECT_EQ(TakeSent(), Lines{"501: 3 event 3 declaration 2"});
}

TEST_F(StationParticipant, NeighbourThatLostADeclarationGetsItAgain) {
    for (const auto event : {AttributeEvent::MT, AttributeEvent::JOINMT, AttributeEvent::LV}) {
        participant.Declare(domain);
        RunUntil(nowMs + 500);
        TakeSent();

        Receive(domain, event);
        RunUntil(nowMs + 50);

        EXPECT_EQ(TakeSent().size(), 1u) << static_cast<int>(event);
    }
}

TEST_F(StationParticipant, TalkerAdvertiseAndFailedReplaceOneAnother) {
    MrpValue failed{TALKER_FAILED, stream.firstValue};
    failed.firstValue.resize(34);
    Receive(stream, AttributeEvent::NEW);

    Receive(failed, AttributeEvent::NEW);
    Receive(stream, AttributeEvent::NEW);

    EXPECT_EQ(TakeHeard(), (Lines{"registered 1", "withdrawn 1", "registered 2", "withdrawn 2", "registered 1"}));
}

TEST_F(StationParticipant, SilentNeighbourIsForgottenThroughALeaveAllOfOurOwn) {
    Receive(stream, AttributeEvent::NEW);
    TakeHeard();

    RunUntil(9'999);
    EXPECT_EQ(TakeSent(), Lines{});
    RunUntil(15'000);
    EXPECT_EQ(TakeSent().size(), 4u);  // one LeaveAll for each type
    RunUntil(16'001);

    EXPECT_EQ(TakeHeard(), Lines{"withdrawn 1"});
}

TEST_F(StationParticipant, ReceivedLeaveAllPutsOffOurOwn) {
    for (int round = 0; round < 10; ++round) {
        RunUntil(nowMs + 9'000);
        ReceiveLeaveAll(DOMAIN);
    }

    EXPECT_EQ(TakeSent(), Lines{});
}

TEST_F(StationParticipant, OwnLeaveAllRidesOnTheFirstDeclarationOfItsType) {
    participant.Declare(domain);
    RunUntil(9'999);
    TakeSent();

    RunUntil(15'100);

    const auto lines = TakeSent();
    const auto leaveAll = std::ranges::find_if(lines, [](const auto& line) { return line.ends_with("leave all 4"); });
    ASSERT_NE(leaveAll, lines.end());
    EXPECT_TRUE((leaveAll + 1)->ends_with("4 event 3")) << *(leaveAll + 1);
}

TEST_F(StationParticipant, MoreThanOnePduFullIsSentAtOneOpportunity) {
    for (uint8_t id = 0; id < 120; ++id) {
        MrpValue one = stream;
        one.firstValue[7] = id;
        participant.Declare(one);
    }

    RunUntil(1);

    EXPECT_EQ(TakeSent().size(), 120u);
}

TEST_F(StationParticipant, DueTimeIsWhenSomethingHappens) {
    const uint64_t start = NowNs(clock);
    EXPECT_GE(participant.DueNs(), start + MrpParticipant::leaveAllNs);

    participant.Declare(domain);
    EXPECT_EQ(participant.DueNs(), start);
    participant.RunDue();
    EXPECT_EQ(participant.DueNs(), start + MrpParticipant::joinTimeNs);
    Receive(stream, AttributeEvent::NEW);
    Receive(stream, AttributeEvent::LV);
    participant.Withdraw(domain);
    EXPECT_EQ(participant.DueNs(), start + MrpParticipant::transmitGapNs);
    clock.AdvanceMs(100);
    participant.RunDue();

    EXPECT_EQ(participant.DueNs(), start + MrpParticipant::leaveTimeNs);
}

}  // namespace norvad::station
