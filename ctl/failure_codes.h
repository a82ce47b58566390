#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace norvad::ctl {

// The words of the failure codes from 0 on, as the daemon writes them; IEEE 802.1Q, table 35-6.
inline constexpr std::array<std::string_view, 20> failureWords = {
    "Unknown error",
    "Insufficient bandwidth",
    "Insufficient Bridge resources",
    "Insufficient bandwidth for Traffic Class",
    "StreamID in use by another Talker",
    "Stream destination_address already in use",
    "Stream preempted by higher rank",
    "Reported latency has changed",
    "Egress port is not AVB capable",
    "Use a different destination_address",
    "Out of MSRP resources",
    "Out of MMRP resources",
    "Cannot store destination_address",
    "Requested priority is not an SR Class (3.3) priority",
    "MaxFrameSize (35.2.2.8.4(a)) is too large for media",
    "msrpMaxFanInPorts (35.2.1.4(f)) limit has been reached",
    "Changes in FirstValue for a registered StreamID",
    "VLAN is blocked on this egress port (Registration Forbidden)",
    "VLAN tagging is disabled on this egress port (untagged set)",
    "SR class priority mismatch",
};

inline std::optional<unsigned> FailureCode(std::string_view words) {
    for (unsigned code = 0; code < failureWords.size(); ++code) {
        if (failureWords[code] == words) return code;
    }
    return {};
}

}  // namespace norvad::ctl
