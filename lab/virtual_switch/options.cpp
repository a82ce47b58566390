#include "lab/virtual_switch/options.h"

#include <algorithm>
#include <boost/program_options.hpp>
#include <limits>
#include <sstream>

#include "lab/common/errors.h"
#include "lab/common/ethernet_frame.h"

namespace norvad::board {

using namespace lab;

namespace {

namespace po = boost::program_options;

constexpr auto usage =
    "norvad3-virtual-switch --port0 IF --port1 IF [options] -- DAEMON [ARGUMENTS...]\n"
    "norvad3-virtual-switch --status PATH\n\n"
    "A managed switch in software around an unmodified daemon.\n\n"
    "Options";

// What is not stored as it is parsed.
struct Raw {
    std::string address;
    std::vector<unsigned> cutTrailer;
};

po::options_description Description(Options& options, Raw& raw) {
    po::options_description description(usage, 100);
    description.add_options()("help,h", "show this text")(
        "port0", po::value(&options.portInterfaces[0])->value_name("IF"), "interface that is external port 0")(
        "port1", po::value(&options.portInterfaces[1])->value_name("IF"), "interface that is external port 1")(
        "cpu-interface", po::value(&options.cpuInterface)->value_name("IF"),
        "name of the CPU interface to make (eth0)")("cpu-address", po::value(&raw.address)->value_name("MAC"),
                                                    "its address (random)")(
        "capture", po::value(&options.captureDirectory)->value_name("DIR"),
        "write port0.pcap, port1.pcap and cpu.pcap there")(
        "clock-offset", po::value(&options.clockOffsetNs)->value_name("NS"),
        "start the hardware clock that far from the system clock (0)")(
        "clock-error", po::value(&options.clockErrorPpb)->value_name("PPB"),
        "how much too fast the clock's oscillator is (0)")("clock-steer-exponent",
                                                           po::value(&options.steerExponent)->value_name("N"),
                                                           "one count of clock steering is 2^-N of frequency (38)")(
        "clock-watch", po::value(&options.clockWatchMs)->value_name("MS"),
        "tell every MS milliseconds how far the clock is off the system clock (0: never)")(
        "speed", po::value(&options.speed)->value_name("100|1000"), "Mbit/s of the external ports (1000)")(
        "no-stp", "spanning tree keeps the external ports closed to data")(
        "cut-ptp-trailer", po::value(&raw.cutTrailer)->value_name("PORT"),
        "cut what stands behind a PTP message that leaves by this port; may be given for each port")(
        "status-socket", po::value(&options.statusSocket)->value_name("PATH"),
        "serve tables and counters on this local socket")("status", po::value(&options.askStatusOf)->value_name("PATH"),
                                                          "print the tables of a running board")(
        "restart", po::value<unsigned>()->value_name("MS"),
        "survive the daemon: start it again MS milliseconds after its end, on the board as it is")(
        "quiet", "print no event lines");
    return description;
}

void Check(const Options& options) {
    for (size_t port = 0; port < externalPorts; ++port) {
        if (options.portInterfaces[port].empty()) {
            throw StartError("option --port" + std::to_string(port) + " is missing");
        }
    }
    if (options.portInterfaces[0] == options.portInterfaces[1]) {
        throw StartError("--port0 and --port1 name the same interface");
    }
    if (options.daemon.empty()) throw StartError("the daemon to run is missing behind --");
    if (options.speed != 100 && options.speed != 1000) throw StartError("--speed is 100 or 1000");
    if (options.cpuInterface.empty() || options.cpuInterface.size() > 12) {
        throw StartError("--cpu-interface has 1 to 12 characters");  // -sw is added for the switch's end
    }
    if (std::abs(int64_t{options.clockErrorPpb}) > 100'000'000) throw StartError("--clock-error is beyond 10 percent");
    if (options.steerExponent < 32 || options.steerExponent > 62)
        throw StartError("--clock-steer-exponent is 32 to 62");
    if (options.clockWatchMs > 3'600'000) throw StartError("--clock-watch is beyond an hour");
    if (options.restartMs > 3'600'000) throw StartError("--restart is beyond an hour");
}

void Apply(const Raw& raw, const po::variables_map& values, Options& options) {
    options.help = values.count("help") > 0;
    options.quiet = values.count("quiet") > 0;
    options.stp = values.count("no-stp") == 0;
    if (values.count("restart") > 0) options.restartMs = values["restart"].as<unsigned>();
    for (const auto port : raw.cutTrailer) {
        if (port >= externalPorts) throw StartError("--cut-ptp-trailer names port " + std::to_string(port));
        options.cutTrailerMask = static_cast<uint8_t>(options.cutTrailerMask | 1U << port);
    }
    if (raw.address.empty()) return;
    options.cpuAddress = ParseAddress(raw.address);
    if (!options.cpuAddress || IsGroupAddress(*options.cpuAddress)) {
        throw StartError("--cpu-address is no station address: " + raw.address);
    }
}

}  // namespace

Options ParseOptions(int argc, const char* const* argv) {
    Options options;
    Raw raw;
    po::variables_map values;
    const auto description = Description(options, raw);
    // The daemon's own options are not ours: only what stands in front of -- is parsed.
    const auto* const end = argv + argc;
    const auto* const separator = std::find(argv, end, std::string("--"));
    try {
        po::store(po::command_line_parser(static_cast<int>(separator - argv), argv)
                      .options(description)
                      .positional({})
                      .style(po::command_line_style::unix_style & ~po::command_line_style::allow_guessing)
                      .run(),
                  values);
        po::notify(values);
    } catch (const po::error& error) {
        throw StartError(error.what());
    }
    if (separator != end) options.daemon.assign(separator + 1, end);
    Apply(raw, values, options);
    if (!options.help && options.askStatusOf.empty()) Check(options);
    return options;
}

std::string HelpText() {
    Options options;
    Raw raw;
    std::ostringstream text;
    text << Description(options, raw);
    return text.str();
}

}  // namespace norvad::board
