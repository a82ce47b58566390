#pragma once

#include <string>

#include "base/file_descriptor.h"
#include "base/message_queue.h"
#include "ctl/control_door.h"
#include "ctl/signals.h"

namespace norvad::ctl {

// The kernel's message queues. The reply queue is named after this process and removed with this object; SIGINT,
// SIGTERM and SIGHUP are taken from its making on, and throw Interrupted out of Receive and Pause; SIGWINCH is taken
// too.
class KernelControlDoor final : public ControlDoor {
public:
    static constexpr long replyQueueDepth = 4;  // messages: what a user's queues may hold in all is little

    KernelControlDoor();
    KernelControlDoor(const KernelControlDoor&) = delete;
    KernelControlDoor& operator=(const KernelControlDoor&) = delete;
    ~KernelControlDoor() override;

    void RenewReplyQueue() override;
    Sending Send(ControlMessage& request) override;
    bool RequestIsLost() const override;
    std::optional<ControlMessage> Receive(uint64_t waitMs) override;
    void Pause(uint64_t ms) override;
    bool PauseUntilResized(uint64_t ms) override;
    uint64_t NowMs() const override;
    timeval TimeOfDay() const override;
    bool DaemonIsRecorded() const override;

private:
    void RemoveReplyQueue();
    enum class Wakening { TIME, READABLE, RESIZED };
    Wakening WaitFor(int descriptor, uint64_t ms) const;

    const FileDescriptor signals;
    MessageQueue requests;
    MessageQueue replies;
    std::string replyName;  // empty: none is there to be removed
    unsigned repliesMade = 0;
};

}  // namespace norvad::ctl
