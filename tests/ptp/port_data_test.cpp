#include "ptp/port_data.h"

#include <gtest/gtest.h>

namespace norvad::test {

namespace {

TEST(PortData, SwitchOfTheStateForgetsTheMeasurementsOnly) {
    PTPPortData port;
    port.meanLinkDelay = 500;
    port.syncSequenceId = 9;
    port.rateWindowStarted = true;
    port.neighborRateRatio = 1.0001;
    port.localPDelayState = PDelayState::RESPONSE_RECEIVED;
    port.missedPdelayResponses = 2;

    port.StateSwitched();

    EXPECT_EQ(port.meanLinkDelay, 0);
    EXPECT_EQ(port.syncSequenceId, 0xFFFFFFFFU);
    EXPECT_FALSE(port.rateWindowStarted);
    EXPECT_EQ(port.neighborRateRatio, 1.0);
    EXPECT_EQ(port.localPDelayState, PDelayState::RESPONSE_RECEIVED) << "the exchange goes on";
    EXPECT_EQ(port.missedPdelayResponses, 2);
}

}  // namespace

}  // namespace norvad::test
