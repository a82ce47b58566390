#pragma once

#include <sys/types.h>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "base/file_descriptor.h"
#include "tests/support/system/frame.h"
#include "tests/support/system/msrp_frame.h"
#include "tests/support/system/wire.h"

namespace norvad::test {
class GptpPeer;
class Process;
class VirtualBoard;
}  // namespace norvad::test

namespace norvad::bench {

using test::Bytes;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

// What a benchmark of built programs is made of. All of it ends the program with status 1 when it fails.

[[noreturn]] void Fail(const std::string& what);

extern const std::array<Bytes, 2> stations;  // addresses of the neighbours at ports 0 and 1

// A number in /proc/PID/status. Memory is in KiB: "VmRSS" is what is resident, "RssAnon" the process's own of it.
double StatusNumber(pid_t process, const std::string& field);

// What a process costs from the making of this object on: its processor share, how often it wakes, and its memory.
class Usage {
public:
    Usage(std::string name, pid_t process);
    double WakeUpsPerSecond() const;
    void PrintProcessor() const;
    void PrintMemory() const;

private:
    double Seconds() const { return std::chrono::duration<double>(Clock::now() - begin).count(); }

    std::string name;
    pid_t process;
    std::chrono::nanoseconds used;
    double wakeUps;
    Clock::time_point begin = Clock::now();
};

struct Arrival {
    Bytes frame;
    Clock::time_point time;
};

// A socket on one interface; its reader wakes as soon as a frame is there.
class Port {
public:
    explicit Port(const std::string& interface);

    void Send(const Bytes& frame) const;

    // The first frame that passes, among those that have not been looked at; nothing when none comes in time.
    std::unique_ptr<Arrival> WaitFor(const std::function<bool(const Bytes&)>& passes,
                                     std::chrono::milliseconds deadline = std::chrono::seconds(5)) const;

    // The same, without patience for none.
    Arrival Await(const std::function<bool(const Bytes&)>& passes) const;

private:
    FileDescriptor socket;
};

// The built daemon in a network of its own whose CPU interface is a bare cable, once it has reached its event loop: no
// port has a link, but frames from the far end, cpu0, are handled.
class LoneDaemon {
public:
    LoneDaemon();
    ~LoneDaemon();

    pid_t Id() const;
    Milliseconds startUp{};

private:
    std::unique_ptr<test::Process> process;
};

// The built daemon on the virtual switch, in a network of its own, with neighbours that make both ports AS capable.
class Bridge {
public:
    Bridge();
    ~Bridge();

    std::array<std::unique_ptr<Port>, 2> ports;  // the far ends of the ports' cables
    pid_t daemon = 0;

private:
    std::array<std::unique_ptr<test::GptpPeer>, 2> peers;
    std::unique_ptr<test::VirtualBoard> board;
};

// Streams of the station at port 0.
test::StreamText StreamNumber(uint16_t number);

// A frame from a port as the switch hands it to the CPU.
Bytes Tagged(uint8_t port, const Bytes& plain);

// Bytes that wait in packet sockets for frames from the switch; the daemon has the only one.
uint64_t WaitingBytes();

}  // namespace norvad::bench
