#include "lab/end_station/text.h"

#include <array>
#include <string>

namespace norvad::station {

namespace {

constexpr std::array<const char*, 20> failureTexts{
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
    "Requested priority is not an SR Class priority",
    "MaxFrameSize is too large for media",
    "msrpMaxFanInPorts limit has been reached",
    "Changes in FirstValue for a registered StreamID",
    "VLAN is blocked on this egress port",
    "VLAN tagging is disabled on this egress port",
    "SR class priority mismatch",
};

constexpr std::array<const char*, 4> declarationTexts{"ignore", "asking-failed", "ready", "ready-failed"};

}  // namespace

std::optional<StreamID> ParseStreamId(std::string_view text) {
    constexpr size_t lengthWithWholeId = 22;
    std::string pairs(text);
    if (pairs.size() == lengthWithWholeId) pairs.insert(lengthWithWholeId - 2, 1, ':');
    StreamID id;
    if (!ReadHexPairs(pairs, id)) return {};
    return id;
}

std::optional<ListenerDeclaration> ParseDeclaration(std::string_view text) {
    for (size_t i = 1; i < declarationTexts.size(); ++i) {
        if (text == declarationTexts[i]) return static_cast<ListenerDeclaration>(i);
    }
    return {};
}

const char* DeclarationText(ListenerDeclaration declaration) {
    return declarationTexts[static_cast<size_t>(declaration) & 3];
}

const char* FailureText(uint8_t code) {
    return code < failureTexts.size() ? failureTexts[code] : "Unknown";
}

}  // namespace norvad::station
