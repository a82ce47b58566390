#include "ptp/slave_clock.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/ptp/ptp_fixture.h"

namespace norvad::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr int32_t largest = 16'777'216;  // 2^24

class Servo : public testing::Test {
protected:
    // What the servo hands to the hardware for one offset.
    int32_t Steer(int32_t offset) {
        servo.Steer(offset);
        return fake.steering.back();
    }
    // Brings a fresh integral to a value.
    void IntegrateTo(int32_t value) { servo.Steer(value); }

    FakePtpSwitch fake;
    ClockServo servo{fake};
};

TEST_F(Servo, SteersByTheOffsetAndItsSum) {
    EXPECT_EQ(Steer(10), 10 * 512 + 10 * 64);
    EXPECT_EQ(Steer(10), 10 * 512 + 20 * 64);
    EXPECT_EQ(Steer(-25), -25 * 512 - 5 * 64);
    EXPECT_EQ(Steer(0), -5 * 64);
}

TEST_F(Servo, IntegralOfExactlyTwoToThe24IsNotClamped) {
    IntegrateTo(largest - 1);
    EXPECT_EQ(Steer(1), 512 + 0x40000000);
    EXPECT_EQ(Steer(-1), -512 + (largest - 1) * 64) << "and goes on from there";
}

TEST_F(Servo, IntegralOneBeyondIsClamped) {
    IntegrateTo(largest);
    EXPECT_EQ(Steer(1), 512 + 0x40000000);
    EXPECT_EQ(Steer(-1), -512 + (largest - 1) * 64) << "the one too many is gone";
}

TEST_F(Servo, NegativeIntegralIsClampedAlike) {
    IntegrateTo(-largest + 1);
    EXPECT_EQ(Steer(-1), -512 - 0x40000000);
    EXPECT_EQ(Steer(-1), -512 - 0x40000000);
    EXPECT_EQ(Steer(1), 512 + (-largest + 1) * 64);
}

TEST_F(Servo, SteeringWrapsAroundAtThirtyTwoBits) {
    EXPECT_EQ(Steer(largest / 2), 0x20000000);  // 2^23 x 512 is 2^32
    ClockServo fresh(fake);
    fresh.Steer(std::numeric_limits<int32_t>::max());
    EXPECT_EQ(fake.steering.back(), 0x40000000 - 512);
    fresh.Steer(std::numeric_limits<int32_t>::min());
    EXPECT_EQ(fake.steering.back(), -0x40000000);
}

TEST_F(Servo, MeanOffsetTakesAThirtySecondOfEachNext) {
    Steer(3200);
    EXPECT_EQ(servo.FilteredOffset(), 3200);
    Steer(0);
    EXPECT_EQ(servo.FilteredOffset(), 3100);
    Steer(-77);
    EXPECT_EQ(servo.FilteredOffset(), (31 * 3100 - 77) / 32);
}

TEST_F(Servo, MeanOffsetTruncatesTowardZeroAndStartsAnewThere) {
    Steer(-1);
    EXPECT_EQ(servo.FilteredOffset(), -1);
    Steer(0);
    EXPECT_EQ(servo.FilteredOffset(), 0);  // -31 / 32
    Steer(-500);
    EXPECT_EQ(servo.FilteredOffset(), -500);
}

TEST_F(Servo, MeanSquareFollowsTheSquareOfTheOffset) {
    Steer(-100);
    EXPECT_EQ(servo.FilteredSquare(), 10'000);
    Steer(20);
    EXPECT_EQ(servo.FilteredSquare(), (31 * 10'000 + 400) / 32);
}

TEST_F(Servo, MeanSquareWrapsAroundAtThirtyTwoBits) {
    Steer(65536);
    EXPECT_EQ(servo.FilteredSquare(), 0);  // 2^32
    Steer(46341);
    EXPECT_EQ(servo.FilteredSquare(), std::numeric_limits<int32_t>::min() + 4633);  // 46341^2 = 2^31 + 4633
    Steer(0);
    // 31 x (4633 - 2^31) is 143623 + 2^31 modulo 2^32.
    EXPECT_EQ(servo.FilteredSquare(), (std::numeric_limits<int32_t>::min() + 143'623) / 32);
}

TEST_F(Servo, ResetStopsSteeringStepsTheClockAndForgetsTheSum) {
    Steer(1000);
    const std::string text = [&] {
        CapturedLog capture(LogCategory::PTP, 1);
        servo.ResetClock(-5'000'000'000);
        return capture.Text();
    }();

    EXPECT_THAT(text, HasSubstr("[SW-PTP] ResetClock\n"));
    EXPECT_EQ(fake.steering.back(), 0);
    EXPECT_THAT(fake.clockSteps, ElementsAre(static_cast<uint64_t>(int64_t{-5'000'000'000})));
    EXPECT_EQ(servo.FilteredOffset(), 1000) << "the means live on";
    EXPECT_EQ(Steer(1), 512 + 64);
}

class Slave : public testing::Test {
protected:
    std::string Follow(int64_t offset, int32_t level = 1) {
        CapturedLog capture(LogCategory::PTP, level);
        slave.Follow({offset, 0x1'0000'0002, 0x3'0000'0004});
        return capture.Text();
    }

    FakePtpSwitch fake;
    ClockServo servo{fake};
    SlaveClock slave{servo};
};

TEST_F(Slave, OffsetOf200MicrosecondsIsTheLargestThatIsSteered) {
    Follow(200'000);
    Follow(-200'000);
    EXPECT_EQ(fake.steering.size(), 2U);

    Follow(200'001);
    EXPECT_EQ(fake.steering.size(), 2U);
    EXPECT_TRUE(fake.clockSteps.empty()) << "the first one";
    Follow(200'001);
    EXPECT_THAT(fake.clockSteps, ElementsAre(200'001U)) << "the second one";
}

TEST_F(Slave, SecondLargeOffsetInARowStepsTheClockByItself) {
    Follow(300'000);
    EXPECT_TRUE(fake.clockSteps.empty()) << "a single one is let pass";
    Follow(-200'001);
    EXPECT_THAT(fake.clockSteps, ElementsAre(static_cast<uint64_t>(int64_t{-200'001})));
    Follow(300'000);
    EXPECT_EQ(fake.clockSteps.size(), 1U) << "the count begins anew";
}

TEST_F(Slave, SmallOffsetInBetweenStartsTheCountAnew) {
    Follow(300'000);
    Follow(100);
    Follow(300'000);
    EXPECT_TRUE(fake.clockSteps.empty());
}

TEST_F(Slave, FirstLargeOffsetAfterASwitchStepsAtOnce) {
    slave.StateSwitched();
    Follow(5'000'000'000);
    EXPECT_THAT(fake.clockSteps, ElementsAre(5'000'000'000U));
}

TEST_F(Slave, LargeOffsetIsReportedByItsWords) {
    EXPECT_THAT(Follow(-2), Not(HasSubstr("SyncSentTime")));
    EXPECT_THAT(Follow(-0x1'0000'0002),
                HasSubstr("[SW-PTP] delta = 0xfffffffe -2 SyncSentTime = 0x00000001 00000002 SyncReceiveTime = "
                          "0x00000003 00000004\n"));
}

TEST_F(Slave, EveryOffsetIsLoggedAtLevelFive) {
    EXPECT_THAT(Follow(-77, 5), HasSubstr("[SW-PTP] delta = -77 ns\n"));
}

TEST_F(Slave, ExtremeOffsetsAreJustLarge) {
    Follow(std::numeric_limits<int64_t>::min());
    Follow(std::numeric_limits<int64_t>::max());
    EXPECT_THAT(fake.clockSteps, ElementsAre(0x7FFFFFFFFFFFFFFFU));
}

TEST_F(Slave, NinthGoodOffsetInARowAcquiresSync) {
    for (int good = 1; good <= 8; ++good) EXPECT_EQ(Follow(good % 2 ? 499 : -499), "") << good;
    EXPECT_THAT(Follow(499), HasSubstr("[SW-PTP] slave sync acquired\n"));
    EXPECT_EQ(Follow(0), "") << "only once";
}

TEST_F(Slave, OffsetOf500BreaksTheRow) {
    for (const int64_t bad : {500, -500}) {
        for (int good = 1; good <= 8; ++good) Follow(499);
        EXPECT_EQ(Follow(bad), "") << "nothing was acquired";
    }
    for (int good = 1; good <= 8; ++good) EXPECT_EQ(Follow(-499), "");
    EXPECT_THAT(Follow(0), HasSubstr("acquired"));
    EXPECT_THAT(Follow(-500), HasSubstr("[SW-PTP] slave sync lost\n"));
    EXPECT_EQ(Follow(500), "") << "only once";
}

TEST_F(Slave, SyncIsLostByALargeOffsetOnlyWhenTheClockIsStepped) {
    for (int good = 1; good <= 9; ++good) Follow(0);
    Follow(300'000);
    EXPECT_THAT(Follow(500), HasSubstr("[SW-PTP] slave sync lost\n"));

    for (int good = 1; good <= 9; ++good) Follow(0);
    Follow(300'000);
    Follow(300'000);
    EXPECT_EQ(Follow(500), "") << "the step has started the row anew";
}

TEST_F(Slave, RowOfAnyLengthStaysAcquired) {
    for (int good = 1; good <= 9; ++good) Follow(0);
    for (int good = 1; good <= 1000; ++good) slave.Follow({0, 1, 1});
    EXPECT_THAT(Follow(500), HasSubstr("lost"));
}

}  // namespace

}  // namespace norvad::test
