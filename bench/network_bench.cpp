// What a network on a stepped clock costs: rows of bridges with 100 streams of one frame a second and time from one end
// to the other, by the processor and in memory, and what a stream frame costs at each bridge that it crosses, with
// queues and without.

#include <malloc.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

#include "bench/processor_time.h"
#include "lab/network/program/scenario_reader.h"
#include "lab/network/program/scene.h"

namespace norvad::bench {

namespace {

using network::ReadScenario;
using network::Scenario;
using network::Scene;

constexpr uint64_t second = 1'000'000'000;

Scenario Row(size_t bridges, int streams, int framesPerSecond, const std::string& cable) {
    const std::string last = std::to_string(bridges);
    return ReadScenario("row", "{title: row, bridges: [{row: " + last +
                                   ", clock: {spread: 100ppm}, handling: [50us, 550us], link: " + cable +
                                   "}], stations: [{name: stage, at: b1, talk: " + std::to_string(streams) +
                                   ", rate: " + std::to_string(framesPerSecond) + ", link: " + cable +
                                   "}, {name: hall, at: b" + last + ", listen: stage, link: " + cable + "}]}");
}

size_t HeldBytes() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

size_t Reserved(Scene& scene) {
    size_t reserved = 0;
    for (const auto& each : scene.Subscriptions()) reserved += scene.IsReserved(each);
    return reserved;
}

// Once all is settled: after half a minute, or when all is reserved, which takes longer in a row of hundreds.
void MeasureRow(size_t bridges) {
    constexpr uint64_t settledNs = 30 * second;
    constexpr uint64_t patienceNs = 200 * second;
    constexpr uint64_t measuredNs = 10 * second;
    const Scenario scenario = Row(bridges, 100, 1, "{}");
    const size_t before = HeldBytes();
    Scene scene(scenario);
    uint64_t reservedNs = 0;
    while (Reserved(scene) < scene.Subscriptions().size() && reservedNs < patienceNs) {
        reservedNs += second;
        scene.RunUntil(reservedNs);
    }
    const uint64_t beginNs = std::max(settledNs, reservedNs);
    scene.RunUntil(beginNs);
    const double seconds = Measure([&] { scene.RunUntil(beginNs + measuredNs); });
    std::printf(
        "  %5zu bridges: %7.1f ms for a simulated second, %4zu kB a bridge beside its stack, %zu of %zu reserved, "
        "within "
        "%.0f s\n",
        bridges, 1e3 * seconds / (static_cast<double>(measuredNs) / 1e9), (HeldBytes() - before) / bridges / 1000,
        Reserved(scene), scene.Subscriptions().size(), static_cast<double>(reservedNs) / 1e9);
}

void MeasureFrames(const char* name, const std::string& cable) {
    constexpr size_t bridges = 20;
    constexpr int streams = 10, framesPerSecond = 1'000;
    constexpr uint64_t settledNs = 20 * second;
    constexpr uint64_t measuredNs = 5 * second;
    const Scenario scenario = Row(bridges, streams, framesPerSecond, cable);
    Scene scene(scenario);
    scene.RunUntil(settledNs);
    const double seconds = Measure([&] { scene.RunUntil(settledNs + measuredNs); });
    const double hops =
        static_cast<double>(bridges * streams * framesPerSecond) * (static_cast<double>(measuredNs) / 1e9);
    std::printf("  %-30s %.2f us for a stream frame and bridge, 16 million in %.1f s\n", name, 1e6 * seconds / hops,
                16e6 * seconds / hops);
}

}  // namespace

}  // namespace norvad::bench

int main() {
    using namespace norvad::bench;
    setvbuf(stdout, nullptr, _IOLBF, 0);
    std::printf("rows with 100 streams of 1 frame/s and time\n");
    for (const size_t bridges : {size_t{10}, size_t{100}, size_t{400}, size_t{1'000}}) MeasureRow(bridges);
    std::printf("stream frames through 20 bridges\n");
    MeasureFrames("cables without a rate", "{}");
    MeasureFrames("1 Gbit/s, queues and shaping", "{rate: 1G}");
    return 0;
}
