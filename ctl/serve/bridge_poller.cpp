#include "ctl/serve/bridge_poller.h"

#include <system_error>

namespace norvad::ctl {

namespace {

const char* WordFor(NoAnswer::Reason reason) {
    switch (reason) {
        case NoAnswer::Reason::ABSENT:
            return "absent";
        case NoAnswer::Reason::DENIED:
            return "denied";
        case NoAnswer::Reason::BUSY:
            return "busy";
        case NoAnswer::Reason::CUT_OFF:
            return "cut-off";
        case NoAnswer::Reason::SILENT:
        case NoAnswer::Reason::UNKNOWN:
            break;
    }
    return "silent";
}

bool IsSameButForTheClock(const Snapshot& one, const Snapshot& other) {
    return one.ports == other.ports && one.streams == other.streams && one.vlans == other.vlans &&
           one.domains == other.domains;
}

}  // namespace

SharedState BridgePoller::Poll() {
    auto state = std::make_shared<BridgeState>();
    Read(*state);
    state->time = clock.TimeOfDay();
    Compare(*state);
    before = state;
    if (state->IsAnswered()) answeredBefore = state;
    return state;
}

void BridgePoller::Read(BridgeState& state) const {
    try {
        BridgeReader reader(client);
        state.snapshot = reader.All();
        state.notUnderstood = reader.LinesNotUnderstood();
    } catch (const NoAnswer& none) {
        state.daemon = WordFor(none.reason);
        state.problem = none.what();
    } catch (const std::system_error& error) {
        state.daemon = "no-queue";
        state.problem = error.what();
    }
}

// That the daemon went and came back is a change; what it says then is compared with what it said at last.
void BridgePoller::Compare(BridgeState& state) const {
    if (!before) return;
    if (before->IsAnswered() && !state.IsAnswered()) state.changes.push_back(DaemonIsGone(state.problem));
    if (!before->IsAnswered() && state.IsAnswered()) state.changes.push_back(DaemonIsBack());
    if (state.IsAnswered() && answeredBefore) {
        for (Change& change : Changes(answeredBefore->snapshot, state.snapshot)) {
            state.changes.push_back(std::move(change));
        }
    }
    state.counters = before->counters;
    state.counters.Count(state.changes);
    const bool same = state.daemon == before->daemon && IsSameButForTheClock(state.snapshot, before->snapshot);
    state.revision = before->revision + (same ? 0 : 1);
}

}  // namespace norvad::ctl
