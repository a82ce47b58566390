#include "ctl/observer.h"

#include <utility>

namespace norvad::ctl {

std::vector<Change> Observer::Look() {
    std::vector<Change> changes;
    try {
        Snapshot now = bridge.All();
        if (last) changes = Changes(*last, now);
        if (!IsAnswered()) changes.insert(changes.begin(), DaemonIsBack());
        last = std::move(now);
        silence.clear();
    } catch (const NoAnswer& none) {
        if (none.reason == NoAnswer::Reason::DENIED) throw;
        if (IsAnswered()) changes.push_back(DaemonIsGone(none.what()));
        silence = none.what();
    }
    return changes;
}

}  // namespace norvad::ctl
