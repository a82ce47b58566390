#pragma once

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "base/ethertypes.h"
#include "base/log.h"
#include "switch/switch.h"
#include "tests/support/fake_doors.h"
#include "tests/support/fake_handler.h"
#include "tests/support/stepped_clock.h"

namespace norvad::test {

// A switch over doors of our own with two handlers, registered against their order.
class BridgeFixture : public testing::Test {
protected:
    BridgeFixture() {
        bridge.Dispatcher().AddHandler(ptp);
        bridge.Dispatcher().AddHandler(msrp);
    }
    ~BridgeFixture() override { debugLevels = {}; }

    SteppedClock clock;
    FakeDoors doors{clock};
    Switch bridge{"eth0", clock, doors};
    boost::shared_ptr<FakeHandler> msrp = boost::make_shared<FakeHandler>(ETHERTYPE_MSRP, "msrp");
    boost::shared_ptr<FakeHandler> ptp = boost::make_shared<FakeHandler>(ETHERTYPE_PTP2, "ptp");
};

}  // namespace norvad::test
