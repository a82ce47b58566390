#include "lab/board/status_report.h"

#include <fmt/format.h>

#include <map>

#include "lab/common/ethernet_frame.h"
#include "switch/ports.h"

namespace norvad::board {

using namespace lab;

namespace {

std::string PortLines(const Board& board, uint8_t port) {
    const auto& counters = board.Counters(port);
    std::string text =
        fmt::format("port {} link 0x{:x} received {} ({} bytes) sent {} ({} bytes) forwarded {} trapped {}\n", port,
                    board.Links()[port].Nibble(), counters.received.frames, counters.received.bytes,
                    counters.sent.frames, counters.sent.bytes, counters.forwarded, counters.trapped);
    for (size_t reason = 0; reason < dropReasonNames.size(); ++reason) {
        if (counters.dropped[reason] == 0) continue;
        text += fmt::format("port {} dropped {} {}\n", port, counters.dropped[reason], dropReasonNames[reason]);
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
    return fmt::format("clock\ntime {} ns rate {:+.3f} ppb steering {}\n", clock.At(referenceNs),
                       clock.RateOffset() * 1e9, clock.Steering());
}

std::string VlanLines(const Board& board) {
    std::string text = "vlans\n";
    for (const auto& [vid, portMask] : board.Vlans().Entries()) {
        text += fmt::format("vid {} port mask 0x{:02x}\n", vid, portMask);
    }
    return text;
}

std::string MulticastLines(Board& board, int64_t referenceNs) {
    std::string text = "multicasts\n";
    for (auto* entry : board.Multicasts().Entries()) {
        text += fmt::format("vid {} address {} port mask 0x{:02x} frames {} rate {} bytes/s\n", entry->vid,
                            AddressText(entry->address), entry->portMask, entry->frames,
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
        text += fmt::format("port {} parameter {} limit {} used {} bytes/s\n", key.first, key.second, limit, used[key]);
    }
    return text;
}

std::string StationLines(const Board& board, int64_t referenceNs) {
    std::string text = "stations\n";
    for (const auto& entry : board.Stations().Entries(referenceNs)) {
        text += fmt::format("vid {} address {} port {} age {} s\n", entry.vid, AddressText(entry.address), entry.port,
                            (referenceNs - entry.heardNs) / 1'000'000'000);
    }
    return text;
}

}  // namespace

std::string StatusReport(Board& board, int64_t referenceNs) {
    return PortLines(board) + ClockLines(board, referenceNs) + VlanLines(board) + MulticastLines(board, referenceNs) +
           LimitLines(board, referenceNs) + StationLines(board, referenceNs);
}

}  // namespace norvad::board
