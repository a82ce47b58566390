#pragma once

#include <boost/make_shared.hpp>
#include <cstdio>
#include <string>
#include <vector>

#include "base/ethertypes.h"
#include "base/log.h"
#include "switch/switch.h"
#include "tests/support/fake_doors.h"
#include "tests/support/recording_handler.h"
#include "tests/support/stepped_clock.h"

namespace norvad {

// A switch with two handlers for the targets that play the operator; what it says goes nowhere.
class ControlBridge {
public:
    ControlBridge() {
        static FILE* const nowhere = std::freopen("/dev/null", "w", stdout);
        (void)nowhere;
        bridge.Dispatcher().AddHandler(boost::make_shared<test::RecordingHandler>(ETHERTYPE_MSRP, "msrp", events));
        bridge.Dispatcher().AddHandler(boost::make_shared<test::RecordingHandler>(ETHERTYPE_PTP2, "ptp", events));
        doors.SetPortLinks({test::linkGigabit, test::linkFastBlocked});
        bridge.UpdateLinks();
    }
    ~ControlBridge() { debugLevels = {}; }

    std::vector<std::string> events;
    test::SteppedClock clock;
    test::FakeDoors doors{clock};
    Switch bridge{"eth0", clock, doors};
};

}  // namespace norvad
