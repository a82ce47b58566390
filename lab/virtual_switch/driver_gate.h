#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "base/file_descriptor.h"

namespace norvad::board {

// Stands in for the driver of the CPU interface. The daemon runs under a seccomp filter that hands its private
// driver requests (SIOCDEVPRIVATE) to this process; everything else goes to the kernel. The filter is inherited by
// every process the daemon forks, and needs nothing of the daemon's build.
class DriverGate {
public:
    // Carries out a record and returns 0 or an errno value.
    using Handler = std::function<int(std::span<uint8_t> record)>;

    // Puts the calling process under the filter; returns the descriptor that its requests are heard on, or -1
    // with errno set.
    static int Install();

    DriverGate() = default;
    DriverGate(FileDescriptor listener, const std::string& interfaceName);

    int Descriptor() const { return listener.Get(); }

    // Answers one request that is waiting.
    void Serve(const Handler& handler);

private:
    struct Request {
        uint64_t id;
        int process;
        uint64_t argument;  // address of the interface request in the process
    };

    bool ReceiveRequest(Request& request);
    int Carry(const Request& request, const Handler& handler, bool& isForeign);
    bool IsAlive(const Request& request) const;
    void Answer(const Request& request, int error, bool isForeign);

    FileDescriptor listener;
    std::string interfaceName;
    std::vector<uint8_t> notification;  // in the kernel's sizes, which may be larger than our header's
    std::vector<uint8_t> response;
};

}  // namespace norvad::board
