#include "lab/grandmaster_reader/reading_queue.h"

#include <fcntl.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace norvad::reader {

ReadingQueue::ReadingQueue(std::string name)
    : name(std::move(name)),
      queue(MessageQueue::Create(this->name, O_RDONLY | O_NONBLOCK, 0600, {10, sizeof(GrandmasterMessage)})) {
    if (!queue.IsOpen()) throw std::system_error(errno, std::generic_category(), "queue " + this->name);
}

ReadingQueue::~ReadingQueue() {
    MessageQueue::Remove(name);
}

std::span<const uint8_t> ReadingQueue::Receive() {
    const ssize_t length = queue.Receive(buffer);
    return std::span(buffer).first(length < 0 ? 0 : static_cast<size_t>(length));
}

}  // namespace norvad::reader
