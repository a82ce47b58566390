#include "lab/network/program/charts.h"

#include <algorithm>
#include <cstdint>

namespace norvad::network {

namespace {

double Seconds(const Sample& sample) {
    return static_cast<double>(sample.ns) / 1e9;
}

double Microseconds(uint64_t ns) {
    return static_cast<double>(ns) / 1e3;
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

// A clock that has not settled yet is off by whole seconds, beside which nothing else would be seen: the chart begins
// with the second half of the run.
Chart TimeChart(const Scenario& scenario, const std::vector<Sample>& samples) {
    constexpr size_t mostLines = 8;
    Chart chart{"Time error in the second half of the run", "seconds", "ns", {}};
    const std::vector<Sample> settled(samples.begin() + static_cast<ptrdiff_t>(samples.size() / 2), samples.end());
    const size_t bridges = scenario.bridges.size();
    const size_t lines = std::min(bridges, mostLines);
    for (size_t n = 1; n <= lines; ++n) {
        chart.lines.push_back(ErrorLine(scenario, settled, n * bridges / lines - 1));
        for (auto& piece : chart.lines.back().pieces) {
            for (auto& point : piece) point.first -= Seconds(settled.front());
        }
    }
    chart.xName = "seconds since the middle of the run";
    return chart;
}

Chart HopChart(const Scenario& scenario, const std::vector<Sample>& samples) {
    Chart chart{"Time error by bridge, in the second half of the run", "bridge", "ns", {}};
    ChartLine mean{"mean", {{}}}, least{"least", {{}}, true}, most{"most", {{}}, true};
    for (size_t bridge = 0; bridge < scenario.bridges.size(); ++bridge) {
        std::vector<int64_t> errors;
        for (size_t n = samples.size() / 2; n < samples.size(); ++n) {
            const auto& time = samples[n].bridges[bridge];
            if (time.grandmaster) errors.push_back(time.errorNs);
        }
        if (errors.empty()) continue;
        int64_t sum = 0;
        for (const int64_t error : errors) sum += error;
        const auto [lowest, highest] = std::minmax_element(errors.begin(), errors.end());
        const auto place = static_cast<double>(bridge + 1);
        mean.pieces[0].emplace_back(place, static_cast<double>(sum) / static_cast<double>(errors.size()));
        least.pieces[0].emplace_back(place, static_cast<double>(*lowest));
        most.pieces[0].emplace_back(place, static_cast<double>(*highest));
    }
    chart.lines = {mean, least, most};
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
    Chart chart{"Largest latency of each stream", "stream", "us", {}};
    ChartLine seen{"seen", {{}}}, promised{"promised by MSRP", {{}}, true};
    double place = 0;
    for (const Subscription& each : scene.Subscriptions()) {
        place += 1;
        seen.pieces[0].emplace_back(place, Microseconds(scene.ArrivalsOf(each).mostLatencyNs));
        promised.pieces[0].emplace_back(place, Microseconds(scene.PromisedLatencyNs(each).value_or(0)));
    }
    chart.lines = {seen, promised};
    return chart;
}

}  // namespace norvad::network
