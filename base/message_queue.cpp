#include "base/message_queue.h"

#include <fcntl.h>
#include <mqueue.h>
#include <sys/stat.h>

#include <utility>

namespace norvad {

namespace {

char* Characters(std::span<uint8_t> bytes) {
    return reinterpret_cast<char*>(bytes.data());
}

}  // namespace

MessageQueue::MessageQueue(MessageQueue&& other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}

MessageQueue& MessageQueue::operator=(MessageQueue&& other) noexcept {
    std::swap(descriptor, other.descriptor);
    return *this;
}

MessageQueue::~MessageQueue() {
    if (IsOpen()) ::mq_close(descriptor);
}

MessageQueue MessageQueue::Create(const std::string& name, int flags, mode_t mode, const Capacity& capacity) {
    mq_attr attributes{};
    attributes.mq_maxmsg = capacity.messages;
    attributes.mq_msgsize = capacity.bytes;
    return MessageQueue(::mq_open(name.c_str(), flags | O_CREAT | O_EXCL, mode, &attributes));
}

MessageQueue MessageQueue::Open(const std::string& name, int flags) {
    return MessageQueue(::mq_open(name.c_str(), flags));
}

void MessageQueue::Remove(const std::string& name) {
    (void)::mq_unlink(name.c_str());
}

bool MessageQueue::IsLinked() const {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && status.st_nlink > 0;
}

bool MessageQueue::Permit(mode_t mode) const {
    return ::fchmod(descriptor, mode) == 0;
}

bool MessageQueue::Send(std::span<const uint8_t> message, unsigned priority) const {
    const auto* characters = message.empty() ? "" : reinterpret_cast<const char*>(message.data());
    return ::mq_send(descriptor, characters, message.size(), priority) == 0;
}

ssize_t MessageQueue::Receive(std::span<uint8_t> buffer) const {
    return ::mq_receive(descriptor, Characters(buffer), buffer.size(), nullptr);
}

ssize_t MessageQueue::Receive(std::span<uint8_t> buffer, const timespec& deadline) const {
    return ::mq_timedreceive(descriptor, Characters(buffer), buffer.size(), nullptr, &deadline);
}

}  // namespace norvad
