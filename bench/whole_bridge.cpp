#include "bench/whole_bridge.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

#include "base/wire.h"
#include "switch/cpu_tag.h"
#include "tests/support/system/gptp_peer.h"
#include "tests/support/system/network.h"
#include "tests/support/system/private_world.h"
#include "tests/support/system/process.h"
#include "tests/support/system/virtual_board.h"

namespace norvad::bench {

const std::array<Bytes, 2> stations = {test::FromHex("02 00 00 00 00 a0"), test::FromHex("02 00 00 00 00 b1")};

void Fail(const std::string& what) {
    std::fprintf(stderr, "failed: %s\n", what.c_str());
    std::exit(1);
}

double StatusNumber(pid_t process, const std::string& field) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(field + ":")) return std::stod(line.substr(field.size() + 1));
    }
    Fail("no " + field);
}

Usage::Usage(std::string name, pid_t process)
    : name(std::move(name)),
      process(process),
      used(test::ProcessorTime(process)),
      wakeUps(StatusNumber(process, "voluntary_ctxt_switches")) {}

double Usage::WakeUpsPerSecond() const {
    return (StatusNumber(process, "voluntary_ctxt_switches") - wakeUps) / Seconds();
}

void Usage::PrintProcessor() const {
    const double busy = std::chrono::duration<double>(test::ProcessorTime(process) - used).count();
    const double passed = Seconds();
    std::printf("%-44s %.3f %% of one core, %.0f wake-ups a second, over %.0f s\n", (name + ", processor").c_str(),
                100 * busy / passed, WakeUpsPerSecond(), passed);
}

void Usage::PrintMemory() const {
    std::printf("%-44s %.0f KiB resident, %.0f KiB of them its own\n", (name + ", memory").c_str(),
                StatusNumber(process, "VmRSS"), StatusNumber(process, "RssAnon"));
}

Port::Port(const std::string& interface) try : socket(test::ListenOn(interface)) {
} catch (const std::exception& failure) {
    Fail(failure.what());
}

void Port::Send(const Bytes& frame) const {
    if (::send(socket.Get(), frame.data(), frame.size(), 0) < 0) Fail(std::string("send: ") + std::strerror(errno));
}

std::unique_ptr<Arrival> Port::WaitFor(const std::function<bool(const Bytes&)>& passes,
                                       std::chrono::milliseconds deadline) const {
    const auto end = Clock::now() + deadline;
    Bytes frame;
    while (Clock::now() < end) {
        pollfd ready{socket.Get(), POLLIN, 0};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (::poll(&ready, 1, static_cast<int>(left.count())) <= 0) continue;
        frame.resize(2048);
        const ssize_t length = ::recv(socket.Get(), frame.data(), frame.size(), 0);
        const auto now = Clock::now();
        if (length <= 0) continue;
        frame.resize(static_cast<size_t>(length));
        if (passes(frame)) return std::make_unique<Arrival>(Arrival{frame, now});
    }
    return nullptr;
}

Arrival Port::Await(const std::function<bool(const Bytes&)>& passes) const {
    const auto arrival = WaitFor(passes);
    if (!arrival) Fail("a frame did not come");
    return *arrival;
}

LoneDaemon::LoneDaemon() {
    test::StartFreshNetwork();
    test::EmptyTemporaryDirectory();
    test::LayCable("eth0", "cpu0");
    const auto begin = Clock::now();
    process = std::make_unique<test::Process>(std::vector<std::string>{NORVAD_DAEMON, "-n"});
    while (!test::IsInEventLoop(Id())) {
        if (!process->IsRunning()) Fail("the daemon ended: " + process->Errors());
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    startUp = Clock::now() - begin;
}

LoneDaemon::~LoneDaemon() = default;

pid_t LoneDaemon::Id() const {
    return process->Id();
}

Bridge::Bridge() {
    test::StartFreshNetwork();
    test::EmptyTemporaryDirectory();
    for (size_t n = 0; n < ports.size(); ++n) {
        const std::string far = "peer" + std::to_string(n);
        test::LayCable("port" + std::to_string(n), far);
        ports[n] = std::make_unique<Port>(far);
        peers[n] = std::make_unique<test::GptpPeer>(far, stations[n]);
    }
    board = std::make_unique<test::VirtualBoard>();
    daemon = board->WaitForDaemon();
    for (const char* port : {"0", "1"}) {
        if (!board->Program().WaitForOutput(std::string("Port ") + port + " IS AVB capable")) Fail("not AS capable");
    }
}

Bridge::~Bridge() = default;

test::StreamText StreamNumber(uint16_t number) {
    const Bytes id = test::BigEndian(number, 2);
    test::StreamText stream;
    stream.id = test::Join({stations[0], id});
    stream.destination = test::Join({test::FromHex("91 e0 f0 00"), id});
    return stream;
}

Bytes Tagged(uint8_t port, const Bytes& plain) {
    const CpuTag tag{ETHERTYPE_TAG, 0, 0, static_cast<uint8_t>(port << 3), {0, 0}};
    return test::Join({test::Part(plain, 0, test::etherTypeAt), test::Copy(BytesOf(tag)),
                       test::Part(plain, test::etherTypeAt, plain.size() - test::etherTypeAt)});
}

uint64_t WaitingBytes() {
    std::ifstream sockets("/proc/net/packet");
    std::string line;
    std::getline(sockets, line);
    uint64_t waiting = 0;
    while (std::getline(sockets, line)) {
        std::istringstream fields(line);
        std::string address, references, type, protocol, index, running, memory;
        fields >> address >> references >> type >> protocol >> index >> running >> memory;
        if (protocol == "dada") waiting += std::stoull(memory);
    }
    return waiting;
}

}  // namespace norvad::bench
