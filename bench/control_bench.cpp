// How long an operator waits for an answer while 20,000 frames a second arrive from the switch, how long the report of
// 1,000 streams keeps the daemon's loop from those frames, and of how many streams an operator gets to see a report.

#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>

#include "bench/samples.h"
#include "bench/whole_bridge.h"
#include "daemon/control/control_queues.h"
#include "daemon/pid_file.h"
#include "tests/support/system/private_world.h"
#include "tests/support/system/process.h"

namespace norvad::bench {

namespace {

using namespace test;

constexpr uint16_t streams = 1'000;
constexpr uint32_t framesPerMs = 20;

// Keeps the streams registered: one talker or listener a frame, as if from ports 0 and 1, at the switch's end of the
// CPU interface.
class FrameLoad {
public:
    FrameLoad() {
        for (uint16_t n = 1; n <= streams; ++n) {
            const StreamText stream = StreamNumber(n);
            frames.push_back(Tagged(0, MsrpFrame(stations[0], {msrpTalker, mrpJoinIn, TalkerValue(stream)})));
            frames.push_back(Tagged(1, MsrpFrame(stations[1], {msrpListener, mrpJoinIn, stream.id, listenerReady})));
        }
        sender = std::thread([this] { Run(); });
    }
    ~FrameLoad() {
        stop = true;
        sender.join();
    }

    // The most bytes that waited for the daemon at any time since the last call.
    uint64_t TakeMostWaiting() { return mostWaiting.exchange(0); }

    double FramesPerSecond() const {
        return static_cast<double>(sent) / std::chrono::duration<double>(Clock::now() - begin).count();
    }

private:
    void Run() {
        auto next = Clock::now();
        while (!stop) {
            for (uint32_t n = 0; n < framesPerMs; ++n) cpu.Send(frames[sent++ % frames.size()]);
            mostWaiting = std::max<uint64_t>(mostWaiting, WaitingBytes());
            next += std::chrono::milliseconds(1);
            std::this_thread::sleep_until(next);
        }
    }

    std::vector<Bytes> frames;
    const Port cpu{"cpu0"};
    const Clock::time_point begin = Clock::now();
    std::atomic<uint64_t> sent{0};
    std::atomic<uint64_t> mostWaiting{0};
    std::atomic<bool> stop{false};
    std::thread sender;
};

// A client that stays, so that its own start is not in the time.
class Client {
public:
    explicit Client(std::string name) : name(std::move(name)) {}
    ~Client() { queues.Remove(name); }

    // The answer to a command line; without patience for none.
    std::string Ask(const std::string& command) {
        ControlMessage message{};
        PutText(message.replyQueue, name);
        PutText(message.text, command);
        message.type = controlCommand;
        message.length = static_cast<uint32_t>(command.size());
        const auto requests = queues.Open(requestQueueName);
        if (!requests || !replies || !requests->Send(message)) Fail("no control channel");
        std::string answer;
        do {
            timespec deadline{};
            clock_gettime(CLOCK_REALTIME, &deadline);
            deadline.tv_sec += 10;
            if (replies->Receive(message, deadline) < 1) Fail("no answer");
            answer += TextOf(message.text);
        } while (!message.last);
        return answer;
    }

private:
    const std::string name;
    KernelControlQueues queues;
    std::unique_ptr<ControlQueue> replies = queues.Create(name);
};

Samples RoundTrips(Client& client, const std::string& command, int times) {
    Samples samples;
    for (int n = 0; n < times; ++n) {
        const auto begin = Clock::now();
        (void)client.Ask(command);
        samples.Add(Milliseconds(Clock::now() - begin).count());
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return samples;
}

// Nothing else is asked of the daemon meanwhile, so what it uses is the report's.
void PrintReportCost(Client& client, pid_t daemon, size_t expected) {
    Samples processor;
    for (int n = 0; n < 5; ++n) {
        const auto before = ProcessorTime(daemon);
        const std::string answer = client.Ask("norvad3 -r ");
        processor.Add(Milliseconds(ProcessorTime(daemon) - before).count());
        if (answer.size() < expected) Fail("streams are missing in the report");
        if (n == 0) std::printf("%-44s %zu bytes\n", "report of all streams", answer.size());
    }
    processor.Print("report, processor time of the daemon", "ms");
}

// So many streams, each with its talker at port 0 and its listener at port 1.
void Declare(uint16_t count) {
    const Port cpu("cpu0");
    constexpr uint16_t perFrame = 2'500;
    for (uint32_t first = 1; first <= count; first += perFrame) {
        const StreamText stream = StreamNumber(static_cast<uint16_t>(first));
        const auto values = static_cast<uint16_t>(std::min<uint32_t>(perFrame, count - first + 1));
        cpu.Send(Tagged(0, MsrpFrame(stations[0], {msrpTalker, mrpJoinIn, TalkerValue(stream)}, values)));
        cpu.Send(Tagged(1, MsrpFrame(stations[1], {msrpListener, mrpJoinIn, stream.id, listenerReady}, values)));
    }
}

// What "norvad3 -r" prints of so many streams, in 50 starts.
void PrintReportsOf(uint16_t count, Client& patient, pid_t daemon) {
    Declare(count);
    std::this_thread::sleep_for(std::chrono::seconds(2));  // until no declaration is news
    int whole = 0, cut = 0, nothing = 0;
    size_t all = 0;
    double costMs = 0;
    for (int n = 0; n < 50; ++n) {
        Declare(count);
        std::this_thread::sleep_for(std::chrono::milliseconds(37));  // anywhere in the second
        const auto before = ProcessorTime(daemon);
        all = patient.Ask("norvad3 -r ").size();
        costMs = std::max(costMs, Milliseconds(ProcessorTime(daemon) - before).count());
        Process client({NORVAD_DAEMON, "-r"});
        if (client.WaitForExit() != 0) Fail("a client did not end: " + client.Errors());
        const size_t printed = client.Output().size();
        (printed == all ? whole : printed > 0 ? cut : nothing) += 1;
    }
    std::printf("report of %5u streams, %7zu bytes: whole %2d, cut %2d, nothing %2d; %.1f ms of the daemon at most\n",
                count, all, whole, cut, nothing, costMs);
}

void MeasureReach() {
    const LoneDaemon daemon;
    std::ofstream(pidFilePath) << daemon.Id();  // so that a start is its client
    Client patient("/patient");
    for (const uint16_t count : std::initializer_list<uint16_t>{10, 45, 100, 250, 500, 1'000, 2'500, 5'000, 10'000}) {
        PrintReportsOf(count, patient, daemon.Id());
    }
}

void MeasureAll() {
    const LoneDaemon daemon;
    Client client(replyQueueName);
    RoundTrips(client, "norvad3 -s ", 300).Print("ports, round trip, no load", "ms");
    {
        FrameLoad load;
        std::this_thread::sleep_for(std::chrono::seconds(3));
        RoundTrips(client, "norvad3 -s ", 300).Print("ports, round trip under load", "ms");
        std::printf("%-44s %.0f frames/s\n", "load", load.FramesPerSecond());
        (void)load.TakeMostWaiting();
        std::this_thread::sleep_for(std::chrono::seconds(1));
        std::printf("%-44s %.0f KiB\n", "frames waiting at most, no report",
                    static_cast<double>(load.TakeMostWaiting()) / 1024);
        RoundTrips(client, "norvad3 -r ", 50).Print("report, round trip under load", "ms");
        std::printf("%-44s %.0f KiB\n", "frames waiting at most, with reports",
                    static_cast<double>(load.TakeMostWaiting()) / 1024);
    }
    // At once: without the load the registrations end with the next LeaveAll.
    PrintReportCost(client, daemon.Id(), size_t{streams} * 100);
}

}  // namespace

}  // namespace norvad::bench

int main() {
    norvad::test::EnterPrivateWorld({NORVAD_SOURCE_DIR, NORVAD_BINARY_DIR});
    setvbuf(stdout, nullptr, _IOLBF, 0);
    norvad::bench::MeasureReach();
    norvad::bench::MeasureAll();
    return 0;
}
