#pragma once

#include <mqueue.h>

#include <optional>
#include <string>

#include "tests/support/system/frame.h"
#include "tests/support/system/wait_for.h"

namespace norvad::test {

// A message queue of the kernel, opened as any program on the machine may.
class MessageQueue {
public:
    // Makes the queue, which must not exist; it goes with this object.
    static MessageQueue Make(const std::string& name, long messageSize, long depth = 10);

    // Opens a queue of another process; throws when there is none.
    static MessageQueue Open(const std::string& name);

    static bool Exists(const std::string& name);
    static void Remove(const std::string& name);

    MessageQueue(MessageQueue&& other) noexcept;
    ~MessageQueue();

    // False when the queue is full, or not made for a message of that length.
    bool TrySend(const Bytes& message);

    // The next message; nothing when none comes before deadline.
    std::optional<Bytes> Receive(std::chrono::milliseconds deadline = longEnough);

    // Messages that wait in it.
    long Waiting() const;

    // Whether everything sent was taken out before the deadline.
    bool WaitUntilEmpty() const;

private:
    MessageQueue(mqd_t queue, std::string made);

    mqd_t queue;
    std::string made;  // its name when this object has to remove it
};

}  // namespace norvad::test
