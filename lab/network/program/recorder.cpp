#include "lab/network/program/recorder.h"

#include <algorithm>
#include <utility>

namespace norvad::network {

int64_t MeanNs(const std::vector<int64_t>& errorsNs) {
    constexpr double most = 9.2e18;  // that the result holds
    double sum = 0;
    for (const int64_t errorNs : errorsNs) sum += static_cast<double>(errorNs);
    const double mean = errorsNs.empty() ? 0 : sum / static_cast<double>(errorsNs.size());
    return static_cast<int64_t>(std::clamp(mean, -most, most));
}

void Recorder::Look() {
    Sample sample;
    sample.ns = scene.Ns();
    for (size_t bridge = 0; bridge < scene.Bridges(); ++bridge) sample.bridges.push_back(TimeOf(bridge));
    for (const Subscription& each : scene.Subscriptions()) sample.reserved += scene.IsReserved(each);
    sample.lostStreamFrames = scene.LostStreamFrames();
    sample.lost = scene.LostFrames();
    sample.waiting = scene.TakeDeepest();
    sample.waitingForDaemon = scene.TakeDeepestBeforeDaemons();
    sample.latencies = Latencies();
    samples.push_back(std::move(sample));
}

std::vector<Sample::Latency> Recorder::Latencies() {
    std::vector<Sample::Latency> latencies(scene.Routes().size());
    for (const Subscription& each : scene.Subscriptions()) {
        auto& [mostNs, promisedNs] = latencies[each.route];
        mostNs = std::max(mostNs, scene.TakeMostLatencyNs(each));
        const uint64_t ns = scene.PromisedLatencyNs(each).value_or(0);
        if (promisedNs == 0 || (ns > 0 && ns < promisedNs)) promisedNs = ns;
    }
    return latencies;
}

Sample::BridgeTime Recorder::TimeOf(size_t bridge) {
    const auto grandmaster = scene.GrandmasterOf(bridge);
    if (!grandmaster) return {};
    return {static_cast<uint32_t>(*grandmaster), scene.AheadNs(bridge, *grandmaster)};
}

uint64_t Recorder::IntervalNs(uint64_t durationNs, size_t bridges, size_t subscriptions) {
    constexpr size_t large = 2'000;  // ports that a look at the reservations asks
    constexpr uint64_t mostLooks = 10'000;
    const uint64_t leastNs = bridges * subscriptions > large ? 1'000'000'000 : 100'000'000;
    return std::max(leastNs, durationNs / mostLooks);
}

}  // namespace norvad::network
