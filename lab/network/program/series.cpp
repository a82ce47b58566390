#include "lab/network/program/series.h"

#include <fmt/format.h>

#include "lab/common/time.h"

namespace norvad::network {

namespace {

std::string Seconds(uint64_t ns) {
    return fmt::format("{}.{:03}", ns / lab::nsPerSecond, ns % lab::nsPerSecond / lab::nsPerMs);
}

std::string NumberOrNothing(uint64_t number) {
    return number > 0 ? std::to_string(number) : "";
}

// "b1.0", or "stage".
std::string EndName(const Scenario& scenario, const End& end) {
    if (end.isStation) return scenario.stations[end.index].name;
    return fmt::format("{}.{}", scenario.bridges[end.index].name, end.port);
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
    std::string text =
        "seconds,reserved,wanted,stream frames lost,lost at full queues,lost on cables,cut off,lost before daemons\n";
    for (const Sample& sample : samples) {
        text += fmt::format("{},{},{},{},{},{},{},{}\n", Seconds(sample.ns), sample.reserved,
                            scene.Subscriptions().size(), sample.lostStreamFrames, sample.lost.atFullQueues,
                            sample.lost.onCables, sample.lost.cutOff, sample.lost.beforeDaemons);
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

std::string LatencyTable(const Scenario& scenario, const Scene& scene, const std::vector<Sample>& samples) {
    std::string text = "seconds,talker,listener,most latency,promised latency\n";
    for (const Sample& sample : samples) {
        for (size_t route = 0; route < sample.latencies.size(); ++route) {
            const auto& [talker, listener] = scene.Routes()[route];
            const auto& [mostNs, promisedNs] = sample.latencies[route];
            text += fmt::format("{},{},{},{},{}\n", Seconds(sample.ns), scenario.stations[talker].name,
                                scenario.stations[listener].name, NumberOrNothing(mostNs), NumberOrNothing(promisedNs));
        }
    }
    return text;
}

std::string QueueTable(const std::vector<Sample>& samples) {
    std::string text = "seconds";
    for (const char* name : trafficClassNames) text += fmt::format(",{}", name);
    text += ",for a daemon\n";
    for (const Sample& sample : samples) {
        text += Seconds(sample.ns);
        for (const uint32_t frames : sample.waiting) text += fmt::format(",{}", frames);
        text += fmt::format(",{}\n", sample.waitingForDaemon);
    }
    return text;
}

std::string PortTable(const Scenario& scenario, const Scene& scene) {
    std::string text = "port,to,sent,lost on cable,cut off";
    for (const char* name : trafficClassNames) text += fmt::format(",{} lost at full queue", name);
    for (const char* name : trafficClassNames) text += fmt::format(",{} most waiting", name);
    text += '\n';
    const auto add = [&](const std::string& from, const std::string& to, const PortTally& tally) {
        text += fmt::format("{},{},{},{},{}", from, to, tally.sent, tally.lostOnCable, tally.cutOff);
        for (const auto& queue : tally.queues) text += fmt::format(",{}", queue.lost);
        for (const auto& queue : tally.queues) text += fmt::format(",{}", queue.deepest);
        text += '\n';
    };
    for (const LinkPlan& link : scenario.links) {
        add(EndName(scenario, link.a), EndName(scenario, link.b), scene.TallyOf(link.a));
        add(EndName(scenario, link.b), EndName(scenario, link.a), scene.TallyOf(link.b));
    }
    for (size_t bridge = 0; bridge < scenario.bridges.size(); ++bridge) {
        add(scenario.bridges[bridge].name + ".cpu", "daemon", scene.CpuTallyOf(bridge));
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
