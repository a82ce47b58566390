#include "ptp/as_capable.h"

#include <gtest/gtest.h>

#include "tests/ptp/ptp_fixture.h"

namespace norvad::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A port in service whose rate window is open.
class AsCapable : public testing::Test {
protected:
    AsCapable() {
        fake.Raise(1);
        fake.ports[1].avbUp = true;
        data.rateWindowStarted = true;
        data.neighborRateRatio = 1.0001;
        data.meanLinkDelay = 400;
    }

    void ExpectWithdrawnWithANewWindow() const {
        EXPECT_THAT(fake.decisions, ElementsAre(FakePtpSwitch::Decision{1, false, false}));
        EXPECT_FALSE(data.rateWindowStarted);
        EXPECT_EQ(data.neighborRateRatio, 1.0);
    }
    void ExpectWindowGoesOn() const {
        EXPECT_TRUE(data.rateWindowStarted);
        EXPECT_EQ(data.neighborRateRatio, 1.0001);
    }

    FakePtpSwitch fake;
    PTPPortData data;
    AsCapableDecision decision{fake};
};

TEST_F(AsCapable, LinkLossRestartsTheRateWindowAndTheDelay) {
    decision.LinkIsDown(1, data);

    ExpectWithdrawnWithANewWindow();
    EXPECT_EQ(data.meanLinkDelay, 0);
}

TEST_F(AsCapable, LinkLossOfAPortThatIsNotCapableRestartsTheDelayOnly) {
    fake.ports[1].avbUp = false;

    decision.LinkIsDown(1, data);

    EXPECT_EQ(data.meanLinkDelay, 0);
    ExpectWindowGoesOn();
    EXPECT_THAT(fake.decisions, IsEmpty());
}

TEST_F(AsCapable, FourthMissedExchangeInARowRestartsTheRateWindowAndLeavesTheDelay) {
    for (int missed = 1; missed <= 3; ++missed) decision.ExchangeMissed(1, data);
    ExpectWindowGoesOn();
    EXPECT_THAT(fake.decisions, IsEmpty());

    decision.ExchangeMissed(1, data);

    ExpectWithdrawnWithANewWindow();
    EXPECT_EQ(data.meanLinkDelay, 400);
}

TEST_F(AsCapable, MissedExchangesOfAForcedPortLeaveTheRateWindow) {
    data.forcedASCapable = true;
    for (int missed = 1; missed <= 10; ++missed) decision.ExchangeMissed(1, data);
    ExpectWindowGoesOn();
}

TEST_F(AsCapable, PortDownRestartsTheRateWindow) {
    decision.PortWentDown(1, data);
    ExpectWithdrawnWithANewWindow();
}

TEST_F(AsCapable, PortDownRestartsTheRateWindowOfAPortThatIsNotCapableToo) {
    fake.ports[1].avbUp = false;
    decision.PortWentDown(1, data);
    ExpectWithdrawnWithANewWindow();
}

}  // namespace

}  // namespace norvad::test
