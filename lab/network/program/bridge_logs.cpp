#include "lab/network/program/bridge_logs.h"

#include <fmt/format.h>

#include <algorithm>

#include "lab/common/errors.h"
#include "lab/common/time.h"

namespace norvad::network {

namespace {

size_t BridgeOf(const LogRequest& request, const Scenario& scenario) {
    const auto found = std::find_if(scenario.bridges.begin(), scenario.bridges.end(),
                                    [&](const BridgePlan& plan) { return plan.name == request.bridge; });
    if (found == scenario.bridges.end())
        throw lab::StartError(fmt::format("--log {}: there is no bridge '{}'", request.text, request.bridge));
    return static_cast<size_t>(found - scenario.bridges.begin());
}

}  // namespace

BridgeLogs::BridgeLogs(const std::vector<LogRequest>& requests, const Scenario& scenario,
                       const std::string& directory) {
    for (const LogRequest& request : requests) {
        const size_t bridge = BridgeOf(request, scenario);
        if (!logs.contains(bridge)) logs.emplace(bridge, Open(directory + "/" + request.bridge + ".log"));
        logs.at(bridge).levels[static_cast<size_t>(request.category)] = request.level;
    }
}

BridgeNode::Log BridgeLogs::Open(const std::string& path) {
    File& file = files.emplace_back(File{path, std::ofstream(path, std::ios::binary)});
    if (!file.stream) lab::ThrowErrno("cannot write " + path);
    return {[&file](uint64_t ns, const char* message) { file.stream << LogLine(ns, message); }, {}};
}

void BridgeLogs::Finish() {
    for (File& file : files) {
        file.stream.flush();
        if (!file.stream) lab::ThrowErrno("cannot write " + file.path);
    }
}

std::string LogLine(uint64_t ns, std::string_view message) {
    const bool isEnded = !message.empty() && message.back() == '\n';
    return fmt::format("{}.{:09} {}{}", ns / lab::nsPerSecond, ns % lab::nsPerSecond, message, isEnded ? "" : "\n");
}

}  // namespace norvad::network
