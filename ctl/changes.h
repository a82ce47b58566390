#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ctl/bridge_reader.h"

namespace norvad::ctl {

enum class ChangeKind {
    DAEMON_GONE,  // it does not answer; these two are told by who asks, as two answers do not show them
    DAEMON_BACK,
    LINK_UP,
    LINK_DOWN,
    AS_CAPABLE,
    NOT_AS_CAPABLE,
    TALKER_CAME,  // a neighbour declares it at that port
    TALKER_GONE,
    TALKER_FAILED,     // as it arrives, or as this bridge declares it; again when the reason changes
    TALKER_RECOVERED,  // it is still declared at that port, and no longer as failed
    LISTENER_CAME,
    LISTENER_CHANGED,  // declares something else
    LISTENER_GONE,
    RESERVED,
    RESERVATION_UNKNOWN,  // the listener asks failed, and keeps what it had
    NOT_RESERVED,
    VLAN_CAME,  // a neighbour registered it at that port
    VLAN_GONE,
    GRANDMASTER,
    CLOCK_STATE
};

// As programs read them.
inline constexpr std::array<std::string_view, 20> changeKindNames = {
    "daemon-gone",
    "daemon-back",
    "link-up",
    "link-down",
    "as-capable",
    "not-as-capable",
    "talker-came",
    "talker-gone",
    "talker-failed",
    "talker-recovered",
    "listener-came",
    "listener-changed",
    "listener-gone",
    "reserved",
    "reservation-unknown",
    "not-reserved",
    "vlan-came",
    "vlan-gone",
    "grandmaster-changed",
    "clock-state-changed",
};
static_assert(changeKindNames.size() == static_cast<size_t>(ChangeKind::CLOCK_STATE) + 1);

inline std::string_view Name(ChangeKind kind) {
    return changeKindNames[static_cast<size_t>(kind)];
}

struct Change {
    ChangeKind kind = ChangeKind::LINK_UP;
    std::optional<unsigned> port{};
    std::optional<Id> stream{};
    std::optional<unsigned> vid{};
    std::string text{};  // one line for an operator, which needs nothing of the above
};

// What differs: ports, clock, streams in ascending order of StreamID, VLANs. What came and went in between is not seen.
// A clock that one of the two lacks is taken for unchanged. The time grows linearly with the streams.
std::vector<Change> Changes(const Snapshot& before, const Snapshot& after);

Change DaemonIsGone(const std::string& why);
Change DaemonIsBack();

}  // namespace norvad::ctl
