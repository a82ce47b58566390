#pragma once

#include <string>
#include <vector>

#include "tests/support/system/frame.h"
#include "tests/support/system/process.h"

namespace norvad::test {

// norvad3-virtual-switch around norvad3, with the interfaces port0 and port1 as its external ports.
class VirtualBoard {
public:
    // What the daemon under it sends has this source.
    static const Bytes& Address();

    // Where the captures are written: port0.pcap, port1.pcap, cpu.pcap.
    static constexpr const char* captures = "/tmp/captures";

    explicit VirtualBoard(const std::vector<std::string>& daemonArguments = {"-n"},
                          const std::vector<std::string>& boardArguments = {});

    // The daemon once its event loop is reached; 0 when it never is.
    pid_t WaitForDaemon() const;

    // Whether the board printed that event, count times in all, before the deadline.
    bool WaitForEvent(const std::string& event, size_t count = 1) const;

    // How often it did so far.
    size_t Events(const std::string& event) const;

    Process& Program() { return program; }

private:
    Process program;
};

// What tshark makes of a frame that the daemon sent.
struct Dissected {
    std::string protocols;  // "eth:ethertype:mrp-msrp"
    bool malformed;
};

// The frames from source in a capture file.
std::vector<Dissected> Dissect(const std::string& capture, const Bytes& source);

}  // namespace norvad::test
