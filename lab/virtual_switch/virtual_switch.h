#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "base/file_descriptor.h"
#include "lab/board/board.h"
#include "lab/common/frame_stamps.h"
#include "lab/common/packet_port.h"
#include "lab/common/time.h"
#include "lab/virtual_switch/capture.h"
#include "lab/virtual_switch/cpu_interface.h"
#include "lab/virtual_switch/daemon_process.h"
#include "lab/virtual_switch/driver_gate.h"
#include "lab/virtual_switch/event_printer.h"
#include "lab/virtual_switch/link_socket.h"
#include "lab/virtual_switch/options.h"
#include "lab/virtual_switch/status_server.h"

namespace norvad::board {

// A board among real interfaces, with a daemon on it: joins the model of the board to packet sockets, route netlink
// and the daemon's driver requests, in one thread. The constructor makes everything but the daemon and throws
// StartError where it cannot.
class VirtualSwitch final : private BoardWires {
public:
    explicit VirtualSwitch(const Options& options);

    // Starts the daemon and serves until no process of it is left; returns the exit status of the one started.
    // SIGTERM, SIGINT and SIGHUP are passed on to the daemon as SIGTERM.
    int Run();

private:
    enum class Source : uint32_t { PORT0, PORT1, CPU, DRIVER, LINKS, SIGNALS, STATUS };

    bool SendOnPort(uint8_t port, std::span<const uint8_t> frame) override;
    bool SendToCpu(std::span<const uint8_t> frame) override;

    void Watch(Source source, int descriptor);
    void Serve(Source source);
    void ServePort(uint8_t port);
    void ServeCpu();
    void ServeDriver();
    int AnswerRequest(std::span<uint8_t> record);
    void ReadSentStamps();
    void ServeLinks();
    void ServeSignals();
    void ServeTimers();
    int NextTimerMs() const;
    void ReportLinks();
    void Stop(int signal);
    void Record(size_t capture, std::span<const uint8_t> frame, int64_t systemNs);
    void FlushCaptures();

    const Options options;
    EventPrinter events;
    lab::ReferenceTime reference;
    FileDescriptor signals;  // held back before anything is made that must be removed again
    BoardLinkSocket links;
    std::array<lab::StampMapping, externalPorts> stamps;
    std::array<lab::PacketPort, externalPorts> ports;
    CpuInterface cpuInterface;
    lab::PacketPort cpu;
    Board board;
    std::array<std::optional<Capture>, externalPorts + 1> captures;  // the last is the CPU port's
    std::optional<StatusServer> status;
    FileDescriptor poll;
    std::optional<DaemonProcess> daemon;
    DriverGate gate;

    lab::Offload passing{};                               // of the frame that is being forwarded
    std::array<uint32_t, externalPorts> awaitedStamps{};  // of frames that have been sent
    bool daemonIsLeft = false;
    int64_t startedNs = 0;
    int64_t nextSubscriberCheckNs = 0;
    int64_t killNs = 0;  // when a daemon that does not end is killed; 0: it was not told to end
};

}  // namespace norvad::board
