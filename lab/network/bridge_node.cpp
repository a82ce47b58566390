#include "lab/network/bridge_node.h"

#include <algorithm>
#include <boost/program_options.hpp>
#include <cerrno>
#include <cstring>
#include <sstream>

#include "daemon/assembly.h"
#include "lab/network/link_messages.h"

namespace norvad::test {

namespace {

constexpr const char* interfaceName = "eth0";

board::BoardConfig ConfigOf(const BridgeNode::Config& config, const Network& network) {
    board::BoardConfig board;
    board.cpuAddress = config.mac;
    board.clockNs = config.clockNs;
    board.referenceNs = static_cast<int64_t>(network.clock.Ns());
    board.clockErrorPpb = config.clockErrorPpb;
    return board;
}

// The front of the queue, as much of it as fits.
size_t Take(std::deque<Bytes>& queue, std::span<uint8_t> buffer) {
    const Bytes front = std::move(queue.front());
    queue.pop_front();
    const size_t length = std::min(front.size(), buffer.size());
    std::memcpy(buffer.data(), front.data(), length);
    return length;
}

}  // namespace

class BridgeNode::Frames final : public FrameSocket {
public:
    explicit Frames(BridgeNode& node) : node(node) {}
    int Descriptor() const override { return -1; }
    void waitForInterface() override {}
    MacAddress HardwareAddress() const override { return node.mac; }
    void addMulticast(const MacAddress&) override {}
    ssize_t write(const uint8_t* frame, size_t length) override {
        node.hardware.FrameFromCpu({frame, length});
        return static_cast<ssize_t>(length);
    }
    size_t read(uint8_t* buffer, size_t capacity) override { return Take(node.toCpu, {buffer, capacity}); }
    int TakeError() override { return 0; }

private:
    BridgeNode& node;
};

class BridgeNode::Driver final : public DriverSocket {
public:
    explicit Driver(BridgeNode& node) : node(node) {}
    MacAddress HardwareAddress() const override { return node.mac; }
    bool Request(std::span<uint8_t> record) override { return node.hardware.Request(record, node.Now()) == 0; }

private:
    BridgeNode& node;
};

class BridgeNode::Links final : public LinkSocket {
public:
    explicit Links(BridgeNode& node) : node(node) {}
    int Descriptor() const override { return -1; }
    uint32_t PortId() const override { return 1; }
    ssize_t Send(std::span<const uint8_t> message) override { return static_cast<ssize_t>(message.size()); }
    ssize_t Receive(std::span<uint8_t> datagram) override {
        if (node.linkNews.empty()) {
            errno = EAGAIN;
            return -1;
        }
        return static_cast<ssize_t>(Take(node.linkNews, datagram));
    }
    int TakeError() override { return 0; }

private:
    BridgeNode& node;
};

namespace {

class NoRequests final : public RequestQueue {
public:
    int Descriptor() const override { return -1; }
    ssize_t Receive(std::span<uint8_t>) override { return -1; }
};

}  // namespace

BridgeNode::BridgeNode(Network& network, const Config& config)
    : network(network), mac(config.mac), hardware(ConfigOf(config, network), *this, *this) {
    SwitchDoors& doors = *this;
    bridge = std::make_unique<Switch>(interfaceName, network.clock, doors);
    AddHandlers(*bridge, config.ptp, std::make_unique<KeptGrandmasterOutput>(grandmasters));
    bridge->Timers().startAll();
    network.Add(*this);
    RunDue();
}

BridgeNode::~BridgeNode() = default;

uint8_t BridgeNode::MulticastPorts(uint16_t vid, const MacAddress& address) {
    const auto* entry = hardware.Multicasts().Find(vid, address);
    return entry ? entry->portMask : 0;
}

int32_t BridgeNode::EgressLimit(uint8_t port, uint32_t parameter) const {
    return hardware.Limits().Find(port, parameter).value_or(0);
}

std::string BridgeNode::Ask(const std::vector<std::string>& options) {
    namespace po = boost::program_options;
    po::options_description description;
    bridge->Dispatcher().AddControlOptions(description);
    po::variables_map values;
    po::store(po::command_line_parser(options).options(description).run(), values);
    po::notify(values);
    std::ostringstream answer;
    bridge->Dispatcher().HandleControlOptions(values, answer);
    return answer.str();
}

void BridgeNode::RunDue() {
    const uint32_t waitMs = bridge->Timers().runDue();
    dueNs = network.clock.Ns() + uint64_t{waitMs} * 1'000'000;
}

void BridgeNode::Arrive(uint8_t port, std::span<const uint8_t> frame, uint64_t ns) {
    hardware.FrameArrived(port, frame, static_cast<int64_t>(ns));
    while (!toCpu.empty()) bridge->Dispatcher().ReadFrame();
}

void BridgeNode::LinkChanged(uint8_t port, bool up) {
    board::PortLink link;
    link.up = up;
    link.forwarding = up;
    hardware.SetLink(port, link);
    linkNews.push_back(PortLinkMessage(interfaceName, hardware.Links().Value()));
    bridge->UpdateLinks();
    RunDue();
}

std::unique_ptr<DriverSocket> BridgeNode::OpenDriver(const std::string&, uint16_t) {
    return std::make_unique<Driver>(*this);
}

std::unique_ptr<FrameSocket> BridgeNode::OpenFrames(const std::string&, uint16_t) {
    return std::make_unique<Frames>(*this);
}

std::unique_ptr<LinkSocket> BridgeNode::OpenLinks() {
    return std::make_unique<Links>(*this);
}

std::unique_ptr<RequestQueue> BridgeNode::OpenRequests() {
    return std::make_unique<NoRequests>();
}

bool BridgeNode::SendOnPort(uint8_t port, std::span<const uint8_t> frame) {
    network.Send(*this, port, frame);
    hardware.FrameSent(port, frame, Now());
    return true;
}

bool BridgeNode::SendToCpu(std::span<const uint8_t> frame) {
    toCpu.emplace_back(frame.begin(), frame.end());
    return true;
}

}  // namespace norvad::test
