#include "daemon/control/control_queues.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "base/message_queue.h"

namespace norvad {

namespace {

class KernelControlQueue final : public ControlQueue {
public:
    explicit KernelControlQueue(MessageQueue queue) : queue(std::move(queue)) {}

    bool Send(const ControlMessage& message) override { return queue.Send(BytesOf(message), controlMessagePriority); }

    ssize_t Receive(ControlMessage& message, const timespec& deadline) override {
        return queue.Receive(BufferOf(message), deadline);
    }

private:
    MessageQueue queue;
};

class KernelReplyQueue final : public ReplyQueue {
public:
    explicit KernelReplyQueue(MessageQueue queue) : queue(std::move(queue)) {}

    Outcome TrySend(const ControlMessage& message) override {
        if (queue.Send(BytesOf(message), controlMessagePriority)) return Outcome::TAKEN;
        return errno == EAGAIN && queue.IsLinked() ? Outcome::FULL : Outcome::LOST;
    }

private:
    MessageQueue queue;
};

template <typename Owner>
std::unique_ptr<Owner> Owned(MessageQueue queue) {
    if (!queue.IsOpen()) return nullptr;
    return std::make_unique<Owner>(std::move(queue));
}

}  // namespace

std::unique_ptr<ControlQueue> KernelControlQueues::Create(const std::string& name) {
    MessageQueue queue = MessageQueue::Create(name, O_RDWR, controlQueueMode,
                                              {.messages = controlQueueDepth, .bytes = sizeof(ControlMessage)});
    // The daemon may be another user, and has to get at the answers' queue whatever this user's mask is.
    if (queue.IsOpen()) (void)queue.Permit(controlQueueMode);
    return Owned<KernelControlQueue>(std::move(queue));
}

std::unique_ptr<ControlQueue> KernelControlQueues::Open(const std::string& name) {
    return Owned<KernelControlQueue>(MessageQueue::Open(name, O_WRONLY));
}

std::unique_ptr<ReplyQueue> KernelControlQueues::OpenReplies(const std::string& name) {
    return Owned<KernelReplyQueue>(MessageQueue::Open(name, O_WRONLY | O_NONBLOCK));
}

void KernelControlQueues::Remove(const std::string& name) {
    MessageQueue::Remove(name);
}

}  // namespace norvad
