#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "lab/board/board.h"
#include "lab/network/kept_grandmaster_output.h"
#include "lab/network/network.h"
#include "ptp/clocks.h"
#include "switch/doors.h"
#include "switch/switch.h"

namespace norvad::test {

// One whole bridge: the daemon's switch model and all its handlers, on a board in software.
class BridgeNode final : public Node, private SwitchDoors, private board::BoardWires, private board::BoardObserver {
public:
    struct Config {
        MacAddress mac{0x02, 0, 0, 0, 0x10, 0};
        int32_t clockErrorPpb = 0;
        uint64_t clockNs = 0;
        PtpSettings ptp;
    };

    BridgeNode(Network& network, const Config& config);
    ~BridgeNode() override;

    Switch& Model() { return *bridge; }
    board::Board& Hardware() { return hardware; }

    // The ports that pass frames of a group address in a VLAN, as the driver was told.
    uint8_t MulticastPorts(uint16_t vid, const MacAddress& address);
    // As the driver was told; 0 before that.
    int32_t EgressLimit(uint8_t port, uint32_t parameter) const;
    // The answer of the handlers to control options as an operator would give them.
    std::string Ask(const std::vector<std::string>& options);

    // What other programs on the bridge were told of grandmasters.
    const KeptGrandmasterOutput::Kept& Grandmasters() const { return grandmasters; }

    // Node
    void RunDue() override;
    uint64_t DueNs() const override { return dueNs; }
    void Arrive(uint8_t port, std::span<const uint8_t> frame, uint64_t ns) override;
    void LinkChanged(uint8_t port, bool up) override;

private:
    class Frames;
    class Driver;
    class Links;

    // SwitchDoors
    std::unique_ptr<DriverSocket> OpenDriver(const std::string& interfaceName, uint16_t protocol) override;
    std::unique_ptr<FrameSocket> OpenFrames(const std::string& interfaceName, uint16_t protocol) override;
    std::unique_ptr<LinkSocket> OpenLinks() override;
    std::unique_ptr<RequestQueue> OpenRequests() override;

    // BoardWires
    bool SendOnPort(uint8_t port, std::span<const uint8_t> frame) override;
    bool SendToCpu(std::span<const uint8_t> frame) override;

    // BoardObserver
    void Event(const std::string&) override {}

    int64_t Now() const { return static_cast<int64_t>(network.clock.Ns()); }

    Network& network;
    MacAddress mac;
    board::Board hardware;
    std::deque<Bytes> toCpu;     // frames that the daemon has not read yet
    std::deque<Bytes> linkNews;  // netlink messages likewise
    KeptGrandmasterOutput::Kept grandmasters;
    std::unique_ptr<Switch> bridge;
    uint64_t dueNs = 0;
};

}  // namespace norvad::test
