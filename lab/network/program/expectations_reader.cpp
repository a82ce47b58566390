#include <fmt/format.h>

#include <string>

#include "lab/network/program/readers.h"

namespace norvad::network {

namespace {

// What of names, for the text.
std::string Of(const std::optional<FileValue>& of) {
    if (!of) return {};
    std::string text;
    for (const FileValue& each : of->List()) text += (text.empty() ? " of " : ", ") + each.Text();
    return text;
}

// Fills in what is wanted by the name that value stands behind.
using ReadWanted = void (*)(const FileValue& value, FileMap& map, const Names& names, Expectation& expectation);

uint64_t Time(const FileValue& value) {
    return static_cast<uint64_t>(value.DurationNs(0, longestRunNs));
}

void ReadTimeError(const FileValue& value, FileMap& map, const Names& names, Expectation& expectation) {
    const auto of = map.Find("of");
    expectation.wanted = TimeErrorLimit{Time(value), names.Bridges(of)};
    expectation.text += Of(of);
}

void ReadTimeOffset(const FileValue& value, FileMap& map, const Names& names, Expectation& expectation) {
    const int64_t isNs = value.DurationNs(-longestRunNs, longestRunNs);
    const FileValue give = map.Need("give");
    expectation.wanted = TimeOffset{isNs, static_cast<int64_t>(Time(give)), names.Bridges(map.Need("of"))};
    expectation.text += " give " + give.Text() + Of(map.Find("of"));
}

void ReadGrandmaster(const FileValue& value, FileMap& map, const Names& names, Expectation& expectation) {
    const auto of = map.Find("of");
    expectation.wanted = OneGrandmaster{names.Bridge(value), names.Bridges(of)};
    expectation.text += Of(of);
}

void ReadReservedWithin(const FileValue& value, FileMap&, const Names&, Expectation& expectation) {
    expectation.wanted = ReservedWithin{Time(value)};
}

void ReadStaysReserved(const FileValue& value, FileMap&, const Names&, Expectation& expectation) {
    if (!value.YesOrNo()) value.Refuse("only yes makes sense here");
    expectation.wanted = StaysReserved{};
}

constexpr int64_t mostLost = 1'000'000'000;

void ReadLost(const FileValue& value, FileMap&, const Names&, Expectation& expectation) {
    expectation.wanted = FramesLost{0, static_cast<uint64_t>(value.Number(0, mostLost))};
}

void ReadLostAtLeast(const FileValue& value, FileMap&, const Names&, Expectation& expectation) {
    expectation.wanted = FramesLost{static_cast<uint64_t>(value.Number(1, mostLost)), noEnd};
}

void ReadLatency(const FileValue& value, FileMap&, const Names&, Expectation& expectation) {
    LatencyLimit limit;
    if (value.Text() != "as promised") limit.mostNs = Time(value);
    expectation.wanted = limit;
}

struct WantedName {
    const char* name;
    ReadWanted read;
};
constexpr WantedName wantedNames[] = {
    {"time error", ReadTimeError},
    {"time offset", ReadTimeOffset},
    {"grandmaster", ReadGrandmaster},
    {"reserved within", ReadReservedWithin},
    {"stays reserved", ReadStaysReserved},
    {"frames lost", ReadLost},
    {"frames lost at least", ReadLostAtLeast},
    {"latency", ReadLatency},
};

}  // namespace

Expectation ReadExpectation(const FileValue& value, const Names& names) {
    FileMap map(value);
    Expectation expectation;
    for (const auto& [name, read] : wantedNames) {
        const auto found = map.Find(name);
        if (!found) continue;
        if (!expectation.text.empty()) found->Refuse("an expectation is of one thing");
        expectation.text = fmt::format("{} {}", name, found->Text());
        read(*found, map, names, expectation);
    }
    const auto from = map.Find("from"), until = map.Find("until");
    map.RefuseOthers();
    if (expectation.text.empty()) value.Refuse("nothing is expected here");
    if (from) {
        expectation.fromNs = Time(*from);
        expectation.text += " from " + from->Text();
    }
    if (until) {
        expectation.untilNs = Time(*until);
        expectation.text += " until " + until->Text();
        if (expectation.untilNs < expectation.fromNs) until->Refuse("it ends before it begins");
    }
    return expectation;
}

}  // namespace norvad::network
