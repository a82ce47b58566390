// What operators who watch cost the daemon: its processor time with 1,000 streams, or as many as are named, each talker
// and listener declared again twice a second, while nobody asks, and while norvadctl watch, events or serve looks once
// a second. The last is read as by a browser that has the page open.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "bench/whole_bridge.h"
#include "tests/support/http_client.h"
#include "tests/support/system/network.h"
#include "tests/support/system/private_world.h"
#include "tests/support/system/process.h"
#include "tests/support/system/pseudo_terminal.h"

namespace norvad::bench {

namespace {

using namespace test;

constexpr std::chrono::seconds measured{60};

// The neighbours at both ports of the bridge, who declare their values often enough for every LeaveAll.
class Neighbours {
public:
    Neighbours(const Bridge& bridge, uint16_t streams) : bridge(bridge), streams(streams), thread([this] { Run(); }) {}
    ~Neighbours() {
        stop = true;
        thread.join();
    }

private:
    void Run() const {
        while (!stop) {
            for (unsigned number = 1; number <= streams; number += mostInAFrame) {
                const size_t count = std::min(mostInAFrame, streams - number + 1);
                const StreamText first = StreamNumber(static_cast<uint16_t>(number));
                bridge.ports[0]->Send(MsrpFrame(stations[0], {msrpTalker, mrpJoinIn, TalkerValue(first)}, count));
                bridge.ports[1]->Send(
                    MsrpFrame(stations[1], {msrpListener, mrpJoinIn, first.id, listenerReady}, count));
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(500));
        }
    }

    static constexpr unsigned mostInAFrame = 4'000;
    const Bridge& bridge;
    const unsigned streams;
    std::atomic<bool> stop{false};
    std::thread thread;
};

// A page that is open: it follows the events, and asks for the whole bridge whenever something changed, each second
// here.
class OpenPage {
public:
    OpenPage() {
        SetInterfaceUp("lo", true);
        server = std::make_unique<Process>(std::vector<std::string>{NORVADCTL, "serve", "--listen", "127.0.0.1:0"});
        if (!server->WaitForOutput("/\n")) Fail("norvadctl does not serve");
        const std::string url = server->Output();
        const auto port = static_cast<uint16_t>(std::stoi(url.substr(url.rfind(':') + 1)));
        const boost::asio::ip::tcp::endpoint address{boost::asio::ip::address_v4::loopback(), port};
        questions = std::make_unique<HttpClient>(address);
        events = std::thread([address] {
            HttpClient client(address);
            client.Send(Request("GET", "/api/v1/events"));
            (void)client.ReadToEnd();
        });
        usage = std::make_unique<Usage>("norvadctl serve", server->Id());
    }
    ~OpenPage() {
        server.reset();  // which ends the events
        events.join();
    }

    void Read() {
        if (Clock::now() < next) return;
        next = Clock::now() + std::chrono::seconds(1);
        (void)questions->Get("/api/v1/bridge");
    }

    void Print() const {
        usage->PrintProcessor();
        usage->PrintMemory();
    }

private:
    std::unique_ptr<Process> server;
    std::unique_ptr<HttpClient> questions;
    std::thread events;
    std::unique_ptr<Usage> usage;
    Clock::time_point next = Clock::now();
};

// The daemon's share of a core while somebody reads, and what is left of it without before.
double PrintShare(const char* name, pid_t daemon, const std::function<void()>& read, double before) {
    std::this_thread::sleep_for(std::chrono::seconds(2));  // its start is not in the time
    const auto used = ProcessorTime(daemon);
    const auto begin = Clock::now();
    while (Clock::now() - begin < measured) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        if (read) read();
    }
    const double share = 100.0 * static_cast<double>((ProcessorTime(daemon) - used).count()) /
                         static_cast<double>(std::chrono::nanoseconds(Clock::now() - begin).count());
    std::printf("%-28s %6.3f %% of a core, %6.3f %% more\n", name, share, share - before);
    return share;
}

void MeasureAll(uint16_t streams) {
    const Bridge bridge;
    const Neighbours neighbours(bridge, streams);
    const auto areThere = [streams] {
        return RunCommand({NORVADCTL, "streams", "--count"}) == std::to_string(streams) + "\n";
    };
    if (!WaitFor(areThere)) Fail("the streams did not come");

    const double alone = PrintShare("nobody asks", bridge.daemon, nullptr, 0);
    {
        PseudoTerminal watch({NORVADCTL, "watch"}, 160, 50);
        PrintShare(
            "norvadctl watch", bridge.daemon, [&] { (void)watch.Output(); }, alone);
    }
    {
        PseudoTerminal events({NORVADCTL, "events"}, 160, 50);
        PrintShare(
            "norvadctl events", bridge.daemon, [&] { (void)events.Output(); }, alone);
    }
    {
        OpenPage page;
        PrintShare(
            "norvadctl serve, a page open", bridge.daemon, [&] { page.Read(); }, alone);
        page.Print();
    }
    PrintShare("nobody asks any more", bridge.daemon, nullptr, alone);
    if (!areThere()) Fail("the streams did not stay");
}

}  // namespace

}  // namespace norvad::bench

int main(int argc, char** argv) {
    norvad::test::EnterPrivateWorld({NORVAD_SOURCE_DIR, NORVAD_BINARY_DIR});
    setvbuf(stdout, nullptr, _IOLBF, 0);
    norvad::bench::MeasureAll(argc > 1 ? static_cast<uint16_t>(std::atoi(argv[1])) : uint16_t{1'000});
    return 0;
}
