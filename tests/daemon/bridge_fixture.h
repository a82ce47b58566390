#pragma once

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "daemon/log.h"
#include "switch/ethertypes.h"
#include "switch/switch.h"
#include "tests/daemon/captured_syslog.h"
#include "tests/daemon/fake_handler.h"
#include "tests/support/fake_borders.h"
#include "tests/support/stepped_clock.h"

namespace norvad::test {

// A switch over doors of our own with two handlers, registered against their order.
class BridgeFixture : public testing::Test {
protected:
    BridgeFixture() {
        bridge.Dispatcher().AddHandler(ptp);
        bridge.Dispatcher().AddHandler(msrp);
        CapturedSyslog().clear();
    }
    ~BridgeFixture() override { debugLevels = {}; }

    SteppedClock clock;
    FakeBorders borders{clock};
    Switch bridge{"eth0", clock, borders};
    boost::shared_ptr<FakeHandler> msrp = boost::make_shared<FakeHandler>(ETHERTYPE_MSRP, "msrp");
    boost::shared_ptr<FakeHandler> ptp = boost::make_shared<FakeHandler>(ETHERTYPE_PTP2, "ptp");
};

}  // namespace norvad::test
