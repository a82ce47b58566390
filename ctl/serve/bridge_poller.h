#pragma once

#include "base/clock.h"
#include "ctl/control_client.h"
#include "ctl/serve/bridge_state.h"

namespace norvad::ctl {

// Asks the daemon for the whole bridge, and remembers what there was before.
class BridgePoller {
public:
    static constexpr uint64_t periodMs = 1000;

    BridgePoller(ControlClient& client, const norvad::Clock& clock) : client(client), clock(clock) {}

    // Takes as long as the daemon does, at most the client's patience for each of five questions. What came between two
    // calls and went again is not seen.
    SharedState Poll();

private:
    void Read(BridgeState& state) const;
    void Compare(BridgeState& state) const;

    ControlClient& client;
    const norvad::Clock& clock;
    SharedState before;
    SharedState answeredBefore;  // what changes are told against
};

}  // namespace norvad::ctl
