#include "base/timer_service.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/log.h"
#include "tests/support/captured_log.h"
#include "tests/support/stepped_clock.h"

namespace norvad::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Timers : public testing::Test {
protected:
    TimerCallback Note() {
        return [this](uint32_t argument) { fired.push_back(argument); };
    }

    uint64_t ExpiryUs(const Timer& timer) const {
        return uint64_t{timer.expirySeconds} * 1'000'000 + timer.expiryMicroseconds;
    }
    uint64_t NowUs() const { return clock.Ns() / 1000; }

    SteppedClock clock;
    TimerService timers{clock};
    std::vector<uint32_t> fired;
    CapturedLog captured;
};

TEST_F(Timers, AnEmptyListWaitsTenSeconds) {
    EXPECT_EQ(timers.runDue(), 10'000u);
}

TEST_F(Timers, AreCountedWhileTheyRun) {
    Timer* const periodic = timers.addPeriodicTimer(100, 100, 0, Note(), 0);
    timers.addTimer(50, Note(), 0);
    EXPECT_EQ(timers.Running(), 2u);

    clock.AdvanceMs(60);
    timers.runDue();
    EXPECT_EQ(timers.Running(), 1u);

    timers.cancel(periodic);
    EXPECT_EQ(timers.Running(), 0u);
}

TEST_F(Timers, TheWaitIsThatOfTheNextTimer) {
    timers.addTimer(700, Note(), 0);
    timers.addTimer(300, Note(), 0);
    timers.addTimer(500, Note(), 0);

    EXPECT_EQ(timers.runDue(), 300u);
    EXPECT_THAT(fired, IsEmpty());
}

TEST_F(Timers, TheWaitIsAtMostTenSeconds) {
    timers.addTimer(20'000, Note(), 0);

    EXPECT_EQ(timers.runDue(), 10'000u);
}

TEST_F(Timers, ATimerDueInLessThanAMillisecondWaitsOne) {
    timers.addTimer(1, Note(), 0);
    clock.AdvanceUs(600);

    EXPECT_EQ(timers.runDue(), 1u);
    EXPECT_THAT(fired, IsEmpty());
}

TEST_F(Timers, FractionsOfAMillisecondFallAwayFromTheWait) {
    timers.addTimer(3, Note(), 0);
    clock.AdvanceUs(1);

    EXPECT_EQ(timers.runDue(), 2u);
}

TEST_F(Timers, ATimerFiresOnItsMicrosecondAndNotBefore) {
    timers.addTimer(10, Note(), 7);

    clock.AdvanceUs(9'999);
    timers.runDue();
    EXPECT_THAT(fired, IsEmpty());

    clock.AdvanceUs(1);
    timers.runDue();
    EXPECT_THAT(fired, ElementsAre(7));
}

TEST_F(Timers, AnExpiryCarriesIntoTheNextSecond) {
    SteppedClock late(5'999'999'000);
    TimerService service(late);

    const Timer* timer = service.addTimer(1'001, Note(), 0);

    EXPECT_EQ(timer->expirySeconds, 7u);  // 5.999999 s and 1.001 s
    EXPECT_EQ(timer->expiryMicroseconds, 999u);
}

TEST_F(Timers, ExactlyAMillionMicrosecondsCarry) {
    SteppedClock late(5'999'000'000);
    TimerService service(late);

    const Timer* timer = service.addTimer(1, Note(), 0);

    EXPECT_EQ(timer->expirySeconds, 6u);
    EXPECT_EQ(timer->expiryMicroseconds, 0u);
}

TEST_F(Timers, AWaitAcrossASecondBorrows) {
    SteppedClock late(5'999'000'000);
    TimerService service(late);
    service.addTimer(500, Note(), 0);

    EXPECT_EQ(service.runDue(), 500u);
}

TEST_F(Timers, DueTimersFireInTheOrderOfTheirCreation) {
    timers.addTimer(30, Note(), 1);
    timers.addTimer(10, Note(), 2);
    timers.addPeriodicTimer(20, 100, 0, Note(), 3);
    clock.AdvanceMs(30);

    timers.runDue();

    EXPECT_THAT(fired, ElementsAre(1, 2, 3));
}

TEST_F(Timers, AOneShotFiresOnce) {
    timers.addTimer(10, Note(), 1);
    clock.AdvanceMs(10);
    timers.runDue();
    clock.AdvanceMs(10'000);

    EXPECT_EQ(timers.runDue(), 10'000u);
    EXPECT_THAT(fired, ElementsAre(1));
}

TEST_F(Timers, AnEmptyCallbackRaisesBadFunctionCall) {
    timers.addTimer(0, TimerCallback(), 0);

    try {
        timers.runDue();
        FAIL() << "nothing was raised";
    } catch (const boost::bad_function_call& failure) {
        EXPECT_STREQ(failure.what(), "call to empty boost::function");
    }
}

TEST_F(Timers, AnExceptionPassesThroughAndLeavesTheServiceUsable) {
    Timer* thrower = timers.addPeriodicTimer(
        0, 10, 0, [](uint32_t) { throw std::runtime_error("boom"); }, 0);
    EXPECT_THROW(timers.runDue(), std::runtime_error);

    timers.cancel(thrower);

    EXPECT_EQ(timers.runDue(), 10'000u);
}

TEST_F(Timers, ATimerThatCancelsItselfAndThrowsIsGone) {
    Timer* thrower = nullptr;
    thrower = timers.addPeriodicTimer(
        0, 10, 0,
        [&](uint32_t) {
            timers.cancel(thrower);
            throw std::runtime_error("boom");
        },
        0);
    EXPECT_THROW(timers.runDue(), std::runtime_error);

    clock.AdvanceMs(100);

    EXPECT_EQ(timers.runDue(), 10'000u);
}

// Lateness

TEST_F(Timers, FiftyMillisecondsLateIsNotWorthAWord) {
    timers.addTimer(0, Note(), 0);
    clock.AdvanceUs(50'999);
    timers.runDue();

    EXPECT_THAT(captured.Lines(), IsEmpty());
}

TEST_F(Timers, FiftyOneMillisecondsLateIsLogged) {
    timers.addTimer(0, Note(), 0);
    clock.AdvanceMs(51);
    timers.runDue();

    EXPECT_THAT(captured.Lines(), ElementsAre("[NORVAD TIMER] late by 51 ms"));
}

TEST_F(Timers, LatenessIsLoggedOnceForAPassAndOfTheFirstLateTimer) {
    timers.addTimer(20, Note(), 0);
    timers.addTimer(10, Note(), 0);
    timers.addTimer(0, Note(), 0);
    clock.AdvanceMs(80);
    timers.runDue();

    EXPECT_THAT(captured.Lines(), ElementsAre("[NORVAD TIMER] late by 60 ms"));
}

TEST_F(Timers, EveryPassMayWarnAnew) {
    timers.addTimer(0, Note(), 0);
    clock.AdvanceMs(60);
    timers.runDue();
    timers.addTimer(0, Note(), 0);
    clock.AdvanceMs(70);
    timers.runDue();

    EXPECT_THAT(captured.Lines(), ElementsAre("[NORVAD TIMER] late by 60 ms", "[NORVAD TIMER] late by 70 ms"));
}

TEST_F(Timers, LatenessIsMeasuredFromTheStartOfThePass) {
    timers.addTimer(
        0, [this](uint32_t) { clock.AdvanceMs(500); }, 0);
    timers.addTimer(0, Note(), 0);
    clock.AdvanceMs(10);
    timers.runDue();

    EXPECT_THAT(captured.Lines(), IsEmpty());
}

// Periodic timers

TEST_F(Timers, APeriodicTimerWithoutJitterCountsFromTheEndOfItsCallback) {
    Timer* timer = timers.addPeriodicTimer(
        10, 125, 0, [this](uint32_t) { clock.AdvanceMs(7); }, 0);
    clock.AdvanceMs(13);
    timers.runDue();

    EXPECT_EQ(ExpiryUs(*timer), NowUs() + 125'000);
}

TEST_F(Timers, TheWaitAfterAPeriodicTimerCountsFromTheStartOfThePass) {
    timers.addPeriodicTimer(
        0, 125, 0, [this](uint32_t) { clock.AdvanceMs(7); }, 0);

    EXPECT_EQ(timers.runDue(), 132u);
}

TEST_F(Timers, TheFirstExpiryOfAPeriodicTimerIsItsFirstDelay) {
    const Timer* timer = timers.addPeriodicTimer(30, 125, 0, Note(), 0);

    EXPECT_EQ(ExpiryUs(*timer), NowUs() + 30'000);
}

TEST_F(Timers, ACallbackMayMoveItsOwnExpiry) {
    Timer* timer = nullptr;
    timer = timers.addPeriodicTimer(
        0, 125, 0, [&](uint32_t) { timers.restartIn(timer, 40); }, 0);

    EXPECT_EQ(timers.runDue(), 40u);
    EXPECT_EQ(ExpiryUs(*timer), NowUs() + 40'000);
}

TEST_F(Timers, AnExpiryThatACallbackMovesIntoThePastFiresInTheNextPass) {
    Timer* timer = nullptr;
    timer = timers.addPeriodicTimer(
        0, 125, 0,
        [&](uint32_t argument) {
            fired.push_back(argument);
            timer->expirySeconds -= 1;
        },
        4);

    EXPECT_EQ(timers.runDue(), 1u);
    EXPECT_THAT(fired, ElementsAre(4));
    timers.runDue();
    EXPECT_THAT(fired, ElementsAre(4, 4));
}

TEST_F(Timers, ACallbackMayMakeItsTimerAOneShot) {
    Timer* timer = nullptr;
    timer = timers.addPeriodicTimer(
        0, 125, 0,
        [&](uint32_t argument) {
            fired.push_back(argument);
            timer->intervalMs = 0;
        },
        4);
    timers.runDue();
    clock.AdvanceMs(1'000);

    EXPECT_EQ(timers.runDue(), 10'000u);
    EXPECT_THAT(fired, ElementsAre(4));
}

TEST_F(Timers, ACallbackMayMakeItsOneShotPeriodic) {
    Timer* timer = nullptr;
    timer = timers.addTimer(
        0, [&](uint32_t) { timer->intervalMs = 60; }, 0);

    EXPECT_EQ(timers.runDue(), 60u);
}

TEST_F(Timers, JitterDelaysEveryArmingByLessThanItsRange) {
    std::set<uint64_t> delays;
    for (int i = 0; i < 200; ++i) {
        Timer* timer = timers.addPeriodicTimer(100, 1'000, 5, Note(), 0);
        delays.insert((ExpiryUs(*timer) - NowUs()) / 1'000);
        timers.cancel(timer);
    }

    EXPECT_THAT(delays, ElementsAre(100, 101, 102, 103, 104));
}

TEST_F(Timers, ReArmingAddsJitterToTheInterval) {
    std::set<uint64_t> delays;
    Timer* timer = timers.addPeriodicTimer(0, 1'000, 3, Note(), 0);
    for (int i = 0; i < 100; ++i) {
        clock.AdvanceMs(1'002);
        timers.runDue();
        delays.insert((ExpiryUs(*timer) - NowUs()) / 1'000);
    }

    EXPECT_THAT(delays, ElementsAre(1'000, 1'001, 1'002));
}

// A timer that is owned

TEST_F(Timers, AnOwnedTimerIsCanceledWithItsOwner) {
    {
        const ScopedTimer owner(timers, timers.addTimer(10, Note(), 1));
        EXPECT_TRUE(owner.IsRunning());
    }
    clock.AdvanceMs(10);
    timers.runDue();

    EXPECT_THAT(fired, IsEmpty());
}

TEST_F(Timers, AnOwnerThatIsGivenAnotherTimerCancelsItsOwn) {
    ScopedTimer owner(timers, timers.addTimer(10, Note(), 1));
    owner = ScopedTimer(timers, timers.addTimer(20, Note(), 2));
    clock.AdvanceMs(20);
    timers.runDue();

    EXPECT_THAT(fired, ElementsAre(2));
    owner.Fired();
}

TEST_F(Timers, AMovedOwnerHasNothingToCancel) {
    std::vector<ScopedTimer> owners;
    {
        ScopedTimer first(timers, timers.addPeriodicTimer(10, 1'000, 0, Note(), 1));
        owners.push_back(std::move(first));
    }
    clock.AdvanceMs(10);
    timers.runDue();
    EXPECT_THAT(fired, ElementsAre(1));

    owners.clear();
    clock.AdvanceMs(1'000);
    timers.runDue();
    EXPECT_THAT(fired, ElementsAre(1));
}

TEST_F(Timers, AnOwnedOneShotMayBeStartedAgainByItsOwnCallback) {
    ScopedTimer owner;
    owner = ScopedTimer(timers, timers.addTimer(
                                    10,
                                    [&](uint32_t) {
                                        owner.Fired();
                                        owner = ScopedTimer(timers, timers.addTimer(5, Note(), 7));
                                    },
                                    0));
    clock.AdvanceMs(10);
    timers.runDue();
    EXPECT_TRUE(owner.IsRunning());

    clock.AdvanceMs(5);
    timers.runDue();
    EXPECT_THAT(fired, ElementsAre(7));
    owner.Fired();
}

// restart, restartIn, startAll

TEST_F(Timers, RestartArmsAPeriodicTimerAnInterval) {
    Timer* timer = timers.addPeriodicTimer(10, 125, 0, Note(), 0);
    clock.AdvanceMs(5);
    timers.restart(timer);

    EXPECT_EQ(ExpiryUs(*timer), NowUs() + 125'000);
}

TEST_F(Timers, RestartInArmsAPeriodicTimerADelay) {
    Timer* timer = timers.addPeriodicTimer(10, 125, 0, Note(), 0);
    clock.AdvanceMs(5);
    timers.restartIn(timer, 33);

    EXPECT_EQ(ExpiryUs(*timer), NowUs() + 33'000);
}

TEST_F(Timers, RestartingAOneShotChangesNothing) {
    Timer* timer = timers.addTimer(10, Note(), 0);
    const uint64_t expiry = ExpiryUs(*timer);
    clock.AdvanceMs(5);

    timers.restart(timer);
    timers.restartIn(timer, 500);

    EXPECT_EQ(ExpiryUs(*timer), expiry);
}

TEST_F(Timers, ANullHandleIsFineEverywhere) {
    timers.restart(nullptr);
    timers.restartIn(nullptr, 10);
    timers.cancel(nullptr);

    EXPECT_EQ(timers.runDue(), 10'000u);
}

TEST_F(Timers, StartAllMakesPeriodicTimersCountFromNow) {
    const Timer* periodic = timers.addPeriodicTimer(10, 125, 0, Note(), 0);
    const Timer* oneShot = timers.addTimer(10, Note(), 0);
    const uint64_t oneShotExpiry = ExpiryUs(*oneShot);
    clock.AdvanceMs(1'000);

    timers.startAll();

    EXPECT_EQ(ExpiryUs(*periodic), NowUs() + 125'000);
    EXPECT_EQ(ExpiryUs(*oneShot), oneShotExpiry);
}

// Callbacks that work on the list

TEST_F(Timers, ACanceledTimerNeverFires) {
    Timer* timer = timers.addTimer(10, Note(), 0);
    timers.cancel(timer);
    clock.AdvanceMs(10);

    EXPECT_EQ(timers.runDue(), 10'000u);
    EXPECT_THAT(fired, IsEmpty());
}

TEST_F(Timers, CancelDestroysTheCallback) {
    const auto held = std::make_shared<int>(0);
    Timer* timer = timers.addTimer(
        10, [held](uint32_t) { ++*held; }, 0);
    ASSERT_EQ(held.use_count(), 2);

    timers.cancel(timer);

    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(Timers, AFiredOneShotDestroysItsCallback) {
    const auto held = std::make_shared<int>(0);
    timers.addTimer(
        0, [held](uint32_t) { ++*held; }, 0);

    timers.runDue();

    EXPECT_EQ(*held, 1);
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(Timers, DestroyingTheServiceDestroysTheCallbacks) {
    const auto held = std::make_shared<int>(0);
    {
        TimerService service(clock);
        service.addTimer(
            10, [held](uint32_t) {}, 0);
        service.addPeriodicTimer(
            10, 10, 0, [held](uint32_t) {}, 0);
        ASSERT_EQ(held.use_count(), 3);
    }

    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(Timers, ACallbackMayCancelItsOwnTimer) {
    const auto held = std::make_shared<int>(0);
    for (const uint32_t intervalMs : {0u, 50u}) {
        Timer* timer = nullptr;
        timer = timers.addPeriodicTimer(
            0, intervalMs, 0,
            [&timer, this, held](uint32_t argument) {
                timers.cancel(timer);
                ++*held;  // the callback's own captures live until it returns
                fired.push_back(argument);
            },
            intervalMs);
        timers.runDue();
        EXPECT_EQ(held.use_count(), 1);
    }
    clock.AdvanceMs(1'000);

    EXPECT_EQ(timers.runDue(), 10'000u);
    EXPECT_THAT(fired, ElementsAre(0, 50));
}

TEST_F(Timers, ACallbackMayCancelItsOwnTimerAndCreateAnother) {
    Timer* timer = nullptr;
    timer = timers.addPeriodicTimer(
        0, 50, 0,
        [&](uint32_t) {
            timers.cancel(timer);
            timer = timers.addTimer(20, Note(), 9);
        },
        0);

    EXPECT_EQ(timers.runDue(), 20u);
    clock.AdvanceMs(20);
    timers.runDue();
    EXPECT_THAT(fired, ElementsAre(9));
}

TEST_F(Timers, ACallbackMayCancelTheNextTimer) {
    Timer* next = nullptr;
    timers.addTimer(
        0, [&](uint32_t) { timers.cancel(next); }, 0);
    next = timers.addTimer(0, Note(), 1);
    timers.addTimer(0, Note(), 2);

    timers.runDue();

    EXPECT_THAT(fired, ElementsAre(2));
}

TEST_F(Timers, ACallbackMayCancelThePreviousTimer) {
    Timer* previous = timers.addPeriodicTimer(0, 30, 0, Note(), 1);
    timers.addTimer(
        0, [&](uint32_t) { timers.cancel(previous); }, 0);
    timers.addTimer(0, Note(), 2);
    timers.runDue();
    clock.AdvanceMs(100);

    EXPECT_EQ(timers.runDue(), 10'000u);
    EXPECT_THAT(fired, ElementsAre(1, 2));
}

TEST_F(Timers, ACallbackMayCancelEveryTimer) {
    std::vector<Timer*> all;
    const auto cancelAll = [&](uint32_t argument) {
        fired.push_back(argument);
        for (Timer* timer : all) timers.cancel(timer);
    };
    for (uint32_t i = 0; i < 5; ++i) all.push_back(timers.addPeriodicTimer(0, 10, 0, cancelAll, i));

    EXPECT_EQ(timers.runDue(), 10'000u);
    EXPECT_THAT(fired, ElementsAre(0));
}

TEST_F(Timers, ATimerCreatedInACallbackCountsForTheWait) {
    timers.addTimer(
        0, [this](uint32_t) { timers.addTimer(15, Note(), 1); }, 0);

    EXPECT_EQ(timers.runDue(), 15u);
}

TEST_F(Timers, ACallbackMayRestartAnotherTimer) {
    Timer* other = nullptr;
    timers.addTimer(
        0, [&](uint32_t) { timers.restart(other); }, 0);
    other = timers.addPeriodicTimer(0, 80, 0, Note(), 1);

    EXPECT_EQ(timers.runDue(), 80u);
    EXPECT_THAT(fired, IsEmpty());
}

TEST_F(Timers, ACapturedObjectMayCancelTimersWhenItGoes) {
    struct CancelsWhenItGoes {
        CancelsWhenItGoes(TimerService& timers, Timer* timer) : timers(timers), timer(timer) {}
        ~CancelsWhenItGoes() { timers.cancel(timer); }

        TimerService& timers;
        Timer* timer;
    };
    Timer* other = timers.addTimer(500, Note(), 1);
    auto holder = std::make_shared<CancelsWhenItGoes>(timers, other);
    timers.addTimer(
        0, [holder](uint32_t) {}, 0);
    holder.reset();

    EXPECT_EQ(timers.runDue(), 500u);  // what went first was still counted
    EXPECT_EQ(timers.runDue(), 10'000u);
}

TEST_F(Timers, ARecordIsUsedAgain) {
    Timer* first = timers.addTimer(0, Note(), 1);
    timers.runDue();

    EXPECT_EQ(timers.addTimer(10, Note(), 2), first);
}

TEST_F(Timers, AUsedRecordRemembersNothing) {
    Timer* first = timers.addPeriodicTimer(0, 10, 5, Note(), 1);
    timers.cancel(first);
    const Timer* again = timers.addTimer(10, Note(), 2);

    EXPECT_EQ(again->intervalMs, 0u);
    EXPECT_EQ(again->jitterMs, 0u);
    EXPECT_EQ(again->argument, 2u);
    EXPECT_EQ(ExpiryUs(*again), NowUs() + 10'000);
}

}  // namespace
}  // namespace norvad::test
