#include "lab/network/fiber.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

namespace norvad::test {
namespace {

using network::Fiber;
using testing::ElementsAre;

TEST(Fibers, GoOnWhereTheyPaused) {
    std::vector<std::string> steps;
    std::unique_ptr<Fiber> fiber;
    fiber = std::make_unique<Fiber>([&] {
        steps.emplace_back("in");
        fiber->Pause();
        steps.emplace_back("in again");
    });

    EXPECT_THAT(steps, ElementsAre());
    fiber->Resume();
    EXPECT_FALSE(fiber->HasEnded());
    steps.emplace_back("out");
    fiber->Resume();
    EXPECT_TRUE(fiber->HasEnded());

    EXPECT_THAT(steps, ElementsAre("in", "out", "in again"));
}

TEST(Fibers, KnowWhetherTheyRun) {
    std::unique_ptr<Fiber> fiber;
    bool inside = false;
    fiber = std::make_unique<Fiber>([&] { inside = fiber->IsRunning(); });

    EXPECT_FALSE(fiber->IsRunning());
    fiber->Resume();
    EXPECT_FALSE(fiber->IsRunning());
    EXPECT_TRUE(inside);
}

TEST(Fibers, HandOutWhatEscapesFromThem) {
    Fiber fiber([] { throw std::runtime_error("lost"); });

    EXPECT_THROW(fiber.Resume(), std::runtime_error);
    EXPECT_TRUE(fiber.HasEnded());
}

TEST(Fibers, ThatNeverBeganLeaveNothingBehind) {
    const Fiber fiber([] { FAIL(); });
}

// Each keeps its own sum on its own stack while all of them take turns.
TEST(Fibers, KeepTheirStacksApart) {
    std::vector<std::unique_ptr<Fiber>> fibers;
    std::vector<int> sums(50);
    for (size_t n = 0; n < sums.size(); ++n) {
        fibers.push_back(std::make_unique<Fiber>([&, n] {
            std::array<int, 1'000> drawn{};
            for (int& each : drawn) {
                each = static_cast<int>(n);
                fibers[n]->Pause();
            }
            sums[n] = std::accumulate(drawn.begin(), drawn.end(), 0);
        }));
    }

    while (!fibers.back()->HasEnded()) {
        for (const auto& fiber : fibers) fiber->Resume();
    }

    for (size_t n = 0; n < sums.size(); ++n) EXPECT_EQ(sums[n], 1'000 * static_cast<int>(n));
}

TEST(Fibers, MayResumeOneAnother) {
    std::vector<std::string> steps;
    std::unique_ptr<Fiber> inner, outer;
    inner = std::make_unique<Fiber>([&] {
        steps.emplace_back("inner");
        inner->Pause();
        steps.emplace_back("inner again");
    });
    outer = std::make_unique<Fiber>([&] {
        inner->Resume();
        steps.emplace_back("outer");
        outer->Pause();
    });

    outer->Resume();
    inner->Resume();
    outer->Resume();

    EXPECT_THAT(steps, ElementsAre("inner", "outer", "inner again"));
    EXPECT_TRUE(outer->HasEnded() && inner->HasEnded());
}

}  // namespace
}  // namespace norvad::test
