#include <cstdio>
#include <exception>
#include <string>

#include "base/clock.h"
#include "lab/common/event_lines.h"
#include "lab/common/time.h"
#include "lab/end_station/event_loop.h"
#include "lab/end_station/options.h"

namespace {

using namespace norvad;
using namespace norvad::lab;
using namespace norvad::station;

void RunStation(const Options& options) {
    const SystemClock clock;
    const EventLines lines(options.name);
    StationPort port(options.interface);
    Station station(options.station, clock, port, [&](const std::string& text) { lines.Print(text); });
    uint64_t endNs = never;
    if (options.durationSeconds) {
        endNs = NowNs(clock) + static_cast<uint64_t>(*options.durationSeconds * static_cast<double>(nsPerSecond));
    }
    EventLoop loop(station, port, clock);
    loop.Run(endNs);
    station.LogCounts();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const Options options = ParseOptions(argc, argv);
        if (options.help) {
            std::printf("%s", HelpText().c_str());
            return 0;
        }
        RunStation(options);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "norvad3-end-station: %s\n", error.what());
        return 1;
    }
}
