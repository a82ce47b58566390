#pragma once

#include <deque>
#include <fstream>
#include <string>
#include <vector>

#include "lab/network/program/options.h"
#include "lab/network/program/scenario.h"
#include "lab/network/program/scene.h"

namespace norvad::network {

// The files that bridges' own log lines go to, DIRECTORY/BRIDGE.log.
class BridgeLogs {
public:
    // Throws StartError for a bridge that the scenario has not, and for a file that cannot be written.
    BridgeLogs(const std::vector<LogRequest>& requests, const Scenario& scenario, const std::string& directory);
    BridgeLogs(const BridgeLogs&) = delete;
    BridgeLogs& operator=(const BridgeLogs&) = delete;

    // For the scene, which these files outlive.
    const Scene::Logs& Logs() const { return logs; }

    // Throws StartError unless all lines have reached their files.
    void Finish();

private:
    struct File {
        std::string path;
        std::ofstream stream;
    };
    BridgeNode::Log Open(const std::string& path);

    std::deque<File> files;
    Scene::Logs logs;
};

// A message as it stands in the file: "12.345678901 " and the daemon's text, which ends its line.
std::string LogLine(uint64_t ns, std::string_view message);

}  // namespace norvad::network
