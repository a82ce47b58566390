#pragma once

#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "lab/board/board.h"
#include "lab/common/capture.h"
#include "lab/common/descriptor_watch.h"
#include "lab/common/frame_stamps.h"
#include "lab/common/packet_port.h"
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

    // Starts the daemon and serves until no process of it is left, or starts it again then if the options say so;
    // returns the exit status of the one started last. SIGTERM, SIGINT and SIGHUP are passed on to the daemon as
    // SIGTERM.
    int Run();

private:
    bool SendOnPort(uint8_t port, std::span<const uint8_t> frame) override;
    bool SendToCpu(std::span<const uint8_t> frame) override;

    void StartDaemon();
    void AwaitRestart();
    void Watch(int descriptor, const std::function<void()>& serve);
    void ServePort(uint8_t port);
    void ServeCpu();
    int AnswerRequest(std::span<uint8_t> record);
    void AwaitSentStamps(uint8_t port);
    void ReadSentStamps(uint8_t port);
    void ServeLinks();
    void PortLinkChanged(uint8_t port, bool up);
    void CpuLinkChanged(bool on);
    void ReportLinks();
    void AwaitSignal();
    void DaemonEnded();
    void Stop(int signal);
    void AwaitKill();
    void AwaitSubscribers(std::chrono::milliseconds wait);
    void WatchClock();
    void Record(size_t capture, std::span<const uint8_t> frame, int64_t systemNs);
    void FlushCaptures();

    const Options options;
    EventPrinter events;
    lab::ReferenceTime reference;
    boost::asio::io_context context{1};
    boost::asio::signal_set signals;  // held back before anything is made that must be removed again
    boost::asio::steady_timer subscriberTimer;
    boost::asio::steady_timer killTimer;
    boost::asio::steady_timer restartTimer;
    boost::asio::steady_timer clockTimer;
    BoardLinkSocket links;
    std::array<lab::StampMapping, externalPorts> stamps;
    std::array<lab::PacketPort, externalPorts> ports;
    CpuInterface cpuInterface;
    lab::PacketPort cpu;
    Board board;
    std::array<std::optional<lab::Capture>, externalPorts + 1> captures;  // the last is the CPU port's
    std::optional<StatusServer> status;
    std::optional<DaemonProcess> daemon;
    DriverGate gate;
    std::optional<lab::DescriptorWatch> requests;  // of the gate
    std::deque<lab::DescriptorWatch> watches;

    lab::Offload passing{};                               // of the frame that is being forwarded
    std::array<uint32_t, externalPorts> awaitedStamps{};  // of frames that have been sent
    bool daemonIsLeft = false;
    bool isEnding = false;  // the daemon was told to end, and is not started again
    bool cpuIsOn = false;   // the CPU interface; its first message says that it is
    std::chrono::steady_clock::time_point started;
};

}  // namespace norvad::board
