#pragma once

#include <string>

#include "tests/support/system/process.h"

namespace norvad::bench {

// ptp4l as a bridge between two interfaces, which hands time on (P2P_TC): the gPTP profile, with a link delay as
// software stamps make it. The calls that could touch the system clock are refused to it.
class TransparentClock {
public:
    TransparentClock(const std::string& interface0, const std::string& interface1);

    test::Process program;
};

}  // namespace norvad::bench
