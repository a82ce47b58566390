#include "tests/support/system/peer_queue.h"

#include <fcntl.h>
#include <mqueue.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace norvad::test {
namespace {

constexpr unsigned priority = 256;

}  // namespace

PeerQueue PeerQueue::Make(const std::string& name, long messageSize, long depth) {
    return {MessageQueue::Create(name, O_RDWR | O_NONBLOCK, 0666, {depth, messageSize}), name, true};
}

PeerQueue PeerQueue::Open(const std::string& name) {
    return {MessageQueue::Open(name, O_RDWR | O_NONBLOCK), name, false};
}

bool PeerQueue::Exists(const std::string& name) {
    return MessageQueue::Open(name, O_RDONLY).IsOpen();
}

PeerQueue::PeerQueue(MessageQueue opened, const std::string& name, bool isMade) : queue(std::move(opened)) {
    if (!queue.IsOpen()) throw std::runtime_error("no message queue " + name + ": " + strerror(errno));
    if (isMade) made = name;
}

PeerQueue::PeerQueue(PeerQueue&& other) noexcept : queue(std::move(other.queue)), made(std::exchange(other.made, "")) {}

PeerQueue::~PeerQueue() {
    if (!made.empty()) MessageQueue::Remove(made);
}

bool PeerQueue::TrySend(const Bytes& message) const {
    return queue.Send(message, priority);
}

std::optional<Bytes> PeerQueue::Receive(std::chrono::milliseconds deadline) const {
    Bytes buffer(8192);
    ssize_t length = -1;
    WaitFor([&] { return (length = queue.Receive(buffer)) >= 0; }, deadline);
    if (length < 0) return {};
    return Part(buffer, 0, static_cast<size_t>(length));
}

long PeerQueue::Waiting() const {
    mq_attr attributes{};
    if (mq_getattr(queue.Descriptor(), &attributes) != 0) {
        throw std::runtime_error("a message queue without attributes");
    }
    return attributes.mq_curmsgs;
}

bool PeerQueue::WaitUntilEmpty() const {
    return WaitFor([this] { return Waiting() == 0; });
}

}  // namespace norvad::test
