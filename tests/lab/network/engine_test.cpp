#include "lab/network/engine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace norvad::test {
namespace {

using network::Engine;
using testing::ElementsAre;

class EventsInTime : public testing::Test {
protected:
    void Plan(uint64_t ns, int number) {
        engine.At(ns, [this, number] { happened.push_back(number); });
    }

    Engine engine{1'000};
    std::vector<int> happened;
};

TEST_F(EventsInTime, HappenInTheOrderOfTimeAndThenOfPlanning) {
    Plan(3'000, 4);
    Plan(2'000, 2);
    Plan(1'500, 1);
    Plan(2'000, 3);
    engine.RunUntil(4'000);

    EXPECT_THAT(happened, ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(engine.NowNs(), 4'000u);
}

TEST_F(EventsInTime, HappenUpToTheInstantThatIsRunToAndNoFurther) {
    Plan(2'000, 1);
    Plan(2'001, 2);
    engine.RunUntil(2'000);

    EXPECT_THAT(happened, ElementsAre(1));
    engine.RunUntil(2'001);
    EXPECT_THAT(happened, ElementsAre(1, 2));
}

TEST_F(EventsInTime, MayPlanMoreAndSeeTheirOwnInstant) {
    engine.At(2'000, [this] {
        EXPECT_EQ(engine.NowNs(), 2'000u);
        Plan(2'500, 2);
        Plan(2'000, 1);
    });
    engine.RunUntil(3'000);

    EXPECT_THAT(happened, ElementsAre(1, 2));
}

TEST_F(EventsInTime, OfThePastHappenNow) {
    Plan(10, 1);
    engine.At(1'200, [this] { Plan(5, 2); });
    engine.RunUntil(1'000);
    EXPECT_THAT(happened, ElementsAre(1));

    engine.RunUntil(1'300);
    EXPECT_THAT(happened, ElementsAre(1, 2));
    EXPECT_EQ(engine.NowNs(), 1'300u);
}

TEST_F(EventsInTime, StopAsSoonAsItIsEnough) {
    for (int number = 1; number <= 5; ++number) Plan(1'000 + 100 * static_cast<uint64_t>(number), number);
    engine.RunUntil(9'000, [this] { return happened.size() == 3; });

    EXPECT_THAT(happened, ElementsAre(1, 2, 3));
    EXPECT_EQ(engine.NowNs(), 1'300u);
}

}  // namespace
}  // namespace norvad::test
