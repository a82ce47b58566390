#pragma once

#include <sys/types.h>

#include <ctime>
#include <memory>
#include <string>

#include "base/control_message.h"

namespace norvad {

// An open message queue of the control channel.
class ControlQueue {
public:
    virtual ~ControlQueue() = default;
    virtual bool Send(const ControlMessage& message) = 0;  // waits while the queue is full; false with errno set

    // Waits for a message until the wall clock reaches the deadline; its length, or -1 with errno set.
    virtual ssize_t Receive(ControlMessage& message, const timespec& deadline) = 0;
};

// A client's queue for the answer. It never waits for its reader.
class ReplyQueue {
public:
    enum class Outcome {
        TAKEN,
        FULL,  // try again when the client has read
        LOST   // nobody will read: the queue takes no such message, or has been unlinked
    };

    virtual ~ReplyQueue() = default;
    virtual Outcome TrySend(const ControlMessage& message) = 0;
};

// The door to the control channel's queues by name.
class ControlQueues {
public:
    virtual ~ControlQueues() = default;
    virtual std::unique_ptr<ControlQueue> Create(const std::string& name) = 0;     // exclusively; null with errno set
    virtual std::unique_ptr<ControlQueue> Open(const std::string& name) = 0;       // to send; null with errno set
    virtual std::unique_ptr<ReplyQueue> OpenReplies(const std::string& name) = 0;  // to answer; null with errno set
    virtual void Remove(const std::string& name) = 0;
};

class KernelControlQueues final : public ControlQueues {
public:
    std::unique_ptr<ControlQueue> Create(const std::string& name) override;
    std::unique_ptr<ControlQueue> Open(const std::string& name) override;
    std::unique_ptr<ReplyQueue> OpenReplies(const std::string& name) override;
    void Remove(const std::string& name) override;
};

}  // namespace norvad
