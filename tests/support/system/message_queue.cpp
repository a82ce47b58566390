#include "tests/support/system/message_queue.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace norvad::test {
namespace {

constexpr mqd_t none = -1;
constexpr unsigned priority = 256;

mqd_t Checked(mqd_t queue, const std::string& name) {
    if (queue == none) throw std::runtime_error("no message queue " + name + ": " + strerror(errno));
    return queue;
}

}  // namespace

MessageQueue MessageQueue::Make(const std::string& name, long messageSize, long depth) {
    mq_attr attributes{};
    attributes.mq_maxmsg = depth;
    attributes.mq_msgsize = messageSize;
    const int flags = O_RDWR | O_CREAT | O_EXCL | O_NONBLOCK | O_CLOEXEC;
    return {Checked(mq_open(name.c_str(), flags, 0666, &attributes), name), name};
}

MessageQueue MessageQueue::Open(const std::string& name) {
    return {Checked(mq_open(name.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC), name), ""};
}

bool MessageQueue::Exists(const std::string& name) {
    const mqd_t found = mq_open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (found != none) mq_close(found);
    return found != none;
}

void MessageQueue::Remove(const std::string& name) {
    mq_unlink(name.c_str());
}

MessageQueue::MessageQueue(mqd_t queue, std::string made) : queue(queue), made(std::move(made)) {}

MessageQueue::MessageQueue(MessageQueue&& other) noexcept
    : queue(std::exchange(other.queue, none)), made(std::exchange(other.made, "")) {}

MessageQueue::~MessageQueue() {
    if (queue != none) mq_close(queue);
    if (!made.empty()) mq_unlink(made.c_str());
}

bool MessageQueue::TrySend(const Bytes& message) {
    const std::string characters(message.begin(), message.end());
    return mq_send(queue, characters.data(), characters.size(), priority) == 0;
}

std::optional<Bytes> MessageQueue::Receive(std::chrono::milliseconds deadline) {
    std::string buffer(8192, '\0');
    ssize_t length = -1;
    WaitFor([&] { return (length = mq_receive(queue, buffer.data(), buffer.size(), nullptr)) >= 0; }, deadline);
    if (length < 0) return {};
    return Bytes(buffer.begin(), buffer.begin() + length);
}

long MessageQueue::Waiting() const {
    mq_attr attributes{};
    if (mq_getattr(queue, &attributes) != 0) throw std::runtime_error("a message queue without attributes");
    return attributes.mq_curmsgs;
}

bool MessageQueue::WaitUntilEmpty() const {
    return WaitFor([this] { return Waiting() == 0; });
}

}  // namespace norvad::test
