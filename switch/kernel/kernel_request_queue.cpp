#include "switch/kernel/kernel_request_queue.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace norvad {

namespace {

constexpr const char* queueName = "/norvad.mq";
constexpr long queueLength = 10;    // messages
constexpr long messageSize = 2124;  // bytes
constexpr mode_t anyUser = 0666;    // may ask; the process's mask applies

}  // namespace

KernelRequestQueue::KernelRequestQueue() {
    mq_attr attributes{};
    attributes.mq_maxmsg = queueLength;
    attributes.mq_msgsize = messageSize;
    queue = ::mq_open(queueName, O_RDWR | O_CREAT | O_EXCL, anyUser, &attributes);
    if (queue < 0) std::fprintf(stderr, "[Switch] creating message queue failed: %s\n", std::strerror(errno));
}

KernelRequestQueue::~KernelRequestQueue() {
    if (queue >= 0) ::mq_close(queue);
}

ssize_t KernelRequestQueue::Receive(std::span<uint8_t> message) {
    return ::mq_receive(queue, reinterpret_cast<char*>(message.data()), message.size(), nullptr);
}

}  // namespace norvad
