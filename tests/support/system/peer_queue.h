#pragma once

#include <optional>
#include <string>

#include "base/message_queue.h"
#include "tests/support/system/frame.h"
#include "tests/support/system/wait_for.h"

namespace norvad::test {

// A message queue of the kernel, as any program on the machine may open it. Nothing waits in the kernel.
class PeerQueue {
public:
    // Makes the queue, which must not exist; it goes with this object.
    static PeerQueue Make(const std::string& name, long messageSize, long depth = 10);

    // Opens a queue of another process; throws when there is none.
    static PeerQueue Open(const std::string& name);

    static bool Exists(const std::string& name);

    PeerQueue(PeerQueue&& other) noexcept;
    ~PeerQueue();

    // False when the queue is full, or not made for a message of that length.
    bool TrySend(const Bytes& message) const;

    // The next message; nothing when none comes before deadline.
    std::optional<Bytes> Receive(std::chrono::milliseconds deadline = longEnough) const;

    // Messages that wait in it.
    long Waiting() const;

    // Whether everything sent was taken out before the deadline.
    bool WaitUntilEmpty() const;

private:
    PeerQueue(MessageQueue opened, const std::string& name, bool isMade);

    MessageQueue queue;
    std::string made;  // its name when this object has to remove it
};

}  // namespace norvad::test
