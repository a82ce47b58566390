#include "base/message_queue.h"

#include <fcntl.h>
#include <mqueue.h>

namespace norvad {

namespace {

class KernelMessageQueue final : public MessageQueue {
public:
    explicit KernelMessageQueue(mqd_t queue) : queue(queue) {}
    KernelMessageQueue(const KernelMessageQueue&) = delete;
    KernelMessageQueue& operator=(const KernelMessageQueue&) = delete;
    ~KernelMessageQueue() override { mq_close(queue); }

    bool Send(const ControlMessage& message) override {
        return mq_send(queue, reinterpret_cast<const char*>(&message), sizeof message, controlMessagePriority) == 0;
    }

    ssize_t Receive(ControlMessage& message, const timespec& deadline) override {
        return mq_timedreceive(queue, reinterpret_cast<char*>(&message), sizeof message, nullptr, &deadline);
    }

private:
    mqd_t queue;
};

std::unique_ptr<MessageQueue> Owned(mqd_t queue) {
    if (queue < 0) return nullptr;
    return std::make_unique<KernelMessageQueue>(queue);
}

}  // namespace

std::unique_ptr<MessageQueue> KernelMessageQueues::Create(const std::string& name) {
    mq_attr attributes{};
    attributes.mq_maxmsg = controlQueueDepth;
    attributes.mq_msgsize = sizeof(ControlMessage);
    return Owned(mq_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL, 0666, &attributes));
}

std::unique_ptr<MessageQueue> KernelMessageQueues::Open(const std::string& name) {
    return Owned(mq_open(name.c_str(), O_WRONLY));
}

void KernelMessageQueues::Remove(const std::string& name) {
    (void)mq_unlink(name.c_str());
}

}  // namespace norvad
