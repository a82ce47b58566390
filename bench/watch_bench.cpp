// What operators who watch cost the daemon: its processor time with 1,000 streams, each talker and listener declared
// again twice a second, while nobody asks, and while norvadctl watch or norvadctl events looks once a second.

#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>

#include "bench/whole_bridge.h"
#include "tests/support/system/private_world.h"
#include "tests/support/system/process.h"
#include "tests/support/system/pseudo_terminal.h"

namespace norvad::bench {

namespace {

using namespace test;

constexpr uint16_t streams = 1'000;
constexpr std::chrono::seconds measured{60};

// The neighbours at both ports of the bridge, who declare their values often enough for every LeaveAll.
class Neighbours {
public:
    explicit Neighbours(const Bridge& bridge) : bridge(bridge), thread([this] { Run(); }) {}
    ~Neighbours() {
        stop = true;
        thread.join();
    }

private:
    void Run() const {
        const StreamText first = StreamNumber(1);
        const Bytes talkers = MsrpFrame(stations[0], {msrpTalker, mrpJoinIn, TalkerValue(first)}, streams);
        const Bytes listeners = MsrpFrame(stations[1], {msrpListener, mrpJoinIn, first.id, listenerReady}, streams);
        while (!stop) {
            bridge.ports[0]->Send(talkers);
            bridge.ports[1]->Send(listeners);
            std::this_thread::sleep_for(std::chrono::milliseconds(500));
        }
    }

    const Bridge& bridge;
    std::atomic<bool> stop{false};
    std::thread thread;
};

// The daemon's share of a core while that program runs on a terminal, and what is left of it without before.
double PrintShare(const char* name, pid_t daemon, PseudoTerminal* program, double before) {
    std::this_thread::sleep_for(std::chrono::seconds(2));  // its start is not in the time
    const auto used = ProcessorTime(daemon);
    const auto begin = Clock::now();
    while (Clock::now() - begin < measured) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        if (program) (void)program->Output();
    }
    const double share = 100.0 * static_cast<double>((ProcessorTime(daemon) - used).count()) /
                         static_cast<double>(std::chrono::nanoseconds(Clock::now() - begin).count());
    std::printf("%-28s %6.3f %% of a core, %6.3f %% more\n", name, share, share - before);
    return share;
}

void MeasureAll() {
    const Bridge bridge;
    const Neighbours neighbours(bridge);
    const auto areThere = [] {
        return RunCommand({NORVADCTL, "streams", "--count"}) == std::to_string(streams) + "\n";
    };
    if (!WaitFor(areThere)) Fail("the streams did not come");

    const double alone = PrintShare("nobody asks", bridge.daemon, nullptr, 0);
    {
        PseudoTerminal watch({NORVADCTL, "watch"}, 160, 50);
        PrintShare("norvadctl watch", bridge.daemon, &watch, alone);
    }
    {
        PseudoTerminal events({NORVADCTL, "events"}, 160, 50);
        PrintShare("norvadctl events", bridge.daemon, &events, alone);
    }
    PrintShare("nobody asks any more", bridge.daemon, nullptr, alone);
    if (!areThere()) Fail("the streams did not stay");
}

}  // namespace

}  // namespace norvad::bench

int main() {
    norvad::test::EnterPrivateWorld({NORVAD_SOURCE_DIR, NORVAD_BINARY_DIR});
    setvbuf(stdout, nullptr, _IOLBF, 0);
    norvad::bench::MeasureAll();
    return 0;
}
