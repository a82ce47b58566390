#include "lab/network/program/options.h"

#include <algorithm>
#include <boost/program_options.hpp>
#include <sstream>
#include <string_view>

#include "lab/common/errors.h"
#include "lab/network/program/readers.h"
#include "lab/network/program/units.h"

namespace norvad::network {

namespace po = boost::program_options;

namespace {

po::options_description Description() {
    po::options_description description("Options", 110, 60);
    auto add = description.add_options();
    add("help,h", "show help");
    add("duration", po::value<std::string>()->value_name("TIME"), "simulated time, instead of the file's, e.g. 90s");
    add("seed", po::value<uint64_t>()->value_name("N"), "of all randomness, instead of the file's");
    add("seeds", po::value<int64_t>()->value_name("N"), "run the seeds 1 to N, and tell the median and the worst");
    add("set", po::value<std::vector<std::string>>()->value_name("KEY=VALUE"),
        "replace a value of the file, e.g. bridges.0.row=100; repeatable");
    add("out", po::value<std::string>()->value_name("DIR"), "write what was seen there");
    add("capture", po::value<std::vector<std::string>>()->value_name("BRIDGE.PORT"),
        "write the frames on the link at this port to DIR/BRIDGE.PORT.pcap; repeatable");
    add("log", po::value<std::vector<std::string>>()->value_name("BRIDGE:CATEGORY=LEVEL"),
        "write what this bridge's daemon logs to DIR/BRIDGE.log, as with -d of norvad3, e.g. b4:PTP=2; repeatable");
    add("check", po::bool_switch(), "end with 1 when something is not as the file expects");
    return description;
}

uint64_t Duration(const std::string& text) {
    const auto ns = ParseDurationNs(text);
    if (!ns || *ns <= 0 || *ns > longestRunNs)
        throw lab::StartError("--duration " + text + ": 1ns to 7 days, e.g. 60s");
    return static_cast<uint64_t>(*ns);
}

uint64_t Seeds(int64_t count) {
    constexpr int64_t most = 100'000;
    if (count < 1 || count > most) throw lab::StartError("--seeds " + std::to_string(count) + ": 1 to 100000");
    return static_cast<uint64_t>(count);
}

LogRequest ReadLogRequest(const std::string& text) {
    constexpr int32_t highestLevel = 9;  // of the lines that there are, 6
    const size_t colon = text.find(':');
    const size_t equals = text.find('=', std::min(colon, text.size()));
    if (equals == std::string::npos)
        throw lab::StartError("--log " + text + ": it reads bridge:category=level, e.g. b4:PTP=2");
    const auto category = LogCategoryOf(std::string_view(text).substr(colon + 1, equals - colon - 1));
    if (!category) throw lab::StartError("--log " + text + ": the category is SOCKET, MRP, MSRP, MVRP, PTP or IOCTL");
    const std::string level = text.substr(equals + 1);
    if (level.size() != 1 || level[0] < '0' || level[0] > '0' + highestLevel)
        throw lab::StartError("--log " + text + ": the level is 0 to 9");
    return {text, text.substr(0, colon), *category, level[0] - '0'};
}

}  // namespace

Options ParseOptions(int argc, const char* const* argv) {
    po::options_description all = Description();
    all.add_options()("file", po::value<std::string>());
    po::positional_options_description positional;
    positional.add("file", 1);
    po::variables_map values;
    try {
        po::store(po::command_line_parser(argc, argv)
                      .options(all)
                      .positional(positional)
                      .style(po::command_line_style::unix_style & ~po::command_line_style::allow_guessing)
                      .run(),
                  values);
        po::notify(values);
    } catch (const po::error& error) {
        throw lab::StartError(error.what());
    }
    Options options;
    options.help = values.count("help") > 0;
    if (options.help) return options;
    if (values.count("file") == 0) throw lab::StartError("the file with the network is missing");
    options.file = values["file"].as<std::string>();
    if (values.count("duration") > 0) options.durationNs = Duration(values["duration"].as<std::string>());
    if (values.count("seed") > 0) options.seed = values["seed"].as<uint64_t>();
    if (values.count("seeds") > 0) options.seeds = Seeds(values["seeds"].as<int64_t>());
    if (values.count("set") > 0) options.settings = values["set"].as<std::vector<std::string>>();
    if (values.count("out") > 0) options.directory = values["out"].as<std::string>();
    if (values.count("capture") > 0) options.captures = values["capture"].as<std::vector<std::string>>();
    if (values.count("log") > 0) {
        for (const auto& text : values["log"].as<std::vector<std::string>>())
            options.logs.push_back(ReadLogRequest(text));
    }
    if (!options.captures.empty() && options.directory.empty()) throw lab::StartError("--capture wants --out");
    if (!options.logs.empty() && options.directory.empty()) throw lab::StartError("--log wants --out");
    if (options.seeds > 0 && (options.seed || !options.captures.empty() || !options.logs.empty())) {
        throw lab::StartError("--seeds goes with none of --seed, --capture and --log");
    }
    options.check = values["check"].as<bool>();
    return options;
}

std::string HelpText() {
    std::ostringstream text;
    text << "norvad3-network FILE [options]\n\nRuns a network of whole bridges and end stations on a stepped clock, as "
            "the file says.\n\n"
         << Description();
    return text.str();
}

}  // namespace norvad::network
