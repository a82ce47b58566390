#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/file_descriptor.h"
#include "tests/support/system/frame.h"
#include "tests/support/system/wait_for.h"

namespace norvad::test {

// A packet socket that hears every frame that arrives on interface, from now on, and none that leaves it; throws when
// there is none to have.
FileDescriptor ListenOn(const std::string& interface);

// One that hears nothing, to send on interface; throws the same.
FileDescriptor SendTo(const std::string& interface);

// The far end of a port's cable: sends frames into the port and keeps every frame that leaves it.
class Wire {
public:
    using Filter = std::function<bool(const Bytes& frame)>;

    // Listens on interface from now on.
    explicit Wire(const std::string& interface) : socket(ListenOn(interface)) {}

    // Throws when the kernel refuses the frame.
    void Send(const Bytes& frame);

    // The same; false instead, for a peer that outlives its cable.
    bool TrySend(const Bytes& frame);

    // All frames received so far, in order.
    const std::vector<Bytes>& Received();

    // The first frame, the skipped ones aside, that passes filter; nothing when none comes before deadline.
    std::optional<Bytes> WaitForFrame(const Filter& filter, size_t skipped = 0,
                                      std::chrono::milliseconds deadline = longEnough);

private:
    FileDescriptor socket;
    std::vector<Bytes> received;
};

}  // namespace norvad::test
