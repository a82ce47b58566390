#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "base/message_queue.h"
#include "ptp/grandmaster_message.h"

namespace norvad::reader {

// The message queue that the daemon tells of grandmasters. It exists as long as this object: the daemon never makes it.
class ReadingQueue {
public:
    // Makes the queue. Throws std::system_error, also when there is one of the name already.
    explicit ReadingQueue(std::string name);
    ReadingQueue(const ReadingQueue&) = delete;
    ReadingQueue& operator=(const ReadingQueue&) = delete;
    ~ReadingQueue();

    int Descriptor() const { return queue.Descriptor(); }  // for poll

    // The next message, valid until the next call; nothing when none waits.
    std::span<const uint8_t> Receive();

private:
    std::string name;
    MessageQueue queue;
    std::array<uint8_t, sizeof(GrandmasterMessage)> buffer{};
};

}  // namespace norvad::reader
