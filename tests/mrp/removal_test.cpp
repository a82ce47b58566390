#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mrp/test_participant.h"

namespace norvad::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// An application may remove attributes, or add some, while it is called for another one.
class RemovalDuringAWalk : public testing::Test, protected ParticipantBench {
protected:
    RemovalDuringAWalk() {
        for (uint8_t value = 0; value < 5; ++value) attributes.push_back(&mrp.Add(1, 0, value));
    }

    // Removes an attribute once.
    void Remove(size_t value) {
        if (attributes[value] != nullptr) mrp.RemoveAttribute(*std::exchange(attributes[value], nullptr));
    }
    // The values that a walk of the type visits while it removes some at one value.
    std::vector<std::string> WalkRemoving(const std::string& at, const std::vector<size_t>& removed) {
        std::vector<std::string> visited;
        mrp.ForEach(0, 1, [&](MRPAttribute& attribute) {
            visited.push_back(attribute.Text());
            if (visited.back() != at) return;
            for (const size_t value : removed) Remove(value);
        });
        return visited;
    }

    std::vector<TestAttribute*> attributes;
};

TEST_F(RemovalDuringAWalk, OfTheVisitedOne) {
    EXPECT_THAT(WalkRemoving("2", {2}), ElementsAre("0", "1", "2", "3", "4"));
    EXPECT_THAT(mrp.TextsOn(0), ElementsAre("0", "1", "3", "4"));
}

TEST_F(RemovalDuringAWalk, OfItsNeighbours) {
    EXPECT_THAT(WalkRemoving("2", {1, 3}), ElementsAre("0", "1", "2", "4"));
    EXPECT_THAT(mrp.TextsOn(0), ElementsAre("0", "2", "4"));
}

TEST_F(RemovalDuringAWalk, OfAllThatFollow) {
    EXPECT_THAT(WalkRemoving("1", {4, 3, 2}), ElementsAre("0", "1"));
}

TEST_F(RemovalDuringAWalk, OfEverything) {
    EXPECT_THAT(WalkRemoving("0", {2, 0, 1, 4, 3}), ElementsAre("0"));
    EXPECT_EQ(TestAttribute::living, 0);
}

TEST_F(RemovalDuringAWalk, OfTheLast) {
    EXPECT_THAT(WalkRemoving("4", {4}), ElementsAre("0", "1", "2", "3", "4"));
}

TEST_F(RemovalDuringAWalk, InsideAWalkInsideAWalk) {
    std::vector<std::string> visited;
    mrp.ForEach(0, [&](MRPAttribute& outer) {
        visited.push_back(outer.Text());
        mrp.ForEach(0, 1, [&](MRPAttribute& inner) {
            if (inner.Text() == "1" || inner.Text() == "3") Remove(inner.FirstValue()[1]);
        });
    });

    EXPECT_THAT(visited, ElementsAre("0", "2", "4"));
}

TEST_F(RemovalDuringAWalk, WhatIsAppendedIsVisitedToo) {
    std::vector<std::string> visited;
    mrp.ForEach(0, 1, [&](MRPAttribute& attribute) {
        visited.push_back(attribute.Text());
        if (visited.back() == "4") mrp.Add(1, 0, 9);
    });

    EXPECT_THAT(visited, ElementsAre("0", "1", "2", "3", "4", "9"));
}

TEST_F(RemovalDuringAWalk, FromPropagateUnderAFlush) {
    for (TestAttribute* attribute : attributes) mrp.Run(*attribute, Event::RNEW);
    mrp.calls.clear();
    mrp.onPropagate = [&](MRPAttribute& attribute, Event) {
        const size_t value = attribute.FirstValue()[1];
        if (value == 1) {
            Remove(2);
            Remove(1);
        }
    };

    mrp.ApplyToPort(0, Event::FLUSH);

    EXPECT_THAT(mrp.calls, ElementsAre("propagate 0 LV 0", "propagate 1 LV 0", "delete 2", "delete 1",
                                       "propagate 3 LV 0", "propagate 4 LV 0"));
}

TEST_F(RemovalDuringAWalk, FromPropagateUnderALeaveTimerTick) {
    for (TestAttribute* attribute : attributes) {
        mrp.Run(*attribute, Event::RNEW);
        mrp.Run(*attribute, Event::RLV);
    }
    mrp.calls.clear();
    mrp.onPropagate = [&](MRPAttribute& attribute, Event) {
        if (attribute.FirstValue()[1] == 1) Remove(2);
        Remove(attribute.FirstValue()[1]);
    };

    RunMs(1000);

    EXPECT_THAT(mrp.calls, ElementsAre("propagate 0 LV 0", "delete 0", "propagate 1 LV 0", "delete 2", "delete 1",
                                       "propagate 3 LV 0", "delete 3", "propagate 4 LV 0", "delete 4"));
    EXPECT_EQ(TestAttribute::living, 0);
}

TEST_F(RemovalDuringAWalk, OfWhatIsPendingTakesItOutOfThePdu) {
    for (TestAttribute* attribute : attributes) mrp.Run(*attribute, Event::JOIN);

    for (const size_t value : {0, 2, 4}) Remove(value);

    EXPECT_EQ(mrp.BuildPdu(0), FromHex("00 01 02 00 0c 00 01 00 01 6c 00 01 00 03 6c 00 00 00 00"));
}

// The places of removed attributes are given back now and then, and then all others move: not under a walk.
class ManyRemovals : public testing::Test, protected ParticipantBench {
protected:
    ManyRemovals() {
        for (int value = 0; value < 200; ++value) attributes.push_back(&mrp.Add(1, 0, static_cast<uint8_t>(value)));
    }

    // All but every tenth one.
    void RemoveMost() {
        for (size_t n = 0; n < attributes.size(); ++n) {
            if (n % 10 != 0) mrp.RemoveAttribute(*attributes[n]);
        }
    }
    static std::vector<std::string> EveryTenth() {
        std::vector<std::string> texts;
        for (int value = 0; value < 200; value += 10) texts.push_back(std::to_string(value));
        return texts;
    }

    std::vector<TestAttribute*> attributes;
};

TEST_F(ManyRemovals, LeaveTheOthersInOrder) {
    RemoveMost();
    mrp.Add(1, 0, 201);
    std::vector<std::string> expected = EveryTenth();
    expected.push_back("201");

    EXPECT_EQ(mrp.TextsOn(0), expected);
    EXPECT_EQ(TestAttribute::living, 21);
}

TEST_F(ManyRemovals, LeaveTheOthersWithWhatTheyHaveToSend) {
    for (const size_t value : {30, 170}) mrp.Run(*attributes[value], Event::JOIN);
    RemoveMost();

    EXPECT_EQ(mrp.BuildPdu(0), FromHex("00 01 02 00 0c 00 01 00 1e 6c 00 01 00 aa 6c 00 00 00 00"));
    mrp.Run(*attributes[40], Event::JOIN);
    EXPECT_NE(mrp.BuildPdu(0), Bytes());
}

TEST_F(ManyRemovals, LeaveTheOthersTheirLeaveTimers) {
    for (TestAttribute* attribute : attributes) mrp.Run(*attribute, Event::RNEW);
    mrp.Run(*attributes[30], Event::RLV);
    mrp.calls.clear();
    RemoveMost();
    mrp.calls.clear();

    RunMs(1000);

    EXPECT_THAT(mrp.calls, ElementsAre("propagate 30 LV 0", "delete 30"));
}

TEST_F(ManyRemovals, UnderAWalkDoNotMoveIt) {
    std::vector<std::string> visited;
    mrp.ForEach(0, 1, [&](MRPAttribute& attribute) {
        visited.push_back(attribute.Text());
        if (visited.size() == 1) {
            RemoveMost();
            mrp.TextsOn(0);  // a walk inside ends before this one
            mrp.Add(1, 0, 201);
        }
    });
    std::vector<std::string> expected = EveryTenth();
    expected.push_back("201");

    EXPECT_EQ(visited, expected);
    EXPECT_EQ(mrp.TextsOn(0), expected);
}

// Removing all that a neighbour takes back at once must not hold up everything else.
class RemovalOfThousands : public testing::Test, protected ParticipantBench {
protected:
    void AddForgotten(uint8_t port, int count) {
        for (int n = 0; n < count; ++n) mrp.Add(1, port, static_cast<uint8_t>(n));
    }
};

TEST_F(RemovalOfThousands, IsSpreadOverTheTicksInListOrder) {
    AddForgotten(0, 4096 + 1);
    AddForgotten(1, 10);
    mrp.LeaveTimerTick();
    EXPECT_THAT(mrp.TextsOn(0), ElementsAre("0"));
    EXPECT_THAT(mrp.TextsOn(1), IsEmpty());
    mrp.LeaveTimerTick();
    EXPECT_EQ(TestAttribute::living, 0);
}

TEST_F(RemovalOfThousands, DelaysNoLeaveTimer) {
    AddForgotten(0, 6 * 4096);
    TestAttribute& last = mrp.Add(1, 0, 200);
    mrp.Run(last, Event::RNEW);
    mrp.Run(last, Event::RLV);
    mrp.calls.clear();
    for (int tick = 0; tick < 5; ++tick) mrp.LeaveTimerTick();
    EXPECT_THAT(mrp.calls, testing::Contains("propagate 200 LV 0"));
}

}  // namespace
}  // namespace norvad::test
