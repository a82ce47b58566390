#include "lab/network/program/charts.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace norvad::network {

namespace {

double Seconds(const Sample& sample) {
    return static_cast<double>(sample.ns) / 1e9;
}

// Of one bridge; there is a gap where it follows nobody.
ChartLine ErrorLine(const Scenario& scenario, const std::vector<Sample>& samples, size_t bridge) {
    ChartLine line{scenario.bridges[bridge].name, {}};
    bool follows = false;
    for (const Sample& sample : samples) {
        const auto& time = sample.bridges[bridge];
        if (time.grandmaster && !follows) line.pieces.emplace_back();
        follows = time.grandmaster.has_value();
        if (follows) line.pieces.back().emplace_back(Seconds(sample), static_cast<double>(time.errorNs));
    }
    return line;
}

// There is a gap where no frame came for longer than the slowest stream pauses.
ChartLine SeenLine(const std::string& name, const std::vector<Sample>& samples, size_t route) {
    constexpr double longestPause = 2;
    ChartLine line{name, {}};
    for (const Sample& sample : samples) {
        if (sample.latencies[route].mostNs == 0) continue;
        const bool isGap = line.pieces.empty() || Seconds(sample) - line.pieces.back().back().first > longestPause;
        if (isGap) line.pieces.emplace_back();
        line.pieces.back().emplace_back(Seconds(sample), static_cast<double>(sample.latencies[route].mostNs));
    }
    return line;
}

ChartLine PromisedLine(const std::vector<Sample>& samples, size_t route) {
    ChartLine line{"", {}, true};
    bool isPromised = false;
    for (const Sample& sample : samples) {
        const uint64_t ns = sample.latencies[route].promisedNs;
        if (ns > 0 && !isPromised) line.pieces.emplace_back();
        isPromised = ns > 0;
        if (isPromised) line.pieces.back().emplace_back(Seconds(sample), static_cast<double>(ns));
    }
    return line;
}

// The largest part of its promise that a route has used.
double MostUsed(const std::vector<Sample>& samples, size_t route) {
    double most = 0;
    for (const Sample& sample : samples) {
        const auto& [mostNs, promisedNs] = sample.latencies[route];
        if (promisedNs > 0) most = std::max(most, static_cast<double>(mostNs) / static_cast<double>(promisedNs));
    }
    return most;
}

}  // namespace

// A clock that has not settled yet may be off by whole seconds, beside which nothing else would be seen.
Chart TimeChart(const Scenario& scenario, const std::vector<Sample>& samples) {
    constexpr size_t mostLines = 8;
    Chart chart{"Time error", "seconds", "ahead of grandmaster", {}, true, true};
    const size_t bridges = scenario.bridges.size();
    const size_t lines = std::min(bridges, mostLines);
    for (size_t n = 1; n <= lines; ++n) {
        chart.lines.push_back(ErrorLine(scenario, samples, n * bridges / lines - 1));
    }
    return chart;
}

Chart HopChart(const Scenario& scenario, const std::vector<Sample>& samples) {
    Chart chart{"Time error by bridge, in the second half of the run", "bridge", "ahead of grandmaster", {}, true};
    ChartLine median{"median", {{}}}, low{"2.5 %", {{}}, true}, high{"97.5 %", {{}}, true};
    for (size_t bridge = 0; bridge < scenario.bridges.size(); ++bridge) {
        std::vector<int64_t> errors;
        for (size_t n = samples.size() / 2; n < samples.size(); ++n) {
            const auto& time = samples[n].bridges[bridge];
            if (time.grandmaster) errors.push_back(time.errorNs);
        }
        if (errors.empty()) continue;
        std::sort(errors.begin(), errors.end());
        const auto place = static_cast<double>(bridge + 1);
        const size_t last = errors.size() - 1;
        const auto at = [&](size_t thousandths) { return static_cast<double>(errors[last * thousandths / 1'000]); };
        median.pieces[0].emplace_back(place, at(500));
        low.pieces[0].emplace_back(place, at(25));
        high.pieces[0].emplace_back(place, at(975));
    }
    chart.lines = {median, low, high};
    return chart;
}

Chart StreamChart(const Scene& scene, const std::vector<Sample>& samples) {
    Chart chart{"Streams reserved from end to end", "seconds", "streams", {}};
    ChartLine reserved{"reserved", {{}}}, wanted{"wanted", {{}}, true};
    const auto subscriptions = static_cast<double>(scene.Subscriptions().size());
    for (const Sample& sample : samples) {
        reserved.pieces[0].emplace_back(Seconds(sample), static_cast<double>(sample.reserved));
        wanted.pieces[0].emplace_back(Seconds(sample), subscriptions);
    }
    chart.lines = {reserved, wanted};
    return chart;
}

Chart StreamLatencyChart(const Scene& scene) {
    Chart chart{"Largest latency of each stream", "stream", "latency", {}, true};
    ChartLine seen{"seen", {{}}}, promised{"promised by MSRP", {{}}, true};
    double place = 0;
    for (const Subscription& each : scene.Subscriptions()) {
        place += 1;
        seen.pieces[0].emplace_back(place, static_cast<double>(scene.ArrivalsOf(each).mostLatencyNs));
        promised.pieces[0].emplace_back(place, static_cast<double>(scene.PromisedLatencyNs(each).value_or(0)));
    }
    chart.lines = {seen, promised};
    return chart;
}

Chart LatencyChart(const Scenario& scenario, const Scene& scene, const std::vector<Sample>& samples) {
    constexpr size_t mostRoutes = 4;
    Chart chart{"Largest latency, and what MSRP promised (dashed)", "seconds", "latency", {}, true};
    std::vector<std::pair<double, size_t>> routes;  // by how much is left of the promise, then by place
    for (size_t route = 0; route < scene.Routes().size(); ++route)
        routes.emplace_back(-MostUsed(samples, route), route);
    std::sort(routes.begin(), routes.end());
    routes.resize(std::min(routes.size(), mostRoutes));
    for (const auto& [left, route] : routes) {
        const auto& [talker, listener] = scene.Routes()[route];
        const std::string name = scenario.stations[talker].name + " to " + scenario.stations[listener].name;
        chart.lines.push_back(SeenLine(name, samples, route));
        chart.lines.push_back(PromisedLine(samples, route));
    }
    return chart;
}

Chart QueueChart(const std::vector<Sample>& samples) {
    Chart chart{"Most frames waiting in one queue", "seconds", "frames", {}};
    const auto add = [&](const char* name, const auto& framesOf) {
        ChartLine line{name, {{}}};
        uint32_t most = 0;
        for (const Sample& sample : samples) {
            most = std::max(most, framesOf(sample));
            line.pieces[0].emplace_back(Seconds(sample), static_cast<double>(framesOf(sample)));
        }
        if (most > 0) chart.lines.push_back(std::move(line));
    };
    for (size_t each = 0; each < trafficClassCount; ++each) {
        add(trafficClassNames[each], [&](const Sample& sample) { return sample.waiting[each]; });
    }
    add("for a daemon", [](const Sample& sample) { return sample.waitingForDaemon; });
    return chart;
}

}  // namespace norvad::network
