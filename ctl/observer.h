#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ctl/bridge_reader.h"
#include "ctl/changes.h"

namespace norvad::ctl {

// Looks at the bridge time and again, and tells what changed since the last look that was answered: also what is
// different in a daemon that was started in between.
class Observer {
public:
    explicit Observer(ControlClient& client) : bridge(client) {}

    // That the daemon is gone is told once, by the first look that it does not answer, and that it is back once as
    // well. The first answer of all is what later ones are compared with. Throws NoAnswer only when this user may not
    // ask.
    std::vector<Change> Look();

    bool IsAnswered() const { return silence.empty(); }           // the last look was
    const std::string& Silence() const { return silence; }        // why not
    const std::optional<Snapshot>& Last() const { return last; }  // what was answered last
    const NotUnderstood& LinesNotUnderstood() const { return bridge.LinesNotUnderstood(); }

private:
    BridgeReader bridge;
    std::optional<Snapshot> last;
    std::string silence;
};

}  // namespace norvad::ctl
