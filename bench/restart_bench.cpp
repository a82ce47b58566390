// How long a reserved stream is gone when the daemon is started again and no link goes down meanwhile, so that no
// neighbour notices.

#include <algorithm>
#include <csignal>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "bench/samples.h"
#include "bench/whole_bridge.h"
#include "tests/support/system/network.h"
#include "tests/support/system/private_world.h"
#include "tests/support/system/process.h"
#include "tests/support/system/virtual_board.h"

namespace norvad::bench {

namespace {

using namespace test;

constexpr int restarts = 15;
constexpr const char* stream = "02:00:00:00:00:a0:00:01";
constexpr const char* member = "multicast add port mask 0x02 vid 2 91:e0:f0:00:01:00";

// A talker and a listener with the board under test between them, which is started again while all else stays. They
// declare what they want every second. A bridge in front of the listener does not: it repeats what it declares when
// either side says LeaveAll.
class Streaming {
public:
    explicit Streaming(bool throughABridge) {
        StartFreshNetwork();
        EmptyTemporaryDirectory();
        LayCable("port0", "peer0");
        LayCable("port1", throughABridge ? "behind0" : "peer1");
        if (throughABridge) {
            LayCable("behind1", "peer1");
            bridgeBehind = Program({NORVAD_VIRTUAL_SWITCH, "--port0", "behind0", "--port1", "behind1",
                                    "--cpu-interface", "eth1", "--", NORVAD_DAEMON, "-n", "-i", "eth1"});
            others = {AwaitNewDaemon()};
        }
        board = std::make_unique<VirtualBoard>();
        talker = Program({NORVAD_END_STATION, "--interface", "peer0", "--name", "talker", "--talk", stream});
        listener = Program({NORVAD_END_STATION, "--interface", "peer1", "--name", "listener", "--listen", stream});
        AwaitReservation();
    }

    // Ends the daemon by the signal, and with it the board, and starts both again at once.
    void Restart(int signal) {
        kill(AwaitNewDaemon(), signal);
        if (!board->Program().WaitForExit()) Fail("the board did not end");
        board = std::make_unique<VirtualBoard>();
    }

    void AwaitStart() const { (void)AwaitNewDaemon(); }
    void AwaitReservation() const {
        if (!board->WaitForEvent(member)) Fail("the stream did not come back");
    }

private:
    static std::unique_ptr<Process> Program(const std::vector<std::string>& command) {
        return std::make_unique<Process>(command);
    }

    // The daemon that is none of the others, once it has reached its event loop.
    pid_t AwaitNewDaemon() const {
        pid_t found = 0;
        const auto isThere = [&] {
            for (const pid_t id : ProcessesNamed("norvad3")) {
                if (IsInEventLoop(id) && std::find(others.begin(), others.end(), id) == others.end()) found = id;
            }
            return found != 0;
        };
        if (!WaitFor(isThere)) Fail("the daemon did not start");
        return found;
    }

    std::unique_ptr<Process> bridgeBehind;
    std::vector<pid_t> others;
    std::unique_ptr<VirtualBoard> board;
    std::unique_ptr<Process> talker;
    std::unique_ptr<Process> listener;
};

void Measure(const char* name, int signal, bool throughABridge) {
    Streaming network(throughABridge);
    Samples start;
    Samples gone;
    std::mt19937 random{1015};
    for (int n = 0; n < restarts; ++n) {
        // At any moment between two of the neighbours' LeaveAlls.
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 12'500));
        const auto begin = Clock::now();
        network.Restart(signal);
        network.AwaitStart();
        start.Add(Milliseconds(Clock::now() - begin).count() / 1'000);
        network.AwaitReservation();
        gone.Add(Milliseconds(Clock::now() - begin).count() / 1'000);
    }
    start.Print((std::string(name) + ", daemon and board run again").c_str(), "s");
    gone.Print((std::string(name) + ", stream reserved again").c_str(), "s");
}

}  // namespace

}  // namespace norvad::bench

int main() {
    norvad::test::EnterPrivateWorld({NORVAD_SOURCE_DIR, NORVAD_BINARY_DIR});
    setvbuf(stdout, nullptr, _IOLBF, 0);
    norvad::bench::Measure("SIGTERM", SIGTERM, false);
    norvad::bench::Measure("SIGKILL", SIGKILL, false);
    norvad::bench::Measure("SIGTERM, bridge behind", SIGTERM, true);
    norvad::bench::Measure("SIGKILL, bridge behind", SIGKILL, true);
    return 0;
}
