#include "lab/network/program/series.h"

#include <fmt/format.h>

#include "lab/common/time.h"

namespace norvad::network {

namespace {

std::string Seconds(uint64_t ns) {
    return fmt::format("{}.{:03}", ns / lab::nsPerSecond, ns % lab::nsPerSecond / lab::nsPerMs);
}

}  // namespace

std::string TimeTable(const Scenario& scenario, const std::vector<Sample>& samples) {
    std::string text = "seconds";
    for (const BridgePlan& bridge : scenario.bridges) text += "," + bridge.name;
    text += '\n';
    for (const Sample& sample : samples) {
        text += Seconds(sample.ns);
        for (const auto& time : sample.bridges) text += time.grandmaster ? fmt::format(",{}", time.errorNs) : ",";
        text += '\n';
    }
    return text;
}

std::string TrafficTable(const Scene& scene, const std::vector<Sample>& samples) {
    std::string text = "seconds,reserved,wanted,stream frames lost,frames waiting,lost at full queues,lost on cables\n";
    for (const Sample& sample : samples) {
        text += fmt::format("{},{},{},{},{},{},{}\n", Seconds(sample.ns), sample.reserved, scene.Subscriptions().size(),
                            sample.lostStreamFrames, sample.mostWaiting, sample.crowdedOut, sample.lostOnCables);
    }
    return text;
}

std::string StreamTable(const Scenario& scenario, const Scene& scene) {
    std::string text =
        "talker,stream,listener,sent,received,least latency,mean latency,most latency,promised latency\n";
    for (const Subscription& each : scene.Subscriptions()) {
        const auto& arrivals = scene.ArrivalsOf(each);
        text += fmt::format("{},{},{},{},{},{},{},{},{}\n", scenario.stations[each.talker].name, each.number,
                            scenario.stations[each.listener].name, scene.SentFrames(each), arrivals.received,
                            arrivals.received == 0 ? 0 : arrivals.leastLatencyNs, arrivals.MeanLatencyNs(),
                            arrivals.mostLatencyNs, scene.PromisedLatencyNs(each).value_or(0));
    }
    return text;
}

std::string EventTable(const Scenario& scenario) {
    std::string text = "seconds,event\n";
    for (const EventPlan& event : scenario.events) {
        if (event.atNs <= scenario.durationNs) text += fmt::format("{},{}\n", Seconds(event.atNs), event.text);
    }
    return text;
}

}  // namespace norvad::network
