#include "ctl/options.h"

#include <boost/program_options.hpp>
#include <sstream>

#include "ctl/text.h"

namespace norvad::ctl {

namespace po = boost::program_options;

namespace {

constexpr const char* usage =
    "norvadctl: shows what a running norvad3 does, and tells it what to do.\n\n"
    "  norvadctl                 clock, ports, streams and VLANs on one screen\n"
    "  norvadctl ports           link, spanning tree, AS capability\n"
    "  norvadctl streams         one row for each stream\n"
    "  norvadctl vlans           one row for each VLAN\n"
    "  norvadctl domains         the SR class domains\n"
    "  norvadctl clock           state, grandmaster, offset, link delays, rates\n\n"
    "  norvadctl explain port N         what a port, a stream or the time rests on: what of it holds,\n"
    "  norvadctl explain stream ID      what is missing, and what to do\n"
    "  norvadctl explain clock\n\n"
    "  norvadctl watch [SECONDS] the one screen, redrawn in place, with what changed marked\n"
    "  norvadctl events          one line for each change, as it is seen\n"
    "  norvadctl metrics         text for Prometheus, once\n"
    "  norvadctl wait port N     until the port is AS capable\n"
    "  norvadctl wait stream ID  until the stream is reserved for a listener\n"
    "  norvadctl wait clock      until the bridge is grandmaster, or follows one closely\n\n"
    "  norvadctl serve           a status page at http://127.0.0.1:8021/, metrics and JSON\n\n"
    "  norvadctl log CATEGORY LEVEL     what the daemon logs: socket, mrp, msrp, mvrp, ptp, ioctl; 0 to 9\n"
    "  norvadctl priority N             gPTP priority1, 0 to 255\n"
    "  norvadctl window running|growing how rate ratios are measured\n"
    "  norvadctl force none|PORT...     AS capability by hand\n"
    "  norvadctl egress PORT PERCENT    limit of traffic class 2, 2 to 99\n"
    "  norvadctl leave talker ID PORT   as if the neighbour at that port had withdrawn it\n"
    "  norvadctl leave listener ID PORT\n\n";

po::options_description VisibleOptions() {
    po::options_description description("Options");
    auto option = description.add_options();
    option("help,h", "show this");
    option("json", "as JSON, in the shape that norvadctl.schema.json describes");
    option("port", po::value<std::string>(), "only what concerns that port");
    option("stream", po::value<std::string>(), "only that stream: 16 digits, with or without colons");
    option("count", "only how many there are");
    option("limit", po::value<std::string>(), "at most so many rows");
    option("offset", po::value<std::string>(), "leave out the first so many rows");
    option("listen", po::value<std::string>(), "ADDRESS:PORT to serve the status page at (127.0.0.1:8021)");
    option("patience", po::value<std::string>(), "seconds to wait for each answer (5)");
    option("timeout", po::value<std::string>(), "seconds after which wait gives up (never)");
    return description;
}

uint64_t Number(const po::variables_map& values, const char* option, uint64_t largest) {
    const auto& text = values[option].as<std::string>();
    const auto number = ReadNumber(text, 0, largest);
    if (!number) {
        throw UsageError(std::string("--") + option + " wants a number from 0 to " + std::to_string(largest) +
                         ", not '" + Printable(text) + "'");
    }
    return *number;
}

Selection ReadSelection(const po::variables_map& values) {
    constexpr uint64_t mostRows = 1'000'000'000;
    Selection selection;
    if (values.count("port")) selection.port = static_cast<unsigned>(Number(values, "port", portNumbers - 1));
    if (values.count("limit")) selection.limit = static_cast<size_t>(Number(values, "limit", mostRows));
    if (values.count("offset")) selection.offset = static_cast<size_t>(Number(values, "offset", mostRows));
    if (values.count("stream")) {
        selection.stream = ReadId(values["stream"].as<std::string>());
        if (!selection.stream) throw UsageError("--stream wants a StreamID such as 02:00:00:00:00:a0:00:01");
    }
    return selection;
}

po::variables_map Parse(int argc, const char* const* argv) {
    po::options_description all = VisibleOptions();
    all.add_options()("words", po::value<std::vector<std::string>>());
    po::positional_options_description words;
    words.add("words", -1);
    // A shortened option would change its meaning when another joins it.
    const int style = po::command_line_style::default_style & ~po::command_line_style::allow_guessing;
    po::variables_map values;
    po::store(po::command_line_parser(argc, argv).options(all).positional(words).style(style).run(), values);
    return values;
}

void Refuse(bool given, bool used, const char* option, const Options& options) {
    if (given && !used) throw UsageError(Printable(options.words[0]) + " makes no use of " + option);
}

}  // namespace

void RefuseUnused(const Options& options, const Uses& uses) {
    Refuse(options.words.size() > 1, uses.words, "further words", options);
    Refuse(options.json, uses.json, "--json", options);
    Refuse(options.selection.port.has_value(), uses.filters, "--port", options);
    Refuse(options.selection.stream.has_value(), uses.filters, "--stream", options);
    Refuse(options.count, uses.pages, "--count", options);
    Refuse(options.selection.limit != SIZE_MAX, uses.pages, "--limit", options);
    Refuse(options.selection.offset != 0, uses.pages, "--offset", options);
    Refuse(options.timeoutMs != UINT64_MAX, uses.timeout, "--timeout", options);
}

Options ReadOptions(int argc, const char* const* argv) {
    constexpr uint64_t longestPatienceS = 86'400, longestTimeoutS = 1'000'000'000;
    try {
        const po::variables_map values = Parse(argc, argv);
        Options options;
        if (values.count("words")) options.words = values["words"].as<std::vector<std::string>>();
        options.selection = ReadSelection(values);
        options.help = values.count("help") > 0;
        options.json = values.count("json") > 0;
        options.count = values.count("count") > 0;
        if (values.count("listen")) options.listen = values["listen"].as<std::string>();
        if (values.count("patience")) options.patienceMs = Number(values, "patience", longestPatienceS) * 1000;
        if (values.count("timeout")) options.timeoutMs = Number(values, "timeout", longestTimeoutS) * 1000;
        return options;
    } catch (const po::error& error) {
        throw UsageError(Printable(error.what()));
    }
}

std::string HelpText() {
    std::ostringstream text;
    text << usage << VisibleOptions();
    return text.str();
}

}  // namespace norvad::ctl
