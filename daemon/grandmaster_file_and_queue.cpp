#include "daemon/grandmaster_file_and_queue.h"

#include <fcntl.h>
#include <mqueue.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "base/file_descriptor.h"
#include "base/log.h"

namespace norvad {

namespace {

constexpr mode_t fileMode = 0644;
constexpr unsigned messagePriority = 16;

// A message queue open for sending. A full one costs the message: its reader must not hold the daemon up.
class SendQueue {
public:
    explicit SendQueue(const char* name) : descriptor(mq_open(name, O_WRONLY | O_NONBLOCK | O_CLOEXEC)) {}
    SendQueue(const SendQueue&) = delete;
    SendQueue& operator=(const SendQueue&) = delete;
    ~SendQueue() {
        if (IsOpen()) mq_close(descriptor);
    }

    bool IsOpen() const { return descriptor >= 0; }
    void Send(const GrandmasterMessage& message) const {
        (void)mq_send(descriptor, reinterpret_cast<const char*>(&message), sizeof(message), messagePriority);
    }

private:
    mqd_t descriptor;
};

}  // namespace

GrandmasterFileAndQueue::GrandmasterFileAndQueue(std::string fileName, std::string queueName)
    : fileName(std::move(fileName)), queueName(std::move(queueName)) {}

void GrandmasterFileAndQueue::WriteIdentity(const ClockIdentity& identity) {
    const FileDescriptor file(open(fileName.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, fileMode));
    // Descriptor 0 is the place of standard input: what is opened there is no file of ours.
    if (file.Get() <= 0) return;
    if (write(file.Get(), identity.data(), identity.size()) == 0) log(LogCategory::PTP, 0, "write to file failed\n");
}

void GrandmasterFileAndQueue::Send(const GrandmasterMessage& message) {
    const SendQueue queue(queueName.c_str());
    if (!queue.IsOpen()) {
        (void)fprintf(stderr, "[Switch] open PTP mq failed: %s\n", strerror(errno));
        return;
    }
    queue.Send(message);
}

}  // namespace norvad
