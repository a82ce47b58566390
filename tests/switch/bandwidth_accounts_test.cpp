#include "switch/bandwidth_accounts.h"

#include <gtest/gtest.h>

#include <memory>

#include "switch/ports.h"
#include "switch/switch_ioctl.h"
#include "tests/support/captured_log.h"
#include "tests/support/fake_driver_socket.h"
#include "tests/support/stepped_clock.h"

namespace norvad {
namespace {

using test::FakeDriverSocket;
using test::Logged;

constexpr uint8_t fastLink = 9;
constexpr uint8_t gigabitLink = 10;

class BandwidthAccountsTest : public testing::Test {
protected:
    test::SteppedClock clock;
    std::unique_ptr<FakeDriverSocket> door = std::make_unique<FakeDriverSocket>(clock);
    FakeDriverSocket& driver = *door;
    SwitchIoctl ioctl{std::move(door), clock};
    PortRecords ports{portCount};
    BandwidthAccounts accounts{ports, ioctl};
};

TEST_F(BandwidthAccountsTest, ReservationUpToTheLimitOfAFastPortSucceedsAndOneByteMoreFails) {
    ports[1].linkState = fastLink;
    accounts.Add(1, 3, 9'000'000);
    accounts.Add(1, 3, 375'000);
    EXPECT_EQ(ports[1].reservedBandwidth, 9'375'000U);
    EXPECT_EQ(driver.egress[1].limit, 9'375'000);
    EXPECT_FALSE(accounts.Has(1, 1));

    const std::string lines = Logged(0, [this] { accounts.Add(1, 3, 1); });

    EXPECT_EQ(lines, "ERROR: trying to add more bandwidth than available\n");
    EXPECT_EQ(ports[1].reservedBandwidth, 9'375'000U);
    EXPECT_EQ(driver.records.size(), 2U);
}

TEST_F(BandwidthAccountsTest, SpeedCodeTwoAloneHasTheGigabitLimit) {
    for (uint8_t linkState = 0; linkState < 16; ++linkState) {
        ports[0].linkState = linkState;
        const bool isGigabit = linkState == 2 || linkState == 6 || linkState == 10 || linkState == 14;
        EXPECT_EQ(accounts.Has(0, 9'375'001), isGigabit) << int{linkState};
        EXPECT_TRUE(accounts.Has(0, 9'375'000)) << int{linkState};
    }
    ports[0].linkState = gigabitLink;
    EXPECT_TRUE(accounts.Has(0, 93'750'000));
    EXPECT_FALSE(accounts.Has(0, 93'750'001));
}

TEST_F(BandwidthAccountsTest, AmountThatWouldWrapRoundDoesNotFit) {
    ports[0].linkState = gigabitLink;
    accounts.Add(0, 3, 1'000);

    EXPECT_FALSE(accounts.Has(0, 0xFFFF'FFFF));
    (void)Logged(0, [this] { accounts.Add(0, 3, 0xFFFF'FFFF); });
    EXPECT_EQ(ports[0].reservedBandwidth, 1'000U);
}

TEST_F(BandwidthAccountsTest, DriverGetsTheNewTotalAndTheTrafficClassUnchanged) {
    ports[1].linkState = gigabitLink;

    accounts.Add(1, 3, 5'000);
    accounts.Add(1, 2, 1'000);
    EXPECT_EQ(driver.egress[1].parameter, 2U);
    EXPECT_EQ(driver.egress[1].limit, 6'000);

    accounts.Substract(1, 0xFFFE, 2'000);
    EXPECT_EQ(driver.egress[1].parameter, 0xFFFEU);
    EXPECT_EQ(driver.egress[1].limit, 4'000);
}

TEST_F(BandwidthAccountsTest, GivingBackMoreThanWasReservedWrapsRound) {
    accounts.Set(1, 3, 10);

    accounts.Substract(1, 3, 11);

    EXPECT_EQ(ports[1].reservedBandwidth, 0xFFFF'FFFFU);
    EXPECT_EQ(driver.egress[1].limit, -1);
}

TEST_F(BandwidthAccountsTest, SettingIsUnlimitedAndAnUnchangedAmountDoesNothing) {
    accounts.Set(1, 100, 0);
    EXPECT_TRUE(driver.records.empty());

    accounts.Set(1, 100, 1'000'000'000);
    accounts.Set(1, 200, 1'000'000'000);

    EXPECT_EQ(ports[1].reservedBandwidth, 1'000'000'000U);
    EXPECT_EQ(driver.records.size(), 1U);
    EXPECT_EQ(driver.egress[1].parameter, 100U);
}

TEST_F(BandwidthAccountsTest, PortBeyondTheRecordsIsIgnored) {
    accounts.Add(7, 3, 1);
    accounts.Substract(7, 3, 1);
    accounts.Set(7, 3, 1);

    EXPECT_FALSE(accounts.Has(7, 0));
    EXPECT_TRUE(accounts.Has(6, 0));
    EXPECT_TRUE(driver.records.empty());
}

TEST_F(BandwidthAccountsTest, ChangesAreLoggedAtLevelOneAndSettingNotAtAll) {
    const auto changes = [this] {
        accounts.Add(1, 3, 500);
        accounts.Substract(1, 3, 500);
        accounts.Set(1, 3, 1);
        accounts.Set(1, 3, 0);
    };

    EXPECT_EQ(Logged(0, changes), "");
    EXPECT_EQ(Logged(1, changes),
              "AddBandwidth 500 , new bw 500 \n"
              "SubstractBandwidth 500 , new bw 0 \n");
}

}  // namespace
}  // namespace norvad
