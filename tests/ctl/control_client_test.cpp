#include "ctl/control_client.h"

#include <gtest/gtest.h>

#include "tests/ctl/fake_control_door.h"

namespace norvad::ctl::test {
namespace {

using Reason = NoAnswer::Reason;
using Sending = ControlDoor::Sending;

class Client : public testing::Test {
protected:
    void AnswerWith(std::vector<FakeControlDoor::Piece> pieces) {
        door.daemon = [pieces](const std::string&) { return pieces; };
    }

    template <typename Asking>
    static Reason ReasonOf(Asking ask) {
        try {
            (void)ask();
        } catch (const NoAnswer& none) {
            return none.reason;
        }
        throw std::logic_error("an answer came");
    }
    Reason FailureToAsk() {
        return ReasonOf([this] { return client.Ask("-s"); });
    }
    Reason FailureToCommand() {
        return ReasonOf([this] { return client.Command("-l 0"); });
    }

    FakeControlDoor door;
    ControlClient client{door, 5000};
};

TEST_F(Client, PutsThePiecesOfAnAnswerTogether) {
    AnswerWith({{"one "}, {"two "}, {"three", true}, {"four", true}});

    EXPECT_EQ(client.Ask("-s"), "one two three");
    EXPECT_EQ(door.taken, std::vector<std::string>{"norvadctl -s "});
}

// A daemon in the middle of much else is slower than any client that gives up after milliseconds.
TEST_F(Client, WaitsForASlowDaemonWithoutAskingTwice) {
    AnswerWith({{"one ", false, 2500}, {"two", true, 1900}});

    EXPECT_EQ(client.Ask("-s"), "one two");
    EXPECT_EQ(door.taken.size(), 1U);
}

TEST_F(Client, SaysAtOnceThatNoDaemonRuns) {
    door.sendings = {Sending::ABSENT};

    EXPECT_EQ(FailureToAsk(), Reason::ABSENT);
    EXPECT_EQ(door.nowMs, 1000U);
}

TEST_F(Client, WaitsForARecordedDaemonThatStarts) {
    door.daemonIsRecorded = true;
    door.sendings = {Sending::ABSENT, Sending::ABSENT, Sending::SENT};
    AnswerWith({{"here", true}});

    EXPECT_EQ(client.Ask("-s"), "here");
    EXPECT_EQ(door.triedAtMs, (std::vector<uint64_t>{1000, 2000, 3000}));
}

TEST_F(Client, SaysThatItMayNotAsk) {
    door.sendings = {Sending::DENIED};

    EXPECT_EQ(FailureToAsk(), Reason::DENIED);
}

TEST_F(Client, TriesAFullQueueOnceASecondUntilItsPatienceEnds) {
    door.sendings = {Sending::FULL};

    EXPECT_EQ(FailureToAsk(), Reason::BUSY);
    EXPECT_EQ(door.triedAtMs, (std::vector<uint64_t>{1000, 2000, 3000, 4000, 5000, 6000}));
}

TEST_F(Client, SaysThatTheDaemonIsSilent) {
    EXPECT_EQ(FailureToAsk(), Reason::SILENT);
    EXPECT_EQ(door.taken.size(), 1U);
    EXPECT_EQ(door.nowMs, 6000U);
}

TEST_F(Client, SaysThatAnAnswerStoppedHalfWay) {
    AnswerWith({{"half"}});

    EXPECT_EQ(FailureToAsk(), Reason::CUT_OFF);
}

TEST_F(Client, AsksTheNextDaemonWhenTheFirstWentHalfWay) {
    door.requestIsLost = true;
    bool first = true;
    door.daemon = [&](const std::string&) -> std::vector<FakeControlDoor::Piece> {
        if (std::exchange(first, false)) return {{"lost half "}};
        return {{"whole", true}};
    };

    EXPECT_EQ(client.Ask("-s"), "whole");
    EXPECT_EQ(door.taken.size(), 2U);
    EXPECT_GE(door.triedAtMs[1] - door.triedAtMs[0], ControlClient::retryMs);
}

// The answer to a request that was given up may come late.
TEST_F(Client, TakesEachAnswerThroughAQueueOfItsOwn) {
    EXPECT_EQ(FailureToAsk(), Reason::SILENT);
    AnswerWith({{"new", true}});

    EXPECT_EQ(client.Ask("-s"), "new");
    EXPECT_EQ(door.renewals, 2U);
}

TEST_F(Client, NeverRepeatsACommandThatADaemonTook) {
    door.requestIsLost = true;

    EXPECT_EQ(FailureToCommand(), Reason::UNKNOWN);
    EXPECT_EQ(door.taken.size(), 1U);

    door.requestIsLost = false;
    EXPECT_EQ(FailureToCommand(), Reason::UNKNOWN);
    EXPECT_EQ(door.taken.size(), 2U);
}

TEST_F(Client, TellsACommandThatWasNotTakenFromOneThatWas) {
    door.sendings = {Sending::FULL};
    EXPECT_EQ(FailureToCommand(), Reason::BUSY);

    door.sendings = {Sending::ABSENT};
    EXPECT_EQ(FailureToCommand(), Reason::ABSENT);
}

}  // namespace
}  // namespace norvad::ctl::test
