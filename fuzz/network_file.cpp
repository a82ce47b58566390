#include <cstdint>
#include <cstdlib>
#include <string>

#include "lab/common/errors.h"
#include "lab/network/program/scenario_reader.h"

namespace {

using namespace norvad::network;

void Check(bool holds) {
    if (!holds) std::abort();
}

void CheckEnd(const Scenario& scenario, const End& end) {
    if (end.isStation) return Check(end.index < scenario.stations.size() && end.port == 0);
    Check(end.index < scenario.bridges.size() && end.port < scenario.bridges[end.index].ports);
}

}  // namespace

// Any text as the file of a network: it is refused, or everything in it that names something names what is there.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Scenario scenario;
    try {
        scenario = ReadScenario("file", std::string(data, data + size));
    } catch (const norvad::lab::StartError&) {
        return 0;
    }

    for (const LinkPlan& link : scenario.links) {
        CheckEnd(scenario, link.a);
        CheckEnd(scenario, link.b);
    }
    for (const StationPlan& station : scenario.stations) {
        CheckEnd(scenario, {false, station.bridge, station.port});
        for (const size_t talker : station.listensTo) Check(talker < scenario.stations.size());
    }
    uint64_t beforeNs = 0;
    for (const EventPlan& event : scenario.events) {
        Check(event.atNs >= beforeNs && !event.text.empty());
        beforeNs = event.atNs;
    }
    for (const Expectation& expectation : scenario.expectations) Check(expectation.fromNs <= expectation.untilNs);
    return 0;
}
