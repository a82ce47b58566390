#include "msrp/msrp_attributes.h"

#include <array>
#include <charconv>

#include "base/hex.h"

namespace norvad {
namespace {

// By failure code.
constexpr std::array<const char*, 20> failureTexts = {
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

// A colon behind the last byte, too.
std::string ColonHex(std::span<const uint8_t> bytes) {
    return HexText(bytes) + ":";
}

std::string Hexadecimal(uint32_t number) {
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    return {digits.data(), end};
}

std::string TalkerFields(const TalkerFirstValue& value) {
    const uint32_t latencyNs = value.accumulatedLatency;
    return ColonHex(value.streamId) + " MAC: " + ColonHex(value.destination) + " AccLatency = 0x" +
           Hexadecimal(latencyNs) + " (" + std::to_string(latencyNs) + "ns)";
}

}  // namespace

std::string StreamIdText(const StreamID& id) {
    const std::span<const uint8_t> bytes(id);
    return HexText(bytes.first(sizeof(MacAddress)), "") + ":" + HexText(bytes.subspan(sizeof(MacAddress)), "");
}

const char* FailureText(uint8_t failureCode) {
    return failureCode < failureTexts.size() ? failureTexts[failureCode] : " Unknown";
}

std::string Talker::Text() const {
    return "[MSRP] Talker: " + TalkerFields(value);
}

std::string TalkerFailed::Text() const {
    return "[MSRP] TalkerFailed: " + TalkerFields(value.talker) + "\tBridge ID " + ColonHex(value.bridgeId) +
           "\tError code: " + FailureText(value.failureCode);
}

// A record that this bridge has never declared may still answer with In or Mt; the neighbour drops a value that says
// IGNORE, so the answer repeats what the neighbour said.
ListenerDeclaration Listener::Declared() const {
    return propagatedDeclaration != ListenerDeclaration::IGNORE ? propagatedDeclaration : registeredDeclaration;
}

std::string Listener::Text() const {
    return "[MSRP] Listener:" + StreamIdText(streamId) +
           " decl:" + Name(IsRegistered() ? registeredDeclaration : Declared());
}

std::string Domain::Text() const {
    return "[MSRP] Domain:" + std::to_string(value.srClassId) + " Pri" + std::to_string(value.srClassPriority) +
           " VLAN" + std::to_string(value.srClassVid.value());
}

}  // namespace norvad
