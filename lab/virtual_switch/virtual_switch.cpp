#include "lab/virtual_switch/virtual_switch.h"

#include <signal.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>

#include "base/wire.h"
#include "lab/board/status_report.h"
#include "lab/common/card_clock.h"
#include "lab/common/errors.h"
#include "lab/common/ethernet_frame.h"
#include "lab/common/text.h"
#include "lab/virtual_switch/netlink_messages.h"
#include "switch/driver_records.h"

namespace norvad::board {

using namespace lab;

namespace {

constexpr int64_t nsPerMs = 1'000'000;
constexpr int64_t startingNs = 10'000 * nsPerMs;        // a daemon that has just started begins to listen soon
constexpr int64_t startingCheckNs = 50 * nsPerMs;       // how often to look for it then
constexpr int64_t subscriberCheckNs = 1'000 * nsPerMs;  // and later
constexpr int64_t patienceNs = 5'000 * nsPerMs;         // for a daemon that was told to end
constexpr int framesAtOnce = 64;                        // of one port, before the others get their turn
constexpr int stampWaitMs = 1;

FileDescriptor OpenSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGCHLD}) sigaddset(&set, signal);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    signal(SIGPIPE, SIG_IGN);
    FileDescriptor signals(signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!signals.IsOpen()) ThrowErrno("cannot wait for signals");
    return signals;
}

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
      signals(OpenSignals()),
      stamps{StampMapping(reference, InterfaceCardClock::Open(options.portInterfaces[0])),
             StampMapping(reference, InterfaceCardClock::Open(options.portInterfaces[1]))},
      ports{OpenPort(options.portInterfaces[0], stamps[0]), OpenPort(options.portInterfaces[1], stamps[1])},
      cpuInterface(links, options.cpuInterface, options.cpuAddress),
      cpu(cpuInterface.OpenSwitchEnd()),
      board(ConfigOf(options, cpuInterface.Address()), *this, events),
      poll(epoll_create1(EPOLL_CLOEXEC)) {
    if (!options.captureDirectory.empty()) {
        captures[0].emplace(options.captureDirectory + "/port0.pcap");
        captures[1].emplace(options.captureDirectory + "/port1.pcap");
        captures[2].emplace(options.captureDirectory + "/cpu.pcap");
    }
    if (!options.statusSocket.empty()) {
        status.emplace(options.statusSocket, [this] { return StatusReport(board, ReferenceTime::NowNs()); });
    }
    for (uint8_t port = 0; port < externalPorts; ++port) {
        if (stamps[port].IsByCard()) events.Event(Text("port %u stamped by its card", port));
    }
    events.Event("interface " + cpuInterface.Name() + " address " + AddressText(cpuInterface.Address()));
}

int VirtualSwitch::Run() {
    Watch(Source::PORT0, ports[0].Descriptor());
    Watch(Source::PORT1, ports[1].Descriptor());
    Watch(Source::CPU, cpu.Descriptor());
    Watch(Source::LINKS, links.Descriptor());
    Watch(Source::SIGNALS, signals.Get());
    if (status) Watch(Source::STATUS, status->Descriptor());
    for (const auto& name : options.portInterfaces) links.Query(name);

    daemon.emplace(options.daemon);
    gate = DriverGate(daemon->TakeListener(), cpuInterface.Name());
    Watch(Source::DRIVER, gate.Descriptor());
    daemonIsLeft = true;
    startedNs = ReferenceTime::NowNs();
    events.Event(Text("daemon started process %d", static_cast<int>(daemon->Id())));

    std::array<epoll_event, 8> ready;
    while (daemonIsLeft) {
        const int count = epoll_wait(poll.Get(), ready.data(), static_cast<int>(ready.size()), NextTimerMs());
        for (int i = 0; i < count; ++i) {
            const auto& event = ready[static_cast<size_t>(i)];
            Serve(static_cast<Source>(event.data.u32));
        }
        ServeTimers();
        FlushCaptures();
    }
    events.Event(Text("daemon ended with status %d", daemon->ExitStatus().value_or(0)));
    return daemon->ExitStatus().value_or(0);
}

void VirtualSwitch::Watch(Source source, int descriptor) {
    epoll_event event{EPOLLIN, {.u32 = static_cast<uint32_t>(source)}};
    if (epoll_ctl(poll.Get(), EPOLL_CTL_ADD, descriptor, &event) != 0) ThrowErrno("cannot wait for events");
}

void VirtualSwitch::Serve(Source source) {
    switch (source) {
        case Source::PORT0:
            return ServePort(0);
        case Source::PORT1:
            return ServePort(1);
        case Source::CPU:
            return ServeCpu();
        case Source::DRIVER:
            return ServeDriver();
        case Source::LINKS:
            return ServeLinks();
        case Source::SIGNALS:
            return ServeSignals();
        case Source::STATUS:
            return status->Serve();
    }
}

void VirtualSwitch::ServePort(uint8_t port) {
    ReadSentStamps();
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

void VirtualSwitch::ServeDriver() {
    if (gate.Serve([this](std::span<uint8_t> record) { return AnswerRequest(record); })) return;
    epoll_ctl(poll.Get(), EPOLL_CTL_DEL, gate.Descriptor(), nullptr);
}

// A request comes behind the frames that the daemon sent before it, and a stamp that is asked for may be on its way.
int VirtualSwitch::AnswerRequest(std::span<uint8_t> record) {
    ServeCpu();
    ReadSentStamps();
    const auto query = Peek<TimestampRecord>(record);
    if (query && query->port < externalPorts && awaitedStamps[query->port] > 0) {
        ports[query->port].WaitForSent(stampWaitMs);
        ReadSentStamps();
        awaitedStamps[query->port] = 0;  // what has not come by now is not waited for again
    }
    const int error = board.Request(record, ReferenceTime::NowNs());
    const auto header = Peek<CommandHeader>(record);
    if (error != 0 && error != EAGAIN && header) {
        events.Event(Text("driver request %u refused with error %d", header->command.value(), error));
    }
    return error;
}

void VirtualSwitch::ReadSentStamps() {
    for (uint8_t port = 0; port < externalPorts; ++port) {
        while (const auto frame = ports[port].ReceiveSent()) {
            if (awaitedStamps[port] > 0) --awaitedStamps[port];
            const auto stampNs = stamps[port].ToReference(frame->stamps);
            if (stampNs) board.FrameSent(port, frame->bytes, *stampNs);
        }
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
            if (change.index != ports[port].InterfaceIndex() || change.up == board.Links()[port].up) continue;
            const auto speed = options.speed == 1000 ? PortLink::gigabit : PortLink::fast;
            board.SetLink(port, {change.up, options.stp, speed});
            events.Event(Text("port %u link %s", port, change.up ? "up" : "down"));
            ReportLinks();
        }
    }
}

void VirtualSwitch::ReportLinks() {
    links.Report(PortLinkReport(cpuInterface.Name(), board.Links().Value()));
}

void VirtualSwitch::ServeSignals() {
    signalfd_siginfo signal;
    while (read(signals.Get(), &signal, sizeof(signal)) == sizeof(signal)) {
        if (signal.ssi_signo == SIGCHLD) continue;
        Stop(static_cast<int>(signal.ssi_signo));
    }
    daemonIsLeft = daemon->Reap();
    // A child that ends leaves us its own children, who have heard nothing yet.
    if (daemonIsLeft && killNs != 0) daemon->Signal(SIGTERM);
}

void VirtualSwitch::Stop(int signal) {
    events.Event(Text("signal %d, ending the daemon", signal));
    if (killNs == 0) killNs = ReferenceTime::NowNs() + patienceNs;
}

void VirtualSwitch::ServeTimers() {
    const int64_t nowNs = ReferenceTime::NowNs();
    if (nowNs >= nextSubscriberCheckNs) {
        nextSubscriberCheckNs = nowNs + (nowNs - startedNs < startingNs ? startingCheckNs : subscriberCheckNs);
        if (links.HasNewSubscriber()) ReportLinks();
    }
    if (killNs != 0 && nowNs >= killNs) {
        daemon->Signal(SIGKILL);
        killNs = nowNs + patienceNs;
    }
}

int VirtualSwitch::NextTimerMs() const {
    const int64_t next = killNs == 0 ? nextSubscriberCheckNs : std::min(nextSubscriberCheckNs, killNs);
    const int64_t waitNs = std::max<int64_t>(next - ReferenceTime::NowNs(), 0);
    return static_cast<int>((waitNs + nsPerMs - 1) / nsPerMs);
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
