#include "lab/virtual_switch/virtual_switch.h"

#include <fmt/format.h>
#include <signal.h>

#include <cerrno>
#include <cmath>
#include <utility>

#include "base/wire.h"
#include "lab/board/status_report.h"
#include "lab/common/card_clock.h"
#include "lab/common/ethernet_frame.h"
#include "lab/virtual_switch/netlink_messages.h"
#include "switch/driver_records.h"

namespace norvad::board {

using namespace lab;
using namespace std::chrono_literals;

using boost::system::error_code;

namespace {

constexpr auto starting = 10s;        // a daemon that has just started begins to listen soon
constexpr auto startingCheck = 50ms;  // how often to look for it then
constexpr auto subscriberCheck = 1s;  // and later
constexpr auto patience = 5s;         // for a daemon that was told to end
constexpr int framesAtOnce = 64;      // of one port, before the others get their turn
constexpr int stampWaitMs = 1;

PacketPort OpenPort(const std::string& interfaceName, const StampMapping& stamps) {
    return {interfaceName, {.promiscuous = true, .cardStamps = stamps.IsByCard()}};
}

// When a frame came in, for its capture.
int64_t SystemNs(const PacketPort::Frame& frame) {
    return frame.stamps.softwareNs.value_or(ReferenceTime::SystemNs());
}

BoardConfig ConfigOf(const Options& options, const MacAddress& cpuAddress) {
    BoardConfig config;
    config.cpuAddress = cpuAddress;
    config.referenceNs = ReferenceTime::NowNs();
    config.clockNs = static_cast<uint64_t>(ReferenceTime::SystemNs() + options.clockOffsetNs);
    config.clockErrorPpb = options.clockErrorPpb;
    config.steeringUnit = std::ldexp(1.0, -static_cast<int>(options.steerExponent));
    config.cutTrailerMask = options.cutTrailerMask;
    return config;
}

}  // namespace

VirtualSwitch::VirtualSwitch(const Options& options)
    : options(options),
      events(options.quiet),
      signals(context, SIGTERM, SIGINT, SIGHUP),
      subscriberTimer(context),
      killTimer(context),
      restartTimer(context),
      clockTimer(context),
      stamps{StampMapping(reference, InterfaceCardClock::Open(options.portInterfaces[0])),
             StampMapping(reference, InterfaceCardClock::Open(options.portInterfaces[1]))},
      ports{OpenPort(options.portInterfaces[0], stamps[0]), OpenPort(options.portInterfaces[1], stamps[1])},
      cpuInterface(links, options.cpuInterface, options.cpuAddress),
      cpu(cpuInterface.OpenSwitchEnd()),
      board(ConfigOf(options, cpuInterface.Address()), *this, events) {
    signals.add(SIGCHLD);
    signal(SIGPIPE, SIG_IGN);
    if (!options.captureDirectory.empty()) {
        captures[0].emplace(options.captureDirectory + "/port0.pcap");
        captures[1].emplace(options.captureDirectory + "/port1.pcap");
        captures[2].emplace(options.captureDirectory + "/cpu.pcap");
    }
    if (!options.statusSocket.empty()) {
        status.emplace(context, options.statusSocket, [this] { return StatusReport(board, ReferenceTime::NowNs()); });
    }
    for (uint8_t port = 0; port < externalPorts; ++port) {
        if (stamps[port].IsByCard()) events.Event(fmt::format("port {} stamped by its card", port));
    }
    events.Event("interface " + cpuInterface.Name() + " address " + AddressText(cpuInterface.Address()));
}

int VirtualSwitch::Run() {
    Watch(ports[0].Descriptor(), [this] { ServePort(0); });
    Watch(ports[1].Descriptor(), [this] { ServePort(1); });
    Watch(cpu.Descriptor(), [this] { ServeCpu(); });
    Watch(links.Descriptor(), [this] { ServeLinks(); });
    for (const auto& name : options.portInterfaces) links.Query(name);

    StartDaemon();
    AwaitSignal();
    AwaitSubscribers(0ms);
    if (options.clockWatchMs > 0) WatchClock();
    while (daemonIsLeft || (options.restartMs && !isEnding)) {
        context.run_one();
        FlushCaptures();
    }
    return daemon->ExitStatus().value_or(0);
}

void VirtualSwitch::StartDaemon() {
    requests.reset();
    daemon.emplace(options.daemon);
    daemonIsLeft = true;
    gate = DriverGate(daemon->TakeListener(), cpuInterface.Name());
    requests.emplace(context, gate.Descriptor(), [this] {
        return gate.Serve([this](std::span<uint8_t> record) { return AnswerRequest(record); });
    });
    started = std::chrono::steady_clock::now();
    events.Event(fmt::format("daemon started process {}", daemon->Id()));
}

void VirtualSwitch::Watch(int descriptor, const std::function<void()>& serve) {
    watches.emplace_back(context, descriptor, [serve] {
        serve();
        return true;
    });
}

void VirtualSwitch::ServePort(uint8_t port) {
    ReadSentStamps(port);
    for (int i = 0; i < framesAtOnce; ++i) {
        const auto frame = ports[port].Receive();
        if (!frame) return;
        Record(port, frame->bytes, SystemNs(*frame));
        passing = frame->offload;
        const auto stampNs = stamps[port].ToReference(frame->stamps);
        board.FrameArrived(port, frame->bytes, stampNs.value_or(ReferenceTime::NowNs()), stampNs.has_value());
        passing = {};
    }
}

void VirtualSwitch::ServeCpu() {
    for (int i = 0; i < framesAtOnce; ++i) {
        const auto frame = cpu.Receive();
        if (!frame) return;
        Record(externalPorts, frame->bytes, SystemNs(*frame));
        board.FrameFromCpu(frame->bytes);
    }
}

// A request comes behind the frames that the daemon sent before it, and a stamp that is asked for may be on its way.
int VirtualSwitch::AnswerRequest(std::span<uint8_t> record) {
    ServeCpu();
    const auto header = Peek<CommandHeader>(record);
    const auto query = Peek<TimestampRecord>(record);
    constexpr auto transmitQuery = static_cast<uint32_t>(SwitchCommand::SWITCH_PTP_TX_TIMESTAMP);
    if (query && header->command == transmitQuery && query->port < externalPorts) AwaitSentStamps(query->port);
    const int error = board.Request(record, ReferenceTime::NowNs());
    if (error != 0 && error != EAGAIN && header) {
        events.Event(fmt::format("driver request {} refused with error {}", header->command.value(), error));
    }
    return error;
}

void VirtualSwitch::AwaitSentStamps(uint8_t port) {
    ReadSentStamps(port);
    if (awaitedStamps[port] == 0) return;
    ports[port].WaitForSent(stampWaitMs);
    ReadSentStamps(port);
    awaitedStamps[port] = 0;  // what has not come by now is not waited for again
}

void VirtualSwitch::ReadSentStamps(uint8_t port) {
    while (const auto frame = ports[port].ReceiveSent()) {
        if (awaitedStamps[port] > 0) --awaitedStamps[port];
        const auto stampNs = stamps[port].ToReference(frame->stamps);
        if (stampNs) board.FrameSent(port, frame->bytes, *stampNs);
    }
}

bool VirtualSwitch::SendOnPort(uint8_t port, std::span<const uint8_t> frame) {
    Record(port, frame, ReferenceTime::SystemNs());
    const bool isStamped = ParseEventMessage(frame).has_value();
    const bool isSent = isStamped ? ports[port].SendStamped(frame, passing) : ports[port].Send(frame, passing);
    if (isSent && isStamped) ++awaitedStamps[port];
    return isSent;
}

bool VirtualSwitch::SendToCpu(std::span<const uint8_t> frame) {
    Record(externalPorts, frame, ReferenceTime::SystemNs());
    return cpu.Send(frame);
}

void VirtualSwitch::ServeLinks() {
    for (const auto& change : links.Changes()) {
        for (uint8_t port = 0; port < externalPorts; ++port) {
            if (change.index == ports[port].InterfaceIndex()) PortLinkChanged(port, change.up);
        }
        if (change.index == cpuInterface.Index()) CpuLinkChanged(change.on);
    }
}

void VirtualSwitch::PortLinkChanged(uint8_t port, bool up) {
    if (up == board.Links()[port].up) return;
    const auto speed = options.speed == 1000 ? PortLink::gigabit : PortLink::fast;
    board.SetLink(port, {up, options.stp, speed});
    events.Event(fmt::format("port {} link {}", port, up ? "up" : "down"));
    ReportLinks();
}

void VirtualSwitch::CpuLinkChanged(bool on) {
    if (on == std::exchange(cpuIsOn, on)) return;
    events.Event(on ? "CPU interface up" : "CPU interface down, tables flushed");
    if (!on) board.FlushTables();
    ReportLinks();
}

// While its CPU interface is down a driver has no links to report.
void VirtualSwitch::ReportLinks() {
    links.Report(PortLinkReport(cpuInterface.Name(), cpuIsOn ? board.Links().Value() : 0));
}

void VirtualSwitch::AwaitSignal() {
    signals.async_wait([this](const error_code&, int signal) {
        if (signal != SIGCHLD) Stop(signal);
        const bool wasLeft = daemonIsLeft;
        daemonIsLeft = daemon->Reap();
        // A child that ends leaves us its own children, who have heard nothing yet.
        if (daemonIsLeft && isEnding) daemon->Signal(SIGTERM);
        if (wasLeft && !daemonIsLeft) DaemonEnded();
        AwaitSignal();
    });
}

void VirtualSwitch::DaemonEnded() {
    events.Event(fmt::format("daemon ended with status {}", daemon->ExitStatus().value_or(0)));
    if (options.restartMs && !isEnding) AwaitRestart();
}

void VirtualSwitch::AwaitRestart() {
    restartTimer.expires_after(std::chrono::milliseconds(*options.restartMs));
    restartTimer.async_wait([this](const error_code&) {
        if (!isEnding) StartDaemon();
    });
}

void VirtualSwitch::Stop(int signal) {
    events.Event(fmt::format("signal {}, ending the daemon", signal));
    if (!std::exchange(isEnding, true)) AwaitKill();
}

void VirtualSwitch::AwaitKill() {
    killTimer.expires_after(patience);
    killTimer.async_wait([this](const error_code&) {
        daemon->Signal(SIGKILL);
        AwaitKill();
    });
}

void VirtualSwitch::AwaitSubscribers(std::chrono::milliseconds wait) {
    subscriberTimer.expires_after(wait);
    subscriberTimer.async_wait([this](const error_code&) {
        if (links.HasNewSubscriber()) ReportLinks();
        const bool isStarting = std::chrono::steady_clock::now() - started < starting;
        AwaitSubscribers(isStarting ? startingCheck : subscriberCheck);
    });
}

// Stamps of the kernel are of the system clock, so a grandmaster that is stamped by it tells just that time.
void VirtualSwitch::WatchClock() {
    const auto referenceNs = ReferenceTime::NowNs();
    const auto systemNs = static_cast<uint64_t>(reference.ToSystem(referenceNs));
    events.Event(fmt::format("clock off by {} ns", static_cast<int64_t>(board.Clock().At(referenceNs) - systemNs)));
    clockTimer.expires_after(std::chrono::milliseconds(options.clockWatchMs));
    clockTimer.async_wait([this](const error_code&) { WatchClock(); });
}

void VirtualSwitch::Record(size_t capture, std::span<const uint8_t> frame, int64_t systemNs) {
    if (captures[capture]) captures[capture]->Write(frame, systemNs);
}

void VirtualSwitch::FlushCaptures() {
    for (auto& capture : captures) {
        if (capture) capture->Flush();
    }
}

}  // namespace norvad::board
