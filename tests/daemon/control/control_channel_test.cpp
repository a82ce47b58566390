#include "daemon/control/control_channel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/daemon/control/bridge_fixture.h"
#include "tests/support/fake_control_queues.h"

namespace norvad::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* replies = "/replies";

class ControlChannel : public BridgeFixture {
protected:
    ControlChannel() { queues.queues[replies]; }

    static ControlMessage Message(uint32_t type, const std::string& text) {
        ControlMessage message{};
        PutText(message.replyQueue, replies);
        message.type = type;
        message.length = static_cast<uint32_t>(text.size());
        PutText(message.text, text);
        return message;
    }

    static std::vector<uint8_t> Bytes(ControlMessage message, size_t length = sizeof(ControlMessage)) {
        const auto buffer = BufferOf(message).first(length);
        return {buffer.begin(), buffer.end()};
    }

    // What goes to standard error meanwhile.
    std::string Serve(std::vector<uint8_t> message) {
        doors.requests.Queue(std::move(message));
        testing::internal::CaptureStderr();
        channel.serveControlRequest();
        return testing::internal::GetCapturedStderr();
    }
    std::string Serve(const std::string& command) { return Serve(Bytes(Message(controlCommand, command))); }

    // Lets the handler answer with so many characters.
    std::string AnswerOf(size_t length) {
        std::string answer(length, ' ');
        for (size_t i = 0; i < length; ++i) answer[i] = static_cast<char>('a' + i % 23);
        msrp->act = [answer](std::ostream& stream) { stream << answer; };
        return answer;
    }

    std::vector<ControlMessage> Pieces() { return {queues.queues[replies].begin(), queues.queues[replies].end()}; }

    std::vector<size_t> PieceLengths() {
        std::vector<size_t> lengths;
        for (const ControlMessage& piece : Pieces()) lengths.push_back(TextOf(piece.text).size());
        return lengths;
    }

    std::string Joined() {
        std::string joined;
        for (const ControlMessage& piece : Pieces()) joined += TextOf(piece.text);
        return joined;
    }

    // Takes so many pieces off the full reply queue, and lets the daemon hand over what then fits.
    std::string Read(size_t pieces) {
        std::string text;
        for (; pieces > 0; --pieces) {
            text += TextOf(queues.queues[replies].front().text);
            queues.queues[replies].pop_front();
        }
        clock.AdvanceMs(2);
        bridge.Timers().runDue();
        return text;
    }

    FakeControlQueues queues;
    norvad::ControlChannel channel{bridge, queues};
};

TEST_F(ControlChannel, ACommandIsAnsweredOnTheQueueItNames) {
    EXPECT_EQ(Serve("norvad3 "), "");

    EXPECT_EQ(Joined(), "OK");
    ASSERT_EQ(Pieces().size(), 1u);
    EXPECT_EQ(Pieces()[0].last, 1);
}

TEST_F(ControlChannel, APieceIsFilledUpWithNul) {
    Serve("norvad3 a command that is longer than its answer ");

    const ControlMessage piece = Pieces().at(0);
    EXPECT_TRUE(std::all_of(std::begin(piece.text) + 2, std::end(piece.text), [](char c) { return c == '\0'; }));
}

TEST_F(ControlChannel, AnAnswerOf2048CharactersIsOnePiece) {
    const std::string answer = AnswerOf(2048);

    Serve("norvad3 ");

    EXPECT_THAT(PieceLengths(), ElementsAre(2048));
    EXPECT_EQ(Pieces()[0].last, 1);
    EXPECT_EQ(Joined(), answer);
}

TEST_F(ControlChannel, AnAnswerOf2049CharactersIsTwoPieces) {
    const std::string answer = AnswerOf(2049);

    Serve("norvad3 ");

    EXPECT_THAT(PieceLengths(), ElementsAre(2048, 1));
    EXPECT_EQ(Pieces()[0].last, 0);
    EXPECT_EQ(Pieces()[1].last, 1);
    EXPECT_EQ(Joined(), answer);
}

TEST_F(ControlChannel, AnAnswerOf20480CharactersIsAsManyPiecesAsAQueueHolds) {
    const std::string answer = AnswerOf(20480);

    Serve("norvad3 ");

    const auto pieces = Pieces();
    EXPECT_EQ(pieces.size(), static_cast<size_t>(controlQueueDepth));
    EXPECT_EQ(std::count_if(pieces.begin(), pieces.end(), [](const ControlMessage& piece) { return piece.last; }), 1);
    EXPECT_EQ(pieces.back().last, 1);
    EXPECT_EQ(Joined(), answer);
}

// A handler that writes nothing but is taken for having answered leaves an answer that prints nothing.
TEST_F(ControlChannel, AnEmptyTextStillEndsTheAnswer) {
    msrp->act = [](std::ostream& stream) { stream << '\0'; };

    Serve("norvad3 ");

    EXPECT_THAT(PieceLengths(), ElementsAre(0));
    EXPECT_EQ(Pieces()[0].last, 1);
}

TEST_F(ControlChannel, ACommandRunsEvenWhereItsReplyQueueIsMissing) {
    queues.queues.clear();

    EXPECT_EQ(Serve("norvad3 -0 50 "), "[Switch] open user message queue failed: No such file or directory\n");

    EXPECT_EQ(doors.driver.egress[0].limit, 50);
}

// Such a request, once sent, kept the daemon answering its own answers for ever, and ten of them made it wait for room
// in the queue that only itself empties: deaf to frames and to SIGTERM.
TEST_F(ControlChannel, ACommandThatWantsItsAnswerInTheRequestQueueRunsUnanswered) {
    queues.queues[requestQueueName];
    ControlMessage message = Message(controlCommand, "norvad3 -0 50 ");
    PutText(message.replyQueue, requestQueueName);

    EXPECT_EQ(Serve(Bytes(message)), "[Switch] open user message queue failed: Invalid argument\n");

    EXPECT_THAT(queues.queues[requestQueueName], IsEmpty());
    EXPECT_EQ(doors.driver.egress[0].limit, 50);
}

TEST_F(ControlChannel, ANotificationReachesEveryHandlerAndIsNotAnswered) {
    EXPECT_EQ(Serve(Bytes(Message(controlNotification, "norvad3 -0 50 "))), "");

    EXPECT_EQ(Times("msrp message"), 1);
    EXPECT_EQ(Times("ptp message"), 1);
    EXPECT_THAT(Pieces(), IsEmpty());
    EXPECT_THAT(doors.driver.records, IsEmpty());
}

TEST_F(ControlChannel, ANotificationNeedsNoMoreThanItsType) {
    Serve(Bytes(Message(controlNotification, ""), 68));

    EXPECT_EQ(Times("msrp message"), 1);
}

TEST_F(ControlChannel, OtherTypesAreIgnored) {
    for (const uint32_t type : {2u, 256u, 0xFFFFFFFFu}) EXPECT_EQ(Serve(Bytes(Message(type, "norvad3 -0 50 "))), "");

    EXPECT_EQ(Times("msrp message"), 0);
    EXPECT_THAT(Pieces(), IsEmpty());
    EXPECT_THAT(doors.driver.records, IsEmpty());
}

TEST_F(ControlChannel, AMessageTooShortForItsTypeIsIgnored) {
    for (const size_t length : {0u, 1u, 63u, 64u, 67u}) {
        EXPECT_EQ(Serve(Bytes(Message(controlCommand, "norvad3 -0 50 "), length)), "") << length;
    }

    EXPECT_EQ(Times("msrp options"), 0);
    EXPECT_THAT(Pieces(), IsEmpty());
}

TEST_F(ControlChannel, AFailedReceiveIsIgnored) {
    channel.serveControlRequest();

    EXPECT_EQ(Times("msrp options"), 0);
}

TEST_F(ControlChannel, AMessageMayEndAnywhereInItsText) {
    const ControlMessage whole = Message(controlCommand, "norvad3 --msrp abc ");
    for (size_t length = 68; length < 110; ++length) {
        queues.queues[replies].clear();
        Serve(Bytes(whole, length));
        EXPECT_EQ(Pieces().size(), 1u) << length;
    }

    EXPECT_EQ(Joined(), "msrp=abc;");
}

TEST_F(ControlChannel, ATextWithoutItsTerminatorEndsWithTheMessage) {
    ControlMessage message = Message(controlCommand, "norvad3 --msrp ");
    std::fill(message.text + 15, std::end(message.text), 'x');

    Serve(Bytes(message));

    EXPECT_EQ(Joined(), "msrp=" + std::string(2051 - 15, 'x') + ";");
}

TEST_F(ControlChannel, AQueueNameWithoutItsTerminatorEndsWithItsField) {
    ControlMessage message = Message(controlCommand, "norvad3 -0 50 ");
    std::fill(std::begin(message.replyQueue), std::end(message.replyQueue), 'q');
    queues.queues[std::string(64, 'q')];

    EXPECT_EQ(Serve(Bytes(message)), "");

    EXPECT_EQ(queues.queues[std::string(64, 'q')].size(), 1u);
}

// From about 40 streams on, the report is longer than a reply queue. The daemon waited in the queue for its reader, and
// when the reader had given up it waited for good: deaf to frames, timers and SIGTERM.
TEST_F(ControlChannel, WhatTheReplyQueueDoesNotTakeFollowsInOrderWhenItHasRoom) {
    queues.replyDepth = 10;
    const std::string answer = AnswerOf(25 * 2048);

    Serve("norvad3 ");

    EXPECT_EQ(Pieces().size(), 10u);
    EXPECT_TRUE(channel.IsAnswering());
    std::string read = Read(1);
    EXPECT_EQ(Pieces().size(), 10u);
    read += Read(10);
    EXPECT_TRUE(channel.IsAnswering());
    read += Read(9);
    EXPECT_FALSE(channel.IsAnswering());
    EXPECT_EQ(read + Joined(), answer);
    EXPECT_EQ(Pieces().size(), 5u);
    EXPECT_EQ(Pieces().back().last, 1);
}

TEST_F(ControlChannel, AnAnswerThatTheReplyQueueTakesLeavesNoTimer) {
    queues.replyDepth = 10;
    AnswerOf(20480);

    Serve("norvad3 ");

    EXPECT_FALSE(channel.IsAnswering());
    EXPECT_EQ(bridge.Timers().runDue(), 10'000u);
}

TEST_F(ControlChannel, AReaderMayTakeAllTheTimeItWants) {
    queues.replyDepth = 1;
    const std::string answer = AnswerOf(2049);
    Serve("norvad3 ");

    for (int n = 0; n < 1'000; ++n) {
        clock.AdvanceMs(3'600);
        bridge.Timers().runDue();
    }

    EXPECT_TRUE(channel.IsAnswering());
    std::string read = Read(1);
    EXPECT_EQ(read += Joined(), answer);
    EXPECT_FALSE(channel.IsAnswering());
}

TEST_F(ControlChannel, TheRestIsDroppedWhenItsQueueIsGone) {
    queues.replyDepth = 1;
    AnswerOf(2049);
    Serve("norvad3 ");

    queues.queues.erase(replies);
    clock.AdvanceMs(2);
    bridge.Timers().runDue();

    EXPECT_FALSE(channel.IsAnswering());
    EXPECT_EQ(bridge.Timers().runDue(), 10'000u);
}

TEST_F(ControlChannel, TheRestIsDroppedWithTheChannel) {
    queues.replyDepth = 1;
    AnswerOf(2049);
    {
        norvad::ControlChannel ending(bridge, queues);
        doors.requests.Queue(Bytes(Message(controlCommand, "norvad3 ")));
        ending.serveControlRequest();
        EXPECT_TRUE(ending.IsAnswering());
    }

    EXPECT_EQ(bridge.Timers().runDue(), 10'000u);
}

TEST_F(ControlChannel, EachCallServesOneRequest) {
    doors.requests.Queue(Bytes(Message(controlNotification, "")));
    Serve(Bytes(Message(controlNotification, "")));
    EXPECT_EQ(Times("msrp message"), 1);

    channel.serveControlRequest();
    EXPECT_EQ(Times("msrp message"), 2);
}

}  // namespace
}  // namespace norvad::test
