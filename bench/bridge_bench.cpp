// The built daemon, measured from outside: start-up, memory and processor share at rest, the way of a talker and of a
// listener's answer from wire to wire on the virtual switch, and frames per second through the event loop.

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <string>
#include <thread>

#include "bench/samples.h"
#include "bench/whole_bridge.h"
#include "tests/support/system/network.h"
#include "tests/support/system/private_world.h"
#include "tests/support/system/process.h"

namespace norvad::bench {

namespace {

using namespace test;

// Until the event loop runs. The wait for the interface, 200 ms, is part of it.
void MeasureStartUp(int runs) {
    Samples startUp;
    for (int run = 0; run < runs; ++run) {
        const LoneDaemon daemon;
        startUp.Add(daemon.startUp.count());
    }
    startUp.Print("start-up to event loop", "ms");
}

// A process that only wakes, so many times a second: the part of a share that is the machine's, not the daemon's.
class BareSleeper {
public:
    explicit BareSleeper(double wakeUpsPerSecond) : id(fork()) {
        if (id < 0) Fail("fork");
        if (id > 0) return;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const timespec pause{0, static_cast<long>(1e9 / wakeUpsPerSecond)};
        for (;;) ppoll(nullptr, 0, &pause, nullptr);
    }
    ~BareSleeper() {
        kill(id, SIGKILL);
        waitpid(id, nullptr, 0);
    }
    BareSleeper(const BareSleeper&) = delete;
    BareSleeper& operator=(const BareSleeper&) = delete;

    pid_t Id() const { return id; }

private:
    pid_t id;
};

// A process at rest, and beside it, in the same seconds, one that wakes as often for nothing.
void MeasureRestOf(const std::string& name, pid_t process, int seconds) {
    const Usage before(name, process);
    std::this_thread::sleep_for(std::chrono::seconds(10));
    const BareSleeper bare(before.WakeUpsPerSecond());
    const Usage usage(name, process);
    const Usage bareUsage("  as many wake-ups of a bare process", bare.Id());
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    usage.PrintProcessor();
    bareUsage.PrintProcessor();
    usage.PrintMemory();
}

void MeasureRest(int seconds) {
    {
        const LoneDaemon daemon;
        MeasureRestOf("at rest, no link", daemon.Id(), seconds);
    }
    const Bridge bridge;
    std::this_thread::sleep_for(std::chrono::seconds(8));  // it takes itself for the grandmaster then
    MeasureRestOf("grandmaster on two AS capable ports", bridge.daemon, seconds);
}

// Lone changes: what the pacing of transmit opportunities adds to crowded ones is not measured here.
void MeasureWireToWire(uint16_t streams) {
    const Bridge bridge;
    Samples talkerSamples;
    Samples listenerSamples;
    const auto measure = [&](Samples& samples, size_t from, const MsrpValue& value) {
        const auto begin = Clock::now();
        bridge.ports[from]->Send(MsrpFrame(stations[from], value));
        const auto type = static_cast<MsrpType>(value.type);
        const Bytes id = Part(value.firstValue, 0, 8);
        const auto arrival = bridge.ports[1 - from]->Await([&](const Bytes& f) { return Declares(f, type, id); });
        samples.Add(Milliseconds(arrival.time - begin).count());
    };
    for (uint16_t number = 1; number <= streams; ++number) {
        const StreamText stream = StreamNumber(number);
        measure(talkerSamples, 0, {msrpTalker, mrpNew, TalkerValue(stream)});
        measure(listenerSamples, 1, {msrpListener, mrpNew, stream.id, listenerReady});
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    talkerSamples.Print("talker, port 0 to port 1", "ms");
    listenerSamples.Print("listener, port 1 to port 0", "ms");
}

// In bursts that the daemon's socket holds, so that none is lost.
void MeasureEventLoop(const char* name, const Bytes& frame, uint32_t frames) {
    constexpr uint32_t burst = 100;
    const LoneDaemon daemon;
    const Port cpu("cpu0");

    const auto used = ProcessorTime(daemon.Id());
    const auto begin = Clock::now();
    for (uint32_t sent = 0; sent < frames; sent += burst) {
        for (uint32_t n = 0; n < burst; ++n) cpu.Send(frame);
        while (WaitingBytes() > 0) {
        }
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    const double busy = std::chrono::duration<double>(ProcessorTime(daemon.Id()) - used).count();
    std::printf("%-44s %.0f frames/s, %.2f us of processor time a frame\n", name, frames / seconds,
                busy * 1e6 / frames);
}

void MeasureAll() {
    MeasureStartUp(20);
    MeasureRest(30);
    MeasureWireToWire(60);
    Bytes lldp = FromHex("01 80 c2 00 00 0e 02 00 00 00 00 a0 88 cc");
    lldp.resize(60);
    MeasureEventLoop("event loop, LLDP frames", Tagged(0, lldp), 200'000);
    const Bytes talker = MsrpFrame(stations[0], {msrpTalker, mrpJoinIn, TalkerValue(StreamNumber(1))});
    MeasureEventLoop("event loop, MSRP frames with one talker", Tagged(0, talker), 200'000);
}

}  // namespace

}  // namespace norvad::bench

int main() {
    norvad::test::EnterPrivateWorld({NORVAD_SOURCE_DIR, NORVAD_BINARY_DIR});
    setvbuf(stdout, nullptr, _IOLBF, 0);
    norvad::bench::MeasureAll();
    return 0;
}
