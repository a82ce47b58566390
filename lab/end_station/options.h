#pragma once

#include <optional>
#include <string>

#include "lab/end_station/station.h"

namespace norvad::station {

// The command line of norvad3-end-station.
struct Options {
    std::string interface;
    std::string name = "station";
    std::optional<double> durationSeconds;  // above 0; else until a signal comes
    StationSettings station;

    bool help = false;  // only the help text is wanted
};

// Throws StartError for anything that makes no sense.
Options ParseOptions(int argc, const char* const* argv);

std::string HelpText();

}  // namespace norvad::station
