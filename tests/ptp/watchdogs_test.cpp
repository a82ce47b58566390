#include "ptp/watchdogs.h"

#include <gtest/gtest.h>

namespace norvad::test {

namespace {

// Watchdogs of a device that has just switched its state.
class WatchdogsAfterASwitch : public testing::Test {
protected:
    WatchdogsAfterASwitch() { watchdogs.StateSwitched(); }

    void CheckMaster(int checks) {
        for (int check = 0; check < checks; ++check) watchdogs.CheckMaster();
    }

    Watchdogs watchdogs;
};

TEST_F(WatchdogsAfterASwitch, ThirdCheckWithoutAFollowUpFindsThatTimeStopped) {
    EXPECT_FALSE(watchdogs.TimeStopped()) << "first check";
    CheckMaster(1);
    EXPECT_FALSE(watchdogs.TimeStopped()) << "second check";
    CheckMaster(1);
    EXPECT_TRUE(watchdogs.TimeStopped()) << "third check";
}

TEST_F(WatchdogsAfterASwitch, FollowUpIsGoodForTwoChecksMore) {
    CheckMaster(1);
    watchdogs.TimeArrived();
    CheckMaster(1);
    EXPECT_FALSE(watchdogs.TimeStopped());
    CheckMaster(1);
    EXPECT_TRUE(watchdogs.TimeStopped());
    watchdogs.TimeArrived();
    EXPECT_FALSE(watchdogs.TimeStopped()) << "however long it was silent";
}

TEST_F(WatchdogsAfterASwitch, MasterIsNoLongerTheBestAfterTwoChecksWithoutAnAnnounce) {
    watchdogs.BestClockAnnounced();
    CheckMaster(1);
    EXPECT_FALSE(watchdogs.AnnouncingStopped());
    CheckMaster(1);
    EXPECT_TRUE(watchdogs.AnnouncingStopped());
    watchdogs.BestClockAnnounced();
    EXPECT_FALSE(watchdogs.AnnouncingStopped());
}

TEST_F(WatchdogsAfterASwitch, TimeAndAnnouncesDoNotStandInForEachOther) {
    watchdogs.BestClockAnnounced();
    CheckMaster(2);
    watchdogs.TimeArrived();
    EXPECT_TRUE(watchdogs.AnnouncingStopped());
    CheckMaster(2);
    watchdogs.BestClockAnnounced();
    EXPECT_TRUE(watchdogs.TimeStopped());
}

TEST_F(WatchdogsAfterASwitch, WaitIsOverAtTheSecondCheck) {
    watchdogs.CheckWait();
    EXPECT_FALSE(watchdogs.WaitIsOver());
    watchdogs.CheckWait();
    EXPECT_TRUE(watchdogs.WaitIsOver());
}

TEST_F(WatchdogsAfterASwitch, NextSwitchStartsTimeAndWaitAnew) {
    CheckMaster(5);
    watchdogs.CheckWait();

    watchdogs.StateSwitched();

    watchdogs.CheckWait();
    EXPECT_FALSE(watchdogs.WaitIsOver());
    CheckMaster(1);
    EXPECT_FALSE(watchdogs.TimeStopped());
}

// A device that loses its master and finds another one has not heard the best clock announced for all that time.
TEST_F(WatchdogsAfterASwitch, NextSwitchLeavesTheSilenceOfAnnounces) {
    watchdogs.BestClockAnnounced();
    CheckMaster(2);
    watchdogs.StateSwitched();
    EXPECT_TRUE(watchdogs.AnnouncingStopped());
}

TEST(Watchdogs, CountNothingAgainstAMasterBeforeTheFirstCheck) {
    Watchdogs watchdogs;
    EXPECT_FALSE(watchdogs.TimeStopped());
    EXPECT_FALSE(watchdogs.AnnouncingStopped());
    watchdogs.CheckMaster();
    EXPECT_TRUE(watchdogs.AnnouncingStopped()) << "nobody was ever announced";
}

}  // namespace

}  // namespace norvad::test
