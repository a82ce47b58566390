#include "lab/grandmaster_reader/reading_queue.h"

#include <fcntl.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace norvad::reader {

ReadingQueue::ReadingQueue(std::string name) : name(std::move(name)) {
    mq_attr attributes{};
    attributes.mq_maxmsg = 10;
    attributes.mq_msgsize = sizeof(GrandmasterMessage);
    constexpr int flags = O_CREAT | O_EXCL | O_RDONLY | O_NONBLOCK | O_CLOEXEC;
    queue = mq_open(this->name.c_str(), flags, 0600, &attributes);
    if (queue < 0) throw std::system_error(errno, std::generic_category(), "queue " + this->name);
}

ReadingQueue::~ReadingQueue() {
    mq_close(queue);
    mq_unlink(name.c_str());
}

std::span<const uint8_t> ReadingQueue::Receive() {
    const ssize_t length = mq_receive(queue, reinterpret_cast<char*>(buffer.data()), buffer.size(), nullptr);
    return std::span(buffer).first(length < 0 ? 0 : static_cast<size_t>(length));
}

}  // namespace norvad::reader
