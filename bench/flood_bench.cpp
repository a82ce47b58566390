// What a flood of frames at port 0 costs those behind port 1: how long a VLAN that is registered there takes to be
// programmed, how many peer delay requests are answered, and how soon all is well again when the flood ends. The built
// daemon on the virtual switch, without captures.

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "bench/samples.h"
#include "bench/whole_bridge.h"
#include "tests/support/system/flood.h"
#include "tests/support/system/gptp_peer.h"
#include "tests/support/system/mvrp_frame.h"
#include "tests/support/system/network.h"
#include "tests/support/system/private_world.h"
#include "tests/support/system/process.h"

namespace norvad::bench {

namespace {

using namespace test;
using namespace std::chrono_literals;

constexpr auto floodTime = 3s;
constexpr auto soonEnough = 100ms;  // to program a registration
constexpr const char* statusSocket = "/tmp/status";

// What the board and the daemon printed, line by line.
class Events {
public:
    // process writes them to its standard output, a file.
    explicit Events(pid_t process) : output("/proc/" + std::to_string(process) + "/fd/1") {}

    bool HasVlan(uint16_t vid) {
        ReadOn();
        return vlans.contains(vid);
    }
    bool IsAsCapable(size_t port) {
        ReadOn();
        return asCapable.at(port);
    }
    size_t TimesLost() {
        ReadOn();
        return timesLost;
    }

private:
    void ReadOn() {
        for (char c; output.get(c);) {
            if (c != '\n') {
                line += c;
                continue;
            }
            ReadLine();
            line.clear();
        }
        output.clear();
    }

    void ReadLine() {
        static const std::string vlan = "vlan add port mask 0x02 vid ";
        if (const size_t at = line.find(vlan); at != std::string::npos) {
            vlans.insert(static_cast<uint16_t>(std::stoul(line.substr(at + vlan.size()))));
        }
        if (line.find(" AVB capable") == std::string::npos) return;
        const bool lost = line.find("NOT") != std::string::npos;
        asCapable.at(line.find("Port 0") == std::string::npos) = !lost;
        timesLost += lost;
    }

    std::ifstream output;
    std::string line;
    std::set<uint16_t> vlans;
    std::array<bool, 2> asCapable{};
    size_t timesLost = 0;
};

// A neighbour that asks for the peer delay sixteen times a second while it lives.
class Asker {
public:
    // What became of the requests so far.
    struct Counts {
        uint32_t asked = 0;
        uint32_t responses = 0;
        uint32_t whole = 0;  // with the follow-up, which is owed within 5 ms

        Counts operator-(const Counts& from) const {
            return {asked - from.asked, responses - from.responses, whole - from.whole};
        }
    };

    explicit Asker(const std::string& interface) : port(interface), asker([this] { Run(); }) {}
    ~Asker() {
        stop = true;
        asker.join();
    }

    Counts Taken() const { return {asked, responses, whole}; }
    bool LastWasAnswered() const { return lastWasWhole; }

private:
    void Run() {
        for (uint16_t sequence = 0x4000; !stop; ++sequence) {
            port.Send(PdelayRequest(stations[1], sequence));
            const bool isThere = Comes(pdelayResp, sequence, 5s);
            const bool isWhole = isThere && Comes(pdelayRespFollowUp, sequence, 20ms);
            ++asked;
            responses += isThere;
            whole += isWhole;
            lastWasWhole = isWhole;
            std::this_thread::sleep_for(60ms);
        }
    }

    bool Comes(GptpMessage message, uint16_t sequence, std::chrono::milliseconds deadline) const {
        const auto answers = [&](const Bytes& frame) {
            return IsGptp(frame, message) && BigEndianAt(frame, gptpSequenceAt, 2) == sequence;
        };
        return port.WaitFor(answers, deadline) != nullptr;
    }

    const Port port;
    std::atomic<uint32_t> asked{0}, responses{0}, whole{0};
    std::atomic<bool> lastWasWhole{true};
    std::atomic<bool> stop{false};
    std::thread asker;
};

// Keeps the station at port 0 the selected grandmaster while it lives, as far as the flood lets it.
class Grandmaster {
public:
    Grandmaster() : sender([this] { Run(); }) {}
    ~Grandmaster() {
        stop = true;
        sender.join();
    }

private:
    void Run() const {
        for (uint16_t n = 0; !stop; ++n) {
            if (n % 8 == 0) port.Send(AnnounceOf(stations[0], n, 1));
            port.Send(SyncOf(stations[0], n));
            port.Send(FollowUpOf(stations[0], n));
            std::this_thread::sleep_for(125ms);
        }
    }

    const Port port{"peer0"};
    std::atomic<bool> stop{false};
    std::thread sender;
};

// The built daemon on the virtual switch, both ports AS capable.
class FloodedBridge {
public:
    FloodedBridge() {
        StartFreshNetwork();
        EmptyTemporaryDirectory();
        for (size_t n = 0; n < peers.size(); ++n) {
            const std::string far = "peer" + std::to_string(n);
            LayCable("port" + std::to_string(n), far);
            peers[n] = std::make_unique<GptpPeer>(far, stations[n]);
        }
        board = std::make_unique<Process>(std::vector<std::string>{NORVAD_VIRTUAL_SWITCH, "--port0", "port0", "--port1",
                                                                   "port1", "--status-socket", statusSocket, "--",
                                                                   NORVAD_DAEMON, "-n"});
        if (!board->WaitForOutput("daemon started")) Fail("the daemon did not start");
        events = std::make_unique<Events>(board->Id());
        if (!WaitFor([&] { return events->IsAsCapable(0) && events->IsAsCapable(1); })) Fail("not AS capable");
        registrar = std::make_unique<Port>("peer1");
    }

    pid_t Daemon() const { return ProcessesNamed("norvad3").at(0); }

    // How long a VLAN that is new at port 1 takes to be programmed, in ms; a neighbour repeats itself every 200 ms.
    double Register() {
        const uint16_t vid = static_cast<uint16_t>(2 + vlans++ % 4000);
        const auto begin = Clock::now();
        for (int tries = 0; tries < 150; ++tries) {
            registrar->Send(MvrpFrame(stations[1], MvrpMessage({{vid, {tries == 0 ? mrpNew : mrpJoinIn}}})));
            const auto end = Clock::now() + 200ms;
            while (Clock::now() < end) {
                if (events->HasVlan(vid)) return Milliseconds(Clock::now() - begin).count();
                std::this_thread::sleep_for(500us);
            }
        }
        Fail("a VLAN was not programmed in 30 s");
    }

    // Frames that the board took from port 0 and handed to the CPU.
    uint64_t Passed() const {
        const std::string report = RunCommand({NORVAD_VIRTUAL_SWITCH, "--status", statusSocket});
        return std::stoull(report.substr(report.find("trapped ") + 8));
    }

    // Frames that found the daemon's socket full.
    static uint64_t Dropped() {
        uint64_t dropped = 0;
        std::istringstream sockets(RunCommand({"ss", "-0", "-m", "-n"}));
        for (std::string line; std::getline(sockets, line);) {
            constexpr const char* tagged = "[56026]:eth0";  // 0xDADA
            if (line.find(tagged) != std::string::npos) dropped += std::stoull(line.substr(line.rfind(",d") + 2));
        }
        return dropped;
    }

    std::unique_ptr<Events> events;

private:
    std::array<std::unique_ptr<GptpPeer>, 2> peers;
    std::unique_ptr<Process> board;
    std::unique_ptr<Port> registrar;
    uint32_t vlans = 0;
};

using Frames = std::vector<Bytes>;

struct Kind {
    std::string name;
    Frames frames;
    bool needsGrandmaster = false;
};

// What is counted for ever, at one time.
struct Counted {
    Counted(const FloodedBridge& bridge, const Asker& asker)
        : used(ProcessorTime(bridge.Daemon())), timesLost(bridge.events->TimesLost()), peerDelay(asker.Taken()) {}

    const Clock::time_point time = Clock::now();
    const std::chrono::nanoseconds used;
    const size_t timesLost;
    const Asker::Counts peerDelay;
};

// Registers VLANs at port 1 while the flood lasts.
Samples FloodFor(FloodedBridge& bridge, const Kind& kind, uint64_t& sent, uint32_t perSecond) {
    Samples delays;
    const Flood flood("peer0", kind.frames, perSecond, sent);
    const auto end = Clock::now() + floodTime;
    while (Clock::now() < end) {
        delays.Add(bridge.Register());
        std::this_thread::sleep_for(50ms);
    }
    sent += flood.Sent();
    return delays;
}

// Until VLANs are programmed soon, both ports are AS capable and the peer delay is answered.
double SecondsToRecover(FloodedBridge& bridge, const Asker& asker) {
    const auto begin = Clock::now();
    while (bridge.Register() > Milliseconds(soonEnough).count() || !bridge.events->IsAsCapable(0) ||
           !bridge.events->IsAsCapable(1) || !asker.LastWasAnswered()) {
        std::this_thread::sleep_for(10ms);
    }
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

void Measure(FloodedBridge& bridge, const Asker& asker, const Kind& kind, uint64_t& sent, uint32_t perSecond) {
    const uint64_t passed = bridge.Passed(), dropped = FloodedBridge::Dropped(), sentBefore = sent;
    const Counted before(bridge, asker);
    const Samples delays = FloodFor(bridge, kind, sent, perSecond);
    const Counted after(bridge, asker);
    const double recovery = SecondsToRecover(bridge, asker);
    std::this_thread::sleep_for(2s);

    const double seconds = std::chrono::duration<double>(after.time - before.time).count();
    const auto perSecondOf = [&](uint64_t frames) { return static_cast<double>(frames) / seconds; };
    const auto peerDelay = after.peerDelay - before.peerDelay;
    std::printf("%-34s %7u %8.0f %8.0f %8.0f %8.1f %8.1f %4u %4u %5u %4zu %7.2f %6.0f %%\n", kind.name.c_str(),
                perSecond, perSecondOf(sent - sentBefore), perSecondOf(bridge.Passed() - passed),
                perSecondOf(FloodedBridge::Dropped() - dropped), delays.Quantile(0.5), delays.Quantile(1),
                peerDelay.asked, peerDelay.responses, peerDelay.whole, after.timesLost - before.timesLost, recovery,
                100 * std::chrono::duration<double>(after.used - before.used).count() / seconds);
}

Bytes VlansFrame(MrpEvent event) {
    return MvrpFrame(stations[0], MvrpMessage({{2, std::vector(4'093, event)}}));
}

Frames Many(size_t count, const std::function<Bytes(uint16_t)>& frame) {
    Frames frames;
    for (size_t n = 0; n < count; ++n) frames.push_back(frame(static_cast<uint16_t>(n)));
    return frames;
}

Frames One(const Bytes& frame) {
    return {frame};
}

// A clock that is better than all before.
Frames BetterAndBetter() {
    Frames frames;
    for (uint32_t n = 200'000; n > 0; --n) {
        const Bytes station = Join({FromHex("02 00 00"), BigEndian(n, 3)});
        frames.push_back(AnnounceOf(station, static_cast<uint16_t>(n), 100));
    }
    return frames;
}

Bytes TalkerFrame(uint16_t firstStream, size_t count = 1) {
    return MsrpFrame(stations[0], {msrpTalker, mrpJoinIn, TalkerValue(StreamNumber(firstStream))}, count);
}

std::vector<Kind> Kinds() {
    const auto request = [](uint16_t n) { return PdelayRequest(stations[0], n); };
    const auto sync = [](uint16_t n) { return SyncOf(stations[0], n); };
    const auto talkers = [](uint16_t n) { return TalkerFrame(static_cast<uint16_t>(n * 4'000), 4'000); };
    const auto talker = [](uint16_t n) { return TalkerFrame(n); };
    const Bytes unknown = Join({FromHex("01 80 c2 00 00 0e"), stations[0], FromHex("88 b5"), Bytes(46)});
    return {
        {"peer delay requests", Many(4096, request)},
        {"peer delay requests, one sequence", One(request(1))},
        {"Sync of the selected sender", Many(4096, sync), true},
        {"Sync, one sequence", One(sync(1)), true},
        {"peer delay responses to others", One(PdelayResponse(stations[0], PdelayRequest(stations[1], 1)))},
        {"MSRP, one talker", One(TalkerFrame(1))},
        {"MSRP, 20,000 talkers", Many(20'000, talker)},
        {"MSRP, 4,000 talkers a frame", Many(5, talkers)},
        {"MVRP, one VLAN", One(MvrpFrame(stations[0], MvrpMessage({{4000, {mrpJoinIn}}})))},
        {"MVRP, 4,093 VLANs a frame", One(VlansFrame(mrpJoinIn))},
        {"MVRP, the same joined and left", {VlansFrame(mrpJoinIn), VlansFrame(mrpLv)}},
        {"Announce, a worse clock", One(AnnounceOf(stations[0], 1, 254))},
        {"Announce, better and better", BetterAndBetter()},
        {"unknown EtherType", One(unknown)},
    };
}

void MeasureAll(const std::string& wanted) {
    std::printf("%-34s %7s %8s %8s %8s %8s %8s %4s %4s %5s %4s %7s %8s\n", "flood", "wanted", "sent/s", "passed/s",
                "lost/s", "median", "max ms", "asks", "resp", "whole", "AS-", "rec. s", "daemon");
    for (const Kind& kind : Kinds()) {
        if (kind.name.find(wanted) == std::string::npos) continue;
        FloodedBridge bridge;
        std::unique_ptr<Grandmaster> grandmaster;
        if (kind.needsGrandmaster) grandmaster = std::make_unique<Grandmaster>();
        Asker asker("peer1");
        std::this_thread::sleep_for(2s);
        uint64_t sent = 0;
        for (const uint32_t perSecond : {0, 1'000, 3'000, 10'000, 30'000, 100'000}) {
            Measure(bridge, asker, kind, sent, perSecond);
        }
    }
}

}  // namespace

}  // namespace norvad::bench

int main(int count, char** arguments) {
    norvad::test::EnterPrivateWorld({NORVAD_SOURCE_DIR, NORVAD_BINARY_DIR});
    setvbuf(stdout, nullptr, _IOLBF, 0);
    norvad::bench::MeasureAll(count > 1 ? arguments[1] : "");
    return 0;
}
