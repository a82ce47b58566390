#include "lab/network/program/charts.h"

#include <algorithm>
#include <cstdint>

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

Chart LatencyChart(const Scene& scene) {
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

}  // namespace norvad::network
