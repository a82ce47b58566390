#include "lab/network/program/scenario_reader.h"

#include <algorithm>

#include "lab/network/network.h"
#include "lab/network/program/file_value.h"
#include "lab/network/program/names.h"
#include "lab/network/program/readers.h"
#include "lab/network/random.h"

namespace norvad::network {

namespace {

std::vector<FileValue> ItemsOf(FileMap& file, const char* name) {
    const auto found = file.Find(name);
    return found ? found->List() : std::vector<FileValue>{};
}

// Each link has randomness of its own, from the run's.
void SeedLinks(Scenario& scenario) {
    for (LinkPlan& link : scenario.links) link.cable.seed = Random(scenario.seed, link.name).Next();
}

}  // namespace

Scenario ReadScenario(const std::string& name, const std::string& text, const std::vector<std::string>& settings,
                      std::optional<uint64_t> seed) {
    constexpr int64_t mostSeed = 1'000'000'000;
    FileMap file(ParseFile(name, text, settings));
    Scenario scenario;
    Names names(scenario);
    scenario.title = file.Need("title").Text();
    if (const auto value = file.Find("duration")) {
        scenario.durationNs = static_cast<uint64_t>(value->DurationNs(1'000'000, longestRunNs));
    }
    if (const auto value = file.Find("spanning tree after")) {
        scenario.spanningTreeNs = static_cast<uint64_t>(value->DurationNs(0, longestRunNs));
    }
    if (const auto value = file.Find("seed")) scenario.seed = static_cast<uint64_t>(value->Number(0, mostSeed));

    if (seed) scenario.seed = *seed;

    const FileValue bridges = file.Need("bridges");
    for (const FileValue& value : bridges.List()) ReadBridges(value, scenario.seed, names);
    if (scenario.bridges.empty()) bridges.Refuse("one bridge at least is wanted here");
    for (const FileValue& value : ItemsOf(file, "links")) ReadLink(value, names);
    for (const FileValue& value : ItemsOf(file, "stations")) ReadStation(value, names);
    for (const FileValue& value : ItemsOf(file, "events")) scenario.events.push_back(ReadEvent(value, names));
    for (const FileValue& value : ItemsOf(file, "expect")) {
        scenario.expectations.push_back(ReadExpectation(value, names));
    }
    file.RefuseOthers();
    SeedLinks(scenario);
    std::stable_sort(scenario.events.begin(), scenario.events.end(),
                     [](const EventPlan& left, const EventPlan& right) { return left.atNs < right.atNs; });
    return scenario;
}

}  // namespace norvad::network
