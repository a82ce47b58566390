#include "daemon/daemon_options.h"

#include <algorithm>
#include <boost/program_options.hpp>
#include <cstdio>
#include <iostream>
#include <utility>
#include <vector>

#include "daemon/control/debug_option.h"
#include "daemon/control/parser_words.h"
#include "switch/socket_exception.h"

namespace norvad {

namespace po = boost::program_options;

namespace {

constexpr unsigned lineLength = 80;
constexpr unsigned descriptionLength = 40;  // at least

po::options_description Describe() {
    po::options_description description("Supported daemon options", lineLength, descriptionLength);
    auto option = description.add_options();
    option("help,h", "show help");
    option("interface,i", po::value<std::string>()->default_value("eth0"), "select interface");
    option("priority1,y", po::value<uint32_t>()->default_value(250), "set PTP priority1 level");
    option("nogm,g", po::bool_switch(), "don't allow the local PTP to become GM");
    option("debug,d", po::value<DebugTokens>()->multitoken(), debugOptionHelp);
    option("logfile,f", po::value<std::string>()->default_value(""), "log to file");
    option("nodaemon,n", po::bool_switch(), "don't daemonize");
    return description;
}

po::variables_map Parse(const ParserWords& words, const po::options_description& description) {
    po::variables_map values;
    try {
        po::store(po::command_line_parser(words.Hidden()).options(description).run(), values);
        po::notify(values);
    } catch (const po::error& failure) {
        throw Orla::Exception(words.Shown(failure.what()));
    }
    return values;
}

}  // namespace

DaemonOptions::DaemonOptions(std::string pidFile) : pidFile(std::move(pidFile)) {}

DaemonOptions::~DaemonOptions() {
    (void)std::remove(pidFile.c_str());
}

bool ParseOptions(int argc, const char* const* argv, DaemonOptions& options, PtpSettings& settings) {
    const po::options_description description = Describe();
    const ParserWords words({argv + std::min(argc, 1), argv + argc});
    const po::variables_map values = Parse(words, description);
    if (values.count("help")) {
        std::cout << description << std::endl;
        return false;
    }
    options.interface = words.Shown(values["interface"].as<std::string>());
    options.logfile = words.Shown(values["logfile"].as<std::string>());
    options.nodaemon = values["nodaemon"].as<bool>();
    settings.ptpPriority1 = values["priority1"].as<uint32_t>();
    settings.ptpNoGM = values["nogm"].as<bool>();
    // A debug option that is not understood is answered with the listing, and the daemon starts all the same.
    if (values.count("debug") && !SetDebugLevel(values["debug"].as<DebugTokens>())) {
        std::cout << description << std::endl;
    }
    return true;
}

}  // namespace norvad
