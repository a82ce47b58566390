#include "lab/network/program/summary.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>

#include "lab/network/program/units.h"

namespace norvad::network {

namespace {

int64_t Signed(uint64_t ns) {
    return static_cast<int64_t>(ns);
}

// Of the second half of the run, when clocks have settled.
std::string TimeLines(const Scenario& scenario, const std::vector<Sample>& samples) {
    std::string text = "time, in the second half of the run\n";
    for (size_t bridge = 0; bridge < scenario.bridges.size(); ++bridge) {
        int64_t largest = 0;
        std::vector<int64_t> errors;
        for (const Sample& sample : samples) {
            const auto& time = sample.bridges[bridge];
            if (sample.ns < scenario.durationNs / 2 || !time.grandmaster) continue;
            if (std::llabs(time.errorNs) > std::llabs(largest)) largest = time.errorNs;
            errors.push_back(time.errorNs);
        }
        const auto& last = samples.back().bridges[bridge];
        text += fmt::format("  {:<10} grandmaster {:<10}", scenario.bridges[bridge].name,
                            last.grandmaster ? scenario.bridges[*last.grandmaster].name : "none");
        if (!errors.empty())
            text += fmt::format(" error mean {:>9}  largest {:>9}", TimeText(MeanNs(errors)), TimeText(largest));
        text += '\n';
    }
    return text;
}

std::optional<uint64_t> ReservedNs(const std::vector<Sample>& samples, size_t subscriptions) {
    const auto found = std::find_if(samples.begin(), samples.end(),
                                    [&](const Sample& sample) { return sample.reserved == subscriptions; });
    if (found == samples.end()) return {};
    return found->ns;
}

// What the streams from one station to another have in common stands on one line.
std::string StreamLines(const Scenario& scenario, const Scene& scene) {
    struct Sum {
        size_t streams = 0;
        uint64_t sent = 0, received = 0, mostLatencyNs = 0, promisedNs = 0;
    };
    std::map<std::pair<size_t, size_t>, Sum> sums;
    for (const Subscription& each : scene.Subscriptions()) {
        Sum& sum = sums[{each.talker, each.listener}];
        const auto& arrivals = scene.ArrivalsOf(each);
        ++sum.streams;
        sum.sent += scene.SentFrames(each);
        sum.received += arrivals.received;
        sum.mostLatencyNs = std::max(sum.mostLatencyNs, arrivals.mostLatencyNs);
        sum.promisedNs = std::max<uint64_t>(sum.promisedNs, scene.PromisedLatencyNs(each).value_or(0));
    }
    std::string text;
    for (const auto& [pair, sum] : sums) {
        text +=
            fmt::format("  {} -> {}: {} streams, sent {} frames, received {}, latency {} at most, promised {}\n",
                        scenario.stations[pair.first].name, scenario.stations[pair.second].name, sum.streams, sum.sent,
                        sum.received, TimeText(Signed(sum.mostLatencyNs)), TimeText(Signed(sum.promisedNs)));
    }
    return text;
}

std::string StreamsText(const Scenario& scenario, const Scene& scene, const std::vector<Sample>& samples) {
    const size_t subscriptions = scene.Subscriptions().size();
    if (subscriptions == 0) return {};
    const auto reservedNs = ReservedNs(samples, subscriptions);
    return fmt::format("streams: {} to listeners, {} reserved in the end, all of them {}\n", subscriptions,
                       samples.back().reserved,
                       reservedNs ? "from " + TimeText(Signed(*reservedNs)) : std::string("never")) +
           StreamLines(scenario, scene);
}

}  // namespace

std::string SummaryText(const Scenario& scenario, const Scene& scene, const std::vector<Sample>& samples,
                        const std::vector<Verdict>& verdicts) {
    const Sample& last = samples.back();
    std::string text = fmt::format("{}\n{} bridges, {} stations, {} links, {} of simulated time, seed {}\n\n",
                                   scenario.title, scenario.bridges.size(), scenario.stations.size(),
                                   scenario.links.size(), TimeText(Signed(last.ns)), scenario.seed);
    text += TimeLines(scenario, samples) + '\n';
    text += StreamsText(scenario, scene, samples);
    text += fmt::format(
        "lost: {} stream frames; of all frames {} on cables, {} at full queues, {} with cables pulled, {} before "
        "daemons\n",
        last.lostStreamFrames, last.lost.onCables, last.lost.atFullQueues, last.lost.cutOff, last.lost.beforeDaemons);
    if (!verdicts.empty()) text += "\nexpected\n";
    for (const Verdict& verdict : verdicts)
        text += fmt::format("  {:<4} {}\n", verdict.holds ? "ok" : "FAIL", verdict.text);
    return text;
}

}  // namespace norvad::network
