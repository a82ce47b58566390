#include "lab/end_station/text.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
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

std::optional<uint8_t> ParseHexPair(std::string_view text) {
    uint8_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    if (text.size() != 2 || error != std::errc{} || end != text.data() + text.size()) return {};
    return value;
}

// Exactly size hex pairs with one colon between them.
template <size_t size>
std::optional<std::array<uint8_t, size>> ParsePairs(std::string_view text) {
    if (text.size() != size * 3 - 1) return {};
    std::array<uint8_t, size> bytes{};
    for (size_t i = 0; i < size; ++i) {
        const auto value = ParseHexPair(text.substr(i * 3, 2));
        if (!value || (i > 0 && text[i * 3 - 1] != ':')) return {};
        bytes[i] = *value;
    }
    return bytes;
}

}  // namespace

std::optional<StreamID> ParseStreamId(std::string_view text) {
    constexpr size_t lengthWithWholeId = 22;
    if (text.size() != lengthWithWholeId) return ParsePairs<8>(text);
    return ParsePairs<8>(std::string(text.substr(0, 20)) + ':' + std::string(text.substr(20)));
}

std::optional<ListenerDeclaration> ParseDeclaration(std::string_view text) {
    for (size_t i = 1; i < declarationTexts.size(); ++i) {
        if (text == declarationTexts[i]) return static_cast<ListenerDeclaration>(i);
    }
    return {};
}

std::string HexText(std::span<const uint8_t> bytes) {
    return fmt::format("{:02x}", fmt::join(bytes, ":"));
}

const char* DeclarationText(ListenerDeclaration declaration) {
    return declarationTexts[static_cast<size_t>(declaration) & 3];
}

const char* FailureText(uint8_t code) {
    return code < failureTexts.size() ? failureTexts[code] : "Unknown";
}

}  // namespace norvad::station
