// How long an operator waits for an answer while 20,000 frames a second arrive from the switch, and how long the report
// of 1,000 streams keeps the daemon's loop from those frames.

#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "bench/samples.h"
#include "bench/whole_bridge.h"
#include "daemon/control/control_queues.h"
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
    // The answer to a command line; without patience for none.
    std::string Ask(const std::string& command) {
        ControlMessage message{};
        PutText(message.replyQueue, replyQueueName);
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
    KernelControlQueues queues;
    std::unique_ptr<ControlQueue> replies = queues.Create(replyQueueName);
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

void MeasureAll() {
    const LoneDaemon daemon;
    Client client;
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
    norvad::bench::MeasureAll();
    return 0;
}
