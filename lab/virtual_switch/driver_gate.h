#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "base/file_descriptor.h"

struct seccomp_notif;

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

    // Answers one request that is waiting. False when nobody is left to ask.
    bool Serve(const Handler& handler);

private:
    // What becomes of a request.
    struct Outcome {
        int error = 0;              // an errno value
        bool isTheKernels = false;  // it is for another interface
    };

    Outcome Carry(const seccomp_notif& request, const Handler& handler) const;

    FileDescriptor listener;
    std::string interfaceName;
};

}  // namespace norvad::board
