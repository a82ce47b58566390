#include "switch/kernel/kernel_request_queue.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/control_message.h"

namespace norvad {

KernelRequestQueue::KernelRequestQueue()
    : queue(MessageQueue::Create(requestQueueName, O_RDWR, controlQueueMode,
                                 {.messages = controlQueueDepth, .bytes = sizeof(ControlMessage)})) {
    if (!queue.IsOpen()) std::fprintf(stderr, "[Switch] creating message queue failed: %s\n", std::strerror(errno));
}

ssize_t KernelRequestQueue::Receive(std::span<uint8_t> message) {
    return queue.Receive(message);
}

}  // namespace norvad
