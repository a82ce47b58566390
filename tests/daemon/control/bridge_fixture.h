#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <string>
#include <vector>

#include "base/ethertypes.h"
#include "base/log.h"
#include "switch/switch.h"
#include "tests/support/fake_doors.h"
#include "tests/support/recording_handler.h"
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

    // How often a handler was told that: "msrp options", "ptp values".
    ptrdiff_t Times(const std::string& event) const { return std::count(events.begin(), events.end(), event); }

    std::vector<std::string> events;
    SteppedClock clock;
    FakeDoors doors{clock};
    Switch bridge{"eth0", clock, doors};
    boost::shared_ptr<RecordingHandler> msrp = boost::make_shared<RecordingHandler>(ETHERTYPE_MSRP, "msrp", events);
    boost::shared_ptr<RecordingHandler> ptp = boost::make_shared<RecordingHandler>(ETHERTYPE_PTP2, "ptp", events);
};

}  // namespace norvad::test
