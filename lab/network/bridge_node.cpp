#include "lab/network/bridge_node.h"

#include <algorithm>
#include <boost/program_options.hpp>
#include <cerrno>
#include <cstring>
#include <sstream>
#include <utility>

#include "daemon/assembly.h"
#include "daemon/control/control_channel.h"
#include "daemon/control/control_queues.h"
#include "lab/network/egress_port.h"
#include "switch/driver_records.h"
#include "switch/netlink_wire.h"

namespace norvad::network {

namespace {

constexpr const char* interfaceName = "eth0";
constexpr uint64_t nsPerMs = 1'000'000;
constexpr uint64_t gigabit = 1'000'000'000;

// What the doors call their descriptors.
constexpr int framesDescriptor = 1;
constexpr int linksDescriptor = 2;

board::BoardConfig BoardOf(const BridgeNode::Config& config, const Network& network) {
    board::BoardConfig board;
    board.cpuAddress = config.mac;
    board.externalPorts = config.externalPorts;
    board.clockNs = config.clockNs;
    board.referenceNs = static_cast<int64_t>(network.clock.Ns());
    board.clockErrorPpb = config.clockErrorPpb;
    board.stampGranularityNs = config.stampGranularityNs;
    return board;
}

// As much of a message as fits.
size_t CopyInto(std::span<uint8_t> buffer, const Bytes& message) {
    const size_t length = std::min(message.size(), buffer.size());
    if (length > 0) std::memcpy(buffer.data(), message.data(), length);
    return length;
}

// What the switch driver sends when a port of the switch changes.
struct PortLinkMessage {
    NetlinkHeader header;
    LinkHeader link;
    LinkAttribute attribute;
    boost::endian::native_uint32_t portLinks;
};

Bytes PortLinkReport(uint32_t portLinks) {
    PortLinkMessage message{};
    message.header.length = sizeof(PortLinkMessage);
    message.header.type = netlinkNewLink;
    message.link.family = bridgeFamily;
    message.attribute = {sizeof(LinkAttribute) + sizeof(portLinks), linkAttributePortLinks};
    message.portLinks = portLinks;
    const auto bytes = BytesOf(message);
    return {bytes.begin(), bytes.end()};
}

class NoRequests final : public RequestQueue {
public:
    int Descriptor() const override { return -1; }
    ssize_t Receive(std::span<uint8_t>) override { return -1; }
};

class NoControlQueues final : public ControlQueues {
public:
    std::unique_ptr<ControlQueue> Create(const std::string&) override { return nullptr; }
    std::unique_ptr<ControlQueue> Open(const std::string&) override { return nullptr; }
    std::unique_ptr<ReplyQueue> OpenReplies(const std::string&) override { return nullptr; }
    void Remove(const std::string&) override {}
};

}  // namespace

class BridgeNode::Frames final : public FrameSocket {
public:
    explicit Frames(BridgeNode& node) : node(node) {}
    int Descriptor() const override { return framesDescriptor; }
    void waitForInterface() override {}
    MacAddress HardwareAddress() const override { return node.config.mac; }
    void addMulticast(const MacAddress&) override {}
    ssize_t write(const uint8_t* frame, size_t length) override {
        if (!node.isEnding) node.hardware->FrameFromCpu({frame, length});
        return static_cast<ssize_t>(length);
    }
    size_t read(uint8_t* buffer, size_t capacity) override {
        const Bytes frame = std::move(node.toCpu.front().bytes);
        node.toCpu.pop_front();
        return CopyInto({buffer, capacity}, frame);
    }
    int TakeError() override { return 0; }

private:
    BridgeNode& node;
};

class BridgeNode::Driver final : public DriverSocket {
public:
    explicit Driver(BridgeNode& node) : node(node) {}
    MacAddress HardwareAddress() const override { return node.config.mac; }
    bool Request(std::span<uint8_t> record) override {
        const bool isDone = node.hardware->Request(record, node.Now()) == 0;
        const auto header = Peek<CommandHeader>(record);
        if (header && header->command == static_cast<uint32_t>(SwitchCommand::SWITCH_EGRESS_LIMIT)) node.Shape();
        return isDone;
    }

private:
    BridgeNode& node;
};

class BridgeNode::Links final : public LinkSocket {
public:
    explicit Links(BridgeNode& node) : node(node) {}
    int Descriptor() const override { return linksDescriptor; }
    uint32_t PortId() const override { return 1; }
    ssize_t Send(std::span<const uint8_t> message) override { return static_cast<ssize_t>(message.size()); }
    ssize_t Receive(std::span<uint8_t> datagram) override {
        if (node.linkNews.empty()) {
            errno = EAGAIN;
            return -1;
        }
        const Bytes news = std::move(node.linkNews.front());
        node.linkNews.pop_front();
        return static_cast<ssize_t>(CopyInto(datagram, news));
    }
    int TakeError() override { return 0; }

private:
    BridgeNode& node;
};

// While it lives, lines are the bridge's own, and so are the levels.
class BridgeNode::OwnLog {
public:
    explicit OwnLog(BridgeNode& node) {
        if (!node.config.log) return;
        before = {SetLogSink(&node), std::exchange(debugLevels, node.config.log->levels)};
    }
    OwnLog(const OwnLog&) = delete;
    OwnLog& operator=(const OwnLog&) = delete;
    ~OwnLog() {
        if (!before) return;
        SetLogSink(before->sink);
        debugLevels = before->levels;
    }

private:
    struct Before {
        LogSink* sink;
        std::array<int32_t, logCategoryCount> levels;
    };
    std::optional<Before> before;
};

BridgeNode::BridgeNode(Network& network, const Config& config)
    : NetworkClock(network.engine), network(network), config(config), hardware(MakeBoard()) {
    network.Add(*this);
    StartDaemon();
}

BridgeNode::~BridgeNode() {
    EndDaemon();
}

std::unique_ptr<board::Board> BridgeNode::MakeBoard() {
    board::BoardWires& wires = *this;
    board::BoardObserver& observer = *this;
    return std::make_unique<board::Board>(BoardOf(config, network), wires, observer);
}

void BridgeNode::StartDaemon() {
    if (bridge || !isOn) return;
    const OwnLog own(*this);
    Clock& ownClock = *this;
    SwitchDoors& doors = *this;
    bridge = std::make_unique<Switch>(interfaceName, ownClock, doors);
    if (config.seed != 0) bridge->Timers().Random().Seed(config.seed + config.mac.back());
    AddHandlers(*bridge, config.ptp, std::make_unique<KeptGrandmasterOutput>(grandmasters));
    daemon = std::make_unique<Fiber>([this] { RunDaemon(); });
    if (const uint32_t portLinks = hardware->Links().Value()) linkNews.push_back(PortLinkReport(portLinks));
    Continue();
}

// Nothing is waited for any more, so the daemon comes to the end of its loop; what it says on the way is not heard.
void BridgeNode::EndDaemon() {
    if (!bridge) return;
    isEnding = true;
    if (!daemon->HasEnded()) Continue();
    daemon.reset();
    bridge.reset();
    ++pauses;
    isEnding = false;
}

void BridgeNode::KillDaemon() {
    EndDaemon();
    toCpu.clear();
    linkNews.clear();
    hardware->FlushTables();
    Shape();
}

void BridgeNode::PowerOff() {
    KillDaemon();
    isOn = false;
}

void BridgeNode::PowerOn() {
    if (isOn) return;
    isOn = true;
    const board::LinkTable links = hardware->Links();
    hardware = MakeBoard();
    for (uint8_t port = 0; port < portCount; ++port) hardware->SetLink(port, links[port]);
    StartDaemon();
}

uint8_t BridgeNode::MulticastPorts(uint16_t vid, const MacAddress& address) {
    const auto* entry = hardware->Multicasts().Find(vid, address);
    return entry ? entry->portMask : 0;
}

int32_t BridgeNode::EgressLimit(uint8_t port, uint32_t parameter) const {
    return hardware->Limits().Find(port, parameter).value_or(0);
}

std::string BridgeNode::Ask(const std::vector<std::string>& options) {
    namespace po = boost::program_options;
    const OwnLog own(*this);
    po::options_description description;
    bridge->Dispatcher().AddControlOptions(description);
    po::variables_map values;
    po::store(po::command_line_parser(options).options(description).run(), values);
    po::notify(values);
    std::ostringstream answer;
    bridge->Dispatcher().HandleControlOptions(values, answer);
    return answer.str();
}

int64_t BridgeNode::AheadNs(BridgeNode& other) {
    return static_cast<int64_t>(hardware->Clock().At(Now()) - other.hardware->Clock().At(Now()));
}

void BridgeNode::Arrive(uint8_t port, std::span<const uint8_t> frame, uint64_t beganNs) {
    if (!isOn) return;
    hardware->FrameArrived(port, frame, static_cast<int64_t>(beganNs));
    if (toCpu.empty()) return;
    if (HasFrame()) return Wake();
    network.engine.At(toCpu.back().readableNs, [this] { Wake(); });
}

void BridgeNode::BeginsToLeave(uint8_t port, std::span<const uint8_t> frame) {
    hardware->FrameSent(port, frame, Now());
}

void BridgeNode::LinkChanged(uint8_t port, bool up) {
    board::PortLink link;
    link.up = up;
    link.forwarding = up && !config.blocksAtFirst;
    const uint64_t rate = network.RateOf(*this, port);
    if (rate > 0 && rate < gigabit) link.speed = board::PortLink::fast;
    SetLink(port, link);
    Shape();
}

void BridgeNode::SetForwarding(uint8_t port, bool forwards) {
    board::PortLink link = hardware->Links()[port];
    if (!link.up || link.forwarding == forwards) return;
    link.forwarding = forwards;
    SetLink(port, link);
}

void BridgeNode::SetLink(uint8_t port, const board::PortLink& link) {
    hardware->SetLink(port, link);
    if (!bridge) return;
    linkNews.push_back(PortLinkReport(hardware->Links().Value()));
    Wake();
}

// A timer may have been started from outside, which the loop learns of when it looks again.
void BridgeNode::Refresh() {
    Wake();
}

// What the daemon has reserved is what the ports shape streams to.
void BridgeNode::Shape() {
    for (uint8_t port = 0; port < config.externalPorts; ++port) {
        network.Reserve(*this, port, hardware->Limits().Reserved(port));
    }
}

void BridgeNode::RunDaemon() {
    NoControlQueues queues;
    ControlChannel control(*bridge, queues);
    EventLoop(bridge->Timers(), *this, -1, SourcesOf(*bridge, control)).Run();
}

void BridgeNode::Continue() {
    const OwnLog own(*this);
    daemon->Resume();
}

void BridgeNode::PauseUntil(uint64_t ns) {
    network.engine.At(ns, [this, pause = ++pauses] {
        if (pause == pauses) Continue();
    });
    daemon->Pause();
}

void BridgeNode::Wake() {
    if (!inLoop) return;
    ++pauses;
    Continue();
}

int BridgeNode::MarkReady(std::span<pollfd> set) const {
    int ready = 0;
    for (pollfd& entry : set) {
        const bool readable =
            (entry.fd == framesDescriptor && HasFrame()) || (entry.fd == linksDescriptor && !linkNews.empty());
        entry.revents = readable ? POLLIN : short{0};
        ready += readable;
    }
    return ready;
}

int BridgeNode::Wait(std::span<pollfd> set, uint32_t waitMs) {
    if (MarkReady(set) == 0 && !isEnding) {
        inLoop = true;
        PauseUntil(Ns() + waitMs * nsPerMs);
        inLoop = false;
    }
    return isEnding ? -1 : MarkReady(set);
}

void BridgeNode::Sleep(uint32_t ms) {
    if (!daemon || !daemon->IsRunning()) return NetworkClock::Sleep(ms);
    if (!isEnding) PauseUntil(Ns() + ms * nsPerMs);
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
    return network.Send(*this, port, frame);
}

bool BridgeNode::SendToCpu(std::span<const uint8_t> frame) {
    if (!bridge) return false;
    PortTally::Queue& counts = cpuTally.Of(TrafficClass::CONTROL);
    if (config.cpuPort && toCpu.size() >= config.cpuPort->queueFrames) {
        ++counts.lost;
        return false;
    }
    toCpu.push_back({ReadableNs(frame.size()), Bytes(frame.begin(), frame.end())});
    ++cpuTally.sent;
    counts.Count(toCpu.size());
    return true;
}

// Frames keep their order, however long each would wait.
uint64_t BridgeNode::ReadableNs(size_t length) {
    const uint64_t handlingNs = config.handlingNs ? config.handlingNs() : 0;
    const uint64_t beforeNs = toCpu.empty() ? 0 : toCpu.back().readableNs;
    if (!config.cpuPort) return std::max(Ns() + handlingNs, beforeNs);
    const uint64_t rate = config.cpuPort->bitsPerSecond;
    cpuPortFreeNs = std::max(Ns(), cpuPortFreeNs) + (rate > 0 ? EgressPort::BusyNs(length, rate) : 0);
    return std::max(cpuPortFreeNs, beforeNs) + handlingNs;
}

uint32_t BridgeNode::TakeDeepestCpuQueue() {
    const auto deepest = cpuTally.TakeDeepest();
    cpuTally.Of(TrafficClass::CONTROL).Count(toCpu.size());  // they wait still
    return deepest[static_cast<size_t>(TrafficClass::CONTROL)];
}

void BridgeNode::Write(LogCategory, int32_t, const char* message) {
    if (!isEnding) config.log->write(Ns(), message);
}

}  // namespace norvad::network
