#pragma once

#include <cstdint>
#include <deque>
#include <random>
#include <string>

#include "lab/network/bridge_node.h"
#include "lab/network/network.h"

namespace norvad::test {

// Whole bridges whose clocks are of some frequency error each and stamp frames in steps of 8 ns. Each frame waits some
// 50 to 550 us for its daemon. One seed: a run is the same every time.
class ClockRow {
public:
    using BridgeNode = network::BridgeNode;

    // Its clock shows startNs now.
    BridgeNode& Add(double errorPpm, const PtpSettings& settings = {}, uint64_t startNs = 1'000'000'000) {
        BridgeNode::Config config;
        config.mac = {0x02, 0x00, 0x00, 0x00, 0x00, static_cast<uint8_t>(bridges.size())};
        config.clockErrorPpb = static_cast<int32_t>(errorPpm * 1000);
        config.clockNs = startNs;
        config.stampGranularityNs = 8;
        config.handlingNs = [this] { return 50'000 + random() % 500'000; };
        config.ptp = settings;
        return bridges.emplace_back(world, config);
    }

    BridgeNode& operator[](size_t index) { return bridges[index]; }
    size_t Size() const { return bridges.size(); }

    // What stands behind a label of the status line.
    double Shown(size_t bridge, const std::string& label) {
        const std::string status = bridges[bridge].Ask({"--ptp"});
        return std::stod(status.substr(status.find(label) + label.size()));
    }
    std::string State(size_t bridge) {
        const std::string status = bridges[bridge].Ask({"--ptp"});
        return status.substr(3, status.find(':', 3) - 3);
    }

    network::Network world;

private:
    std::mt19937 random{42};
    std::deque<BridgeNode> bridges;
};

}  // namespace norvad::test
