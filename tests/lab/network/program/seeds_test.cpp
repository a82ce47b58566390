#include "lab/network/program/seeds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "lab/common/errors.h"

namespace norvad::test {
namespace {

using namespace network;
using testing::HasSubstr;

Outcome Squared(uint64_t seed) {
    Outcome outcome;
    outcome.seed = seed;
    outcome.largestErrorNs = seed * seed;
    outcome.reservedNs = seed == 3 ? UINT64_MAX : 1'000'000'000 * seed;
    outcome.failed = seed == 2 || seed == 5 ? 2 : 0;
    return outcome;
}

TEST(ManySeeds, AreRunOnceEachAndToldInTheirOrder) {
    const auto outcomes = RunSeeds(7, Squared);

    ASSERT_EQ(outcomes.size(), 7u);
    for (size_t n = 0; n < 7; ++n) {
        EXPECT_EQ(outcomes[n].seed, n + 1);
        EXPECT_EQ(outcomes[n].largestErrorNs, (n + 1) * (n + 1));
    }
}

TEST(ManySeeds, FailWhenOneRunDoes) {
    const auto failing = [](uint64_t seed) -> Outcome {
        if (seed == 2) throw std::runtime_error("lost");
        return Squared(seed);
    };

    EXPECT_THROW(RunSeeds(3, failing), lab::StartError);
}

TEST(ManySeeds, ShowTheMedianAndTheWorst) {
    Scenario scenario;
    scenario.expectations.resize(2);
    scenario.expectations[0].text = "first";
    scenario.expectations[1].text = "second";
    const std::string text = OutcomesText(scenario, RunSeeds(5, Squared));

    EXPECT_THAT(text, HasSubstr("largest time error         median      9 ns  worst     25 ns\n"));
    EXPECT_THAT(text, HasSubstr("all streams reserved after median       4 s  worst     never\n"));
    EXPECT_THAT(text, HasSubstr("  ok   first\n"));
    EXPECT_THAT(text, HasSubstr("  FAIL second: not for the seeds 2 5\n"));
}

TEST(ManySeeds, HaveALineEach) {
    EXPECT_EQ(
        OutcomesTable(RunSeeds(3, Squared)),
        "seed,largest time error,reserved after,stream frames lost\n1,1,1000000000,0\n2,4,2000000000,0\n3,9,,0\n");
}

}  // namespace
}  // namespace norvad::test
