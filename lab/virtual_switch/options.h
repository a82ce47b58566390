#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lab/board/port_tables.h"

namespace norvad::board {

// The board among two interfaces.
inline constexpr uint8_t externalPorts = 2;

// The command line of norvad3-virtual-switch.
struct Options {
    std::array<std::string, externalPorts> portInterfaces;
    std::string cpuInterface = "eth0";
    std::optional<MacAddress> cpuAddress;
    std::string captureDirectory;  // empty: no captures
    int64_t clockOffsetNs = 0;     // of the hardware clock at start against the system clock
    int32_t clockErrorPpb = 0;
    unsigned steerExponent = 38;  // one count of steering is 2 to the minus this
    unsigned clockWatchMs = 0;    // how often to tell how far the clock is off; 0: never
    unsigned speed = 1000;        // Mbit/s
    bool stp = true;
    std::string statusSocket;  // empty: none
    bool quiet = false;
    std::optional<unsigned> restartMs;  // after how long an ended daemon is started again; never without
    uint8_t cutTrailerMask = 0;
    std::vector<std::string> daemon;  // with its arguments

    bool help = false;        // only the help text is wanted
    std::string askStatusOf;  // only the tables of the board at that socket are wanted
};

// Throws StartError for anything that makes no sense.
Options ParseOptions(int argc, const char* const* argv);

std::string HelpText();

}  // namespace norvad::board
