#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ctl/bridge_reader.h"
#include "ctl/screen.h"
#include "ctl/selection.h"
#include "ctl/table.h"

namespace norvad::ctl {

// What one drawing of norvadctl watch is made of.
struct WatchPage {
    Cell heading;
    const Snapshot* before = nullptr;  // what is different since is marked; null: nothing is
    const Snapshot* now = nullptr;     // null: no daemon has answered yet
    std::vector<std::string> recent;   // changes, the oldest first

    // At most as many lines as the screen has rows, save on one that is too small for any: the clock, the ports, as
    // many streams of the selection as there is room for, the first VLANs, the recent changes. Measured values are not
    // marked, as they change always.
    std::vector<std::string> Lines(const Selection& selection, const ScreenSize& size, bool colours) const;
};

}  // namespace norvad::ctl
