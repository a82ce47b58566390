#include "lab/network/program/run.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "lab/common/capture.h"
#include "lab/common/errors.h"
#include "lab/network/program/bridge_logs.h"
#include "lab/network/program/charts.h"
#include "lab/network/program/page.h"
#include "lab/network/program/progress.h"
#include "lab/network/program/recorder.h"
#include "lab/network/program/scenario_reader.h"
#include "lab/network/program/scene.h"
#include "lab/network/program/seeds.h"
#include "lab/network/program/series.h"
#include "lab/network/program/summary.h"
#include "lab/network/program/topology.h"
#include "lab/network/program/verdict.h"

namespace norvad::network {

namespace {

std::string ReadFile(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    if (!file) lab::ThrowErrno("cannot read " + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.flush();
    if (!file) lab::ThrowErrno("cannot write " + path.string());
}

Scenario ScenarioOf(const Options& options, std::optional<uint64_t> seed) {
    Scenario scenario = ReadScenario(options.file, ReadFile(options.file), options.settings, seed);
    if (options.durationNs) scenario.durationNs = *options.durationNs;
    return scenario;
}

void RunAndRecord(const Scenario& scenario, Scene& scene, Recorder& recorder,
                  const std::function<void(uint64_t ns)>& progress) {
    const uint64_t intervalNs =
        Recorder::IntervalNs(scenario.durationNs, scene.Bridges(), scene.Subscriptions().size());
    recorder.Look();
    for (uint64_t ns = 0; ns < scenario.durationNs;) {
        ns = std::min(ns + intervalNs, scenario.durationNs);
        scene.RunUntil(ns);
        recorder.Look();
        progress(ns);
    }
}

// What the links at the ports that were asked for carry.
void Record(Scene& scene, const Options& options, std::deque<lab::Capture>& captures) {
    for (const std::string& port : options.captures) {
        lab::Capture& capture = captures.emplace_back(options.directory + "/" + port + ".pcap");
        scene.Watch(port, [&capture](std::span<const uint8_t> frame, uint64_t ns) {
            capture.Write(frame, static_cast<int64_t>(ns));
        });
    }
}

void WriteFiles(const std::filesystem::path& directory, const std::string& summary, const Scenario& scenario,
                const Scene& scene, const std::vector<Sample>& samples) {
    WriteFile(directory / "summary.txt", summary);
    WriteFile(directory / "time.csv", TimeTable(scenario, samples));
    WriteFile(directory / "traffic.csv", TrafficTable(scene, samples));
    WriteFile(directory / "streams.csv", StreamTable(scenario, scene));
    WriteFile(directory / "latency.csv", LatencyTable(scenario, scene, samples));
    WriteFile(directory / "queues.csv", QueueTable(samples));
    WriteFile(directory / "ports.csv", PortTable(scenario, scene));
    WriteFile(directory / "events.csv", EventTable(scenario));

    std::vector<std::pair<std::string, Chart>> charts{{"time.svg", TimeChart(scenario, samples)},
                                                      {"hops.svg", HopChart(scenario, samples)}};
    if (!scene.Subscriptions().empty()) {
        charts.emplace_back("streams.svg", StreamChart(scene, samples));
        charts.emplace_back("latency.svg", LatencyChart(scenario, scene, samples));
        charts.emplace_back("latency_by_stream.svg", StreamLatencyChart(scene));
    }
    if (const Chart queues = QueueChart(samples); !queues.lines.empty()) charts.emplace_back("queues.svg", queues);
    std::vector<std::string> pictures{TopologySvg(scenario)};
    WriteFile(directory / "topology.svg", pictures.front());
    for (const auto& [name, chart] : charts) {
        pictures.push_back(SvgText(chart));
        WriteFile(directory / name, pictures.back());
    }
    WriteFile(directory / "index.html", PageText(scenario.title, summary, pictures));
}

// Ends with 0 unless something that was to be checked failed.
int Tell(const Options& options, const std::string& summary, bool holds) {
    std::printf("%s", summary.c_str());
    return options.check && !holds ? 1 : 0;
}

int RunOnce(const Options& options) {
    const Scenario scenario = ScenarioOf(options, options.seed);
    const std::filesystem::path directory = options.directory;
    std::deque<lab::Capture> captures;
    BridgeLogs logs(options.logs, scenario, options.directory);
    Scene scene(scenario, logs.Logs());
    Record(scene, options, captures);
    Recorder recorder(scene);
    {
        Progress progress(scenario.durationNs);
        RunAndRecord(scenario, scene, recorder, [&](uint64_t ns) { progress.Tell(ns); });
    }
    logs.Finish();
    const auto verdicts = Judge(scenario, scene, recorder.Samples());
    const std::string summary = SummaryText(scenario, scene, recorder.Samples(), verdicts);
    if (!directory.empty()) WriteFiles(directory, summary, scenario, scene, recorder.Samples());
    return Tell(options, summary,
                std::all_of(verdicts.begin(), verdicts.end(), [](const Verdict& each) { return each.holds; }));
}

int RunMany(const Options& options) {
    const auto outcomes = RunSeeds(options.seeds, [&](uint64_t seed) {
        const Scenario scenario = ScenarioOf(options, seed);
        Scene scene(scenario);
        Recorder recorder(scene);
        RunAndRecord(scenario, scene, recorder, [](uint64_t) {});
        const auto verdicts = Judge(scenario, scene, recorder.Samples());
        return OutcomeOf(scenario, recorder.Samples(), verdicts, scene.Subscriptions().size());
    });
    const std::filesystem::path directory = options.directory;
    const std::string summary = OutcomesText(ScenarioOf(options, {}), outcomes);
    if (!directory.empty()) {
        WriteFile(directory / "summary.txt", summary);
        WriteFile(directory / "runs.csv", OutcomesTable(outcomes));
    }
    return Tell(options, summary,
                std::all_of(outcomes.begin(), outcomes.end(), [](const Outcome& each) { return each.failed == 0; }));
}

}  // namespace

int Run(const Options& options) {
    (void)ScenarioOf(options, options.seed);  // says what is wrong in the file before anything else happens
    if (!options.directory.empty()) std::filesystem::create_directories(options.directory);
    return options.seeds > 0 ? RunMany(options) : RunOnce(options);
}

}  // namespace norvad::network
