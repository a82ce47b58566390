#include "lab/board/status_report.h"

#include <cinttypes>
#include <map>

#include "lab/common/text.h"
#include "switch/ports.h"

namespace norvad::board {

using namespace lab;

namespace {

std::string PortLines(const Board& board, uint8_t port) {
    const auto& counters = board.Counters(port);
    std::string text = Text("port %u link 0x%x received %" PRIu64 " (%" PRIu64 " bytes) sent %" PRIu64 " (%" PRIu64
                            " bytes) forwarded %" PRIu64 " trapped %" PRIu64 "\n",
                            port, board.Links()[port].Nibble(), counters.received.frames, counters.received.bytes,
                            counters.sent.frames, counters.sent.bytes, counters.forwarded, counters.trapped);
    for (size_t reason = 0; reason < dropReasonNames.size(); ++reason) {
        if (counters.dropped[reason] == 0) continue;
        text += Text("port %u dropped %" PRIu64 " %s\n", port, counters.dropped[reason], dropReasonNames[reason]);
    }
    return text;
}

std::string PortLines(const Board& board) {
    std::string text = "ports\n";
    for (uint8_t port = 0; port < board.ExternalPorts(); ++port) text += PortLines(board, port);
    return text + PortLines(board, cpuPort);
}

std::string ClockLines(const Board& board, int64_t referenceNs) {
    const auto& clock = board.Clock();
    return Text("clock\ntime %" PRIu64 " ns rate %+.3f ppb steering %" PRId32 "\n", clock.At(referenceNs),
                clock.RateOffset() * 1e9, clock.Steering());
}

std::string VlanLines(const Board& board) {
    std::string text = "vlans\n";
    for (const auto& [vid, portMask] : board.Vlans().Entries()) {
        text += Text("vid %u port mask 0x%02x\n", vid, portMask);
    }
    return text;
}

std::string MulticastLines(Board& board, int64_t referenceNs) {
    std::string text = "multicasts\n";
    for (auto* entry : board.Multicasts().Entries()) {
        text += Text("vid %u address %s port mask 0x%02x frames %" PRIu64 " rate %" PRIu64 " bytes/s\n", entry->vid,
                     AddressText(entry->address).c_str(), entry->portMask, entry->frames,
                     entry->rate.BytesPerSecond(referenceNs));
    }
    return text;
}

// What the streams of each VLAN make on each port, in bytes per second.
std::map<EgressLimits::Key, uint64_t> UsedRates(Board& board, int64_t referenceNs) {
    std::map<EgressLimits::Key, uint64_t> rates;
    for (auto* entry : board.Multicasts().Entries()) {
        for (uint8_t port = 0; port < portCount; ++port) {
            if ((entry->portMask >> port & 1) == 0) continue;
            rates[{port, entry->vid}] += entry->rate.BytesPerSecond(referenceNs);
        }
    }
    return rates;
}

std::string LimitLines(Board& board, int64_t referenceNs) {
    std::string text = "egress limits\n";
    auto used = UsedRates(board, referenceNs);
    for (const auto& [key, limit] : board.Limits().Entries()) {
        text += Text("port %u parameter %" PRIu32 " limit %" PRId32 " used %" PRIu64 " bytes/s\n", key.first,
                     key.second, limit, used[key]);
    }
    return text;
}

std::string StationLines(const Board& board, int64_t referenceNs) {
    std::string text = "stations\n";
    for (const auto& entry : board.Stations().Entries(referenceNs)) {
        text += Text("vid %u address %s port %u age %" PRId64 " s\n", entry.vid, AddressText(entry.address).c_str(),
                     entry.port, (referenceNs - entry.heardNs) / 1'000'000'000);
    }
    return text;
}

}  // namespace

std::string StatusReport(Board& board, int64_t referenceNs) {
    return PortLines(board) + ClockLines(board, referenceNs) + VlanLines(board) + MulticastLines(board, referenceNs) +
           LimitLines(board, referenceNs) + StationLines(board, referenceNs);
}

}  // namespace norvad::board
