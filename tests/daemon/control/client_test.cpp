#include "daemon/control/client.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/fake_control_queues.h"
#include "tests/support/stepped_clock.h"

namespace norvad::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Relay : public testing::Test {
protected:
    Relay() {
        queues.queues[requestQueueName];
        queues.onSend = [this](const std::string& name) {
            if (name == requestQueueName) queues.queues[replyQueueName] = answers;
        };
    }

    static ControlMessage Piece(const std::string& text, bool last) {
        ControlMessage message{};
        PutText(message.text, text);
        message.last = last;
        return message;
    }

    int Run(std::vector<const char*> arguments) {
        arguments.insert(arguments.begin(), "norvad3");
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int result = relay(static_cast<int>(arguments.size()), arguments.data(), queues, clock);
        standardOutput = testing::internal::GetCapturedStdout();
        standardError = testing::internal::GetCapturedStderr();
        return result;
    }

    const ControlMessage& Sent() { return queues.queues[requestQueueName].at(0); }

    SteppedClock clock;
    FakeControlQueues queues;
    FakeControlQueues::Messages answers;  // that wait when the command has been sent
    std::string standardOutput, standardError;
};

TEST_F(Relay, WithoutAnOptionNothingHappens) {
    EXPECT_EQ(Run({}), 0);

    EXPECT_EQ(standardOutput + standardError, "");
    EXPECT_THAT(queues.queues[requestQueueName], IsEmpty());
    EXPECT_THAT(queues.removed, IsEmpty());
}

TEST_F(Relay, SendsTheWholeCommandLineWithABlankBehindEveryWord) {
    EXPECT_EQ(Run({"-d", "ptp", "2"}), 0);

    EXPECT_STREQ(Sent().text, "norvad3 -d ptp 2 ");
    EXPECT_STREQ(Sent().replyQueue, "/norvad.mqu");
    EXPECT_EQ(Sent().type, 0u);
    EXPECT_EQ(Sent().length, 17u);
}

TEST_F(Relay, AddsNoQuotes) {
    EXPECT_EQ(Run({"two words"}), 0);

    EXPECT_STREQ(Sent().text, "norvad3 two words ");
}

TEST_F(Relay, ACommandLineThatFitsExactlyIsSentWhole) {
    const std::string word(2050 - 9, 'x');

    EXPECT_EQ(Run({word.c_str()}), 0);

    EXPECT_EQ(TextOf(Sent().text), "norvad3 " + word + " ");
    EXPECT_EQ(Sent().length, 2050u);
}

TEST_F(Relay, ACommandLineThatDoesNotFitIsCut) {
    const std::string word(5000, 'x');

    EXPECT_EQ(Run({word.c_str()}), 0);

    EXPECT_EQ(TextOf(Sent().text), "norvad3 " + std::string(2042, 'x'));
    EXPECT_EQ(Sent().text[2050], '\0');
    EXPECT_EQ(Sent().length, 2050u);
}

TEST_F(Relay, PrintsTheAnswerAsItIs) {
    answers = {Piece("OK", true)};

    EXPECT_EQ(Run({"-0", "50"}), 0);

    EXPECT_EQ(standardOutput, "OK");
}

TEST_F(Relay, PrintsAllPiecesUpToTheLast) {
    answers = {Piece("one\n", false), Piece("two\n", false), Piece("three\n", true), Piece("four\n", true)};

    EXPECT_EQ(Run({"-h"}), 0);

    EXPECT_EQ(standardOutput, "one\ntwo\nthree\n");
}

TEST_F(Relay, PrintsAPieceWithoutATerminatorUpToItsEnd) {
    ControlMessage piece{};
    std::fill(std::begin(piece.text), std::end(piece.text), 'x');
    piece.last = 1;
    answers = {piece};

    Run({"-h"});

    EXPECT_EQ(standardOutput, std::string(2051, 'x'));
}

TEST_F(Relay, WithoutAnAnswerInTimeItPrintsNothingAndSucceeds) {
    EXPECT_EQ(Run({"-h"}), 0);

    EXPECT_EQ(standardOutput + standardError, "");
}

TEST_F(Relay, AnAnswerThatBreaksOffIsPrintedAsFarAsItCame) {
    answers = {Piece("one\n", false)};

    EXPECT_EQ(Run({"-h"}), 0);

    EXPECT_EQ(standardOutput, "one\n");
}

TEST_F(Relay, WaitsTenMillisecondsForEachPiece) {
    clock = SteppedClock(7'123'456'000);
    answers = {Piece("one\n", false), Piece("two\n", true)};

    Run({"-h"});

    ASSERT_EQ(queues.deadlines.size(), 2u);
    EXPECT_EQ(queues.deadlines[0].tv_sec, 7);
    EXPECT_EQ(queues.deadlines[0].tv_nsec, 133'456'000);
}

TEST_F(Relay, TheDeadlineIsNotCarriedIntoTheNextSecond) {
    clock = SteppedClock(7'995'000'000);

    Run({"-h"});

    ASSERT_EQ(queues.deadlines.size(), 1u);
    EXPECT_EQ(queues.deadlines[0].tv_sec, 7);
    EXPECT_EQ(queues.deadlines[0].tv_nsec, 1'005'000'000);
}

TEST_F(Relay, RemovesItsQueueWhenItIsDone) {
    Run({"-h"});

    EXPECT_THAT(queues.removed, ElementsAre("/norvad.mqu"));
}

TEST_F(Relay, AQueueLeftByAKilledClientIsInTheWay) {
    queues.queues[replyQueueName];

    EXPECT_EQ(Run({"-h"}), -1);

    EXPECT_EQ(standardError, "[Switch] creating response message queue failed: File exists\n");
    EXPECT_THAT(queues.queues[requestQueueName], IsEmpty());
    EXPECT_THAT(queues.removed, IsEmpty());
}

TEST_F(Relay, WithoutARequestQueueItFailsAndRemovesItsOwn) {
    queues.queues.erase(requestQueueName);

    EXPECT_EQ(Run({"-h"}), -1);

    EXPECT_EQ(standardError, "[Switch] open message queue failed: No such file or directory\n");
    EXPECT_THAT(queues.removed, ElementsAre("/norvad.mqu"));
}

}  // namespace
}  // namespace norvad::test
