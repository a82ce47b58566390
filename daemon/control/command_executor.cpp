#include "daemon/control/command_executor.h"

#include <boost/program_options.hpp>
#include <boost/token_functions.hpp>
#include <boost/tokenizer.hpp>
#include <exception>
#include <ostream>
#include <vector>

#include "daemon/control/debug_option.h"
#include "daemon/control/parser_words.h"
#include "daemon/control/port_report.h"
#include "switch/switch.h"

namespace norvad {

namespace po = boost::program_options;

namespace {

constexpr uint32_t egressTrafficClass = 2;

// The handlers' options first, in the order of the registry.
po::options_description Describe(Switch& bridge) {
    po::options_description description("Supported daemon control options");
    bridge.Dispatcher().AddControlOptions(description);
    auto option = description.add_options();
    option("info,i", "displays the switch database entries");
    option("ports,s", "displays port statistics");
    option("egress0,0", po::value<uint32_t>(), "set port 0 egress to 2..99 percent of full link bw");
    option("egress1,1", po::value<uint32_t>(), "set port 1 egress to 2..99 percent of full link bw");
    option("help,h", "show help");
    option("debug,d", po::value<DebugTokens>()->multitoken(), debugOptionHelp);
    return description;
}

// Empty tokens, such as the one behind the last blank, would count as words of a multi-token option.
std::vector<std::string> Split(const std::string& text) {
    const boost::escaped_list_separator<char> separator("\\", " \t", "\"'");
    std::vector<std::string> tokens;
    for (const std::string& token : boost::tokenizer(text, separator)) {
        if (!token.empty()) tokens.push_back(token);
    }
    return tokens;
}

po::variables_map Parse(const std::string& text, const po::options_description& description) {
    const ParserWords words(Split(text));
    po::variables_map values;
    try {
        po::store(po::command_line_parser(words.Hidden()).options(description).run(), values);
        po::notify(values);
    } catch (const std::exception& failure) {
        throw po::error(words.Shown(failure.what()));
    }
    return values;
}

void SetEgress(Switch& bridge, uint32_t port, const po::variable_value& percent) {
    bridge.Driver().SetEgressLimit(port, egressTrafficClass, static_cast<int32_t>(percent.as<uint32_t>()));
}

void ExecuteOnSwitch(Switch& bridge, const po::variables_map& values, std::ostream& answer) {
    if (values.count("ports")) {
        WritePortReport(bridge, answer);
    } else if (values.count("info")) {
        bridge.Driver().QueryAleStatus();
    } else if (values.count("egress0")) {
        SetEgress(bridge, 0, values["egress0"]);
    } else if (values.count("egress1")) {
        SetEgress(bridge, 1, values["egress1"]);
    }
}

void Execute(Switch& bridge, const std::string& text, std::ostream& answer) {
    const po::options_description description = Describe(bridge);
    const po::variables_map values = Parse(text, description);

    if (values.count("help")) answer << description;
    if (values.count("debug")) {
        if (!SetDebugLevel(values["debug"].as<DebugTokens>())) answer << description;
    } else {
        bridge.Dispatcher().HandleControlOptions(values, answer);
        ExecuteOnSwitch(bridge, values, answer);
    }
    if (answer.tellp() == std::streampos(0)) answer << "OK";
}

}  // namespace

void ExecuteCommand(Switch& bridge, const std::string& text, std::ostream& answer) {
    try {
        Execute(bridge, text, answer);
    } catch (const std::exception& failure) {
        answer << failure.what() << "\n";
    }
}

}  // namespace norvad
