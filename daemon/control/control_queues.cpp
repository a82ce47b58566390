#include "daemon/control/control_queues.h"

#include <fcntl.h>

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

std::unique_ptr<ControlQueue> Owned(MessageQueue queue) {
    if (!queue.IsOpen()) return nullptr;
    return std::make_unique<KernelControlQueue>(std::move(queue));
}

}  // namespace

std::unique_ptr<ControlQueue> KernelControlQueues::Create(const std::string& name) {
    return Owned(MessageQueue::Create(name, O_RDWR, controlQueueMode,
                                      {.messages = controlQueueDepth, .bytes = sizeof(ControlMessage)}));
}

std::unique_ptr<ControlQueue> KernelControlQueues::Open(const std::string& name) {
    return Owned(MessageQueue::Open(name, O_WRONLY));
}

void KernelControlQueues::Remove(const std::string& name) {
    MessageQueue::Remove(name);
}

}  // namespace norvad
