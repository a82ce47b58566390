#include <cstdio>
#include <ctime>
#include <exception>
#include <string>

#include "base/clock.h"
#include "lab/common/time.h"
#include "lab/end_station/event_loop.h"
#include "lab/end_station/options.h"

namespace {

using namespace norvad;
using namespace norvad::lab;
using namespace norvad::station;

void PrintEvent(const Clock& clock, const std::string& name, const std::string& text) {
    const timeval now = clock.TimeOfDay();
    tm local{};
    localtime_r(&now.tv_sec, &local);
    std::printf("%02d:%02d:%02d.%03d %s: %s\n", local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(now.tv_usec / 1000), name.c_str(), text.c_str());
}

void RunStation(const Options& options) {
    const SystemClock clock;
    StationPort port(options.interface);
    Station station(options.station, clock, port,
                    [&](const std::string& text) { PrintEvent(clock, options.name, text); });
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
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
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
