#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/log.h"
#include "daemon/event_loop.h"
#include "lab/board/board.h"
#include "lab/network/cpu_port.h"
#include "lab/network/fiber.h"
#include "lab/network/kept_grandmaster_output.h"
#include "lab/network/network.h"
#include "ptp/clocks.h"
#include "switch/doors.h"
#include "switch/switch.h"

namespace norvad::network {

// One whole bridge: the daemon's switch model, its handlers and its event loop, on a board in software. The daemon runs
// on a stack of its own, so that when it waits, for its next timer or for a time stamp, it waits alone.
class BridgeNode final : public Node,
                         private NetworkClock,
                         private Waiting,
                         private SwitchDoors,
                         private board::BoardWires,
                         private board::BoardObserver,
                         private LogSink {
public:
    // Takes the lines that the daemon logs, with the time at which it did, as far as its levels let them.
    struct Log {
        std::function<void(uint64_t ns, const char* message)> write;
        std::array<int32_t, logCategoryCount> levels{};
    };

    struct Config {
        MacAddress mac{0x02, 0, 0, 0, 0x10, 0};
        uint8_t externalPorts = 2;
        int32_t clockErrorPpb = 0;
        uint64_t clockNs = 0;
        uint32_t stampGranularityNs = 1;
        std::function<uint64_t()> handlingNs;  // how long a frame waits for the daemon; empty: not at all
        std::optional<CpuPort> cpuPort;        // nothing: each frame waits alone, and there is room for all
        bool blocksAtFirst = false;  // a port that comes up passes no data frames before SetForwarding lets it
        PtpSettings ptp;
        uint32_t seed = 0;       // of the daemon's randomness, besides its address
        std::optional<Log> log;  // nothing: lines go where those of the process go
    };

    BridgeNode(Network& network, const Config& config);
    ~BridgeNode() override;

    Switch& Model() { return *bridge; }  // while the daemon runs
    board::Board& Hardware() { return *hardware; }

    bool DaemonRuns() const { return bridge != nullptr; }
    // The daemon ends in the middle of whatever it does, as if it was killed, and its board forgets what it programmed;
    // the clock runs on. Nothing of the daemon may be on the stack.
    void KillDaemon();
    void StartDaemon();

    // The board loses its power, its daemon with it, and comes up with empty tables and another time. The cables stay
    // plugged in.
    void PowerOff();
    void PowerOn();
    bool IsOn() const { return isOn; }

    // The ports that pass frames of a group address in a VLAN, as the driver was told.
    uint8_t MulticastPorts(uint16_t vid, const MacAddress& address);
    // As the driver was told; 0 before that.
    int32_t EgressLimit(uint8_t port, uint32_t parameter) const;
    // The answer of the handlers to control options as an operator would give them.
    std::string Ask(const std::vector<std::string>& options);

    // What other programs on the bridge were told of grandmasters.
    const KeptGrandmasterOutput::Kept& Grandmasters() const { return grandmasters; }
    // What they were told goes, for runs that are longer than memory.
    void ForgetGrandmasters() { grandmasters = {}; }

    // What became of the frames for the daemon; all are control frames.
    const PortTally& CpuTally() const { return cpuTally; }
    // The most that waited for it since this was asked last.
    uint32_t TakeDeepestCpuQueue();

    // What spanning tree would decide of a port that is up.
    void SetForwarding(uint8_t port, bool forwards);

    // How far the bridge's hardware clock is ahead of another's now.
    int64_t AheadNs(BridgeNode& other);

    // Node
    void Arrive(uint8_t port, std::span<const uint8_t> frame, uint64_t beganNs) override;
    void BeginsToLeave(uint8_t port, std::span<const uint8_t> frame) override;
    void LinkChanged(uint8_t port, bool up) override;
    void Refresh() override;

private:
    class Frames;
    class Driver;
    class Links;
    class OwnLog;

    struct TrappedFrame {
        uint64_t readableNs;
        Bytes bytes;
    };

    std::unique_ptr<board::Board> MakeBoard();

    // The daemon's stack. Both ways of waiting pause it; what arrives ends only the loop's.
    void SetLink(uint8_t port, const board::PortLink& link);
    void Shape();
    void RunDaemon();
    void EndDaemon();
    void Continue();
    void PauseUntil(uint64_t ns);
    void Wake();
    bool HasFrame() const { return !toCpu.empty() && toCpu.front().readableNs <= Ns(); }
    int MarkReady(std::span<pollfd> set) const;

    // Waiting, Clock
    int Wait(std::span<pollfd> set, uint32_t waitMs) override;
    void Sleep(uint32_t ms) override;

    // SwitchDoors
    std::unique_ptr<DriverSocket> OpenDriver(const std::string& interfaceName, uint16_t protocol) override;
    std::unique_ptr<FrameSocket> OpenFrames(const std::string& interfaceName, uint16_t protocol) override;
    std::unique_ptr<LinkSocket> OpenLinks() override;
    std::unique_ptr<RequestQueue> OpenRequests() override;

    // BoardWires
    bool SendOnPort(uint8_t port, std::span<const uint8_t> frame) override;
    bool SendToCpu(std::span<const uint8_t> frame) override;
    uint64_t ReadableNs(size_t length);

    // BoardObserver, LogSink
    void Event(const std::string&) override {}
    void Write(LogCategory category, int32_t level, const char* message) override;

    int64_t Now() const { return static_cast<int64_t>(Ns()); }

    Network& network;
    const Config config;
    std::unique_ptr<board::Board> hardware;
    std::deque<TrappedFrame> toCpu;  // frames that the daemon has not read yet
    uint64_t cpuPortFreeNs = 0;      // when the last of them is through the port
    PortTally cpuTally;
    std::deque<Bytes> linkNews;  // netlink messages likewise
    KeptGrandmasterOutput::Kept grandmasters;
    std::unique_ptr<Switch> bridge;
    std::unique_ptr<Fiber> daemon;  // while the daemon runs
    uint64_t pauses = 0;            // so far; tells whether a wake-up is still the one that is waited for
    bool inLoop = false;            // the daemon waits for whatever comes
    bool isEnding = false;
    bool isOn = true;
};

}  // namespace norvad::network
