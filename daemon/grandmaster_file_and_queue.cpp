#include "daemon/grandmaster_file_and_queue.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "base/log.h"
#include "base/message_queue.h"
#include "base/regular_file.h"

namespace norvad {

namespace {

constexpr mode_t fileMode = 0644;
constexpr unsigned messagePriority = 16;

}  // namespace

GrandmasterFileAndQueue::GrandmasterFileAndQueue(std::string fileName, std::string queueName)
    : fileName(std::move(fileName)), queueName(std::move(queueName)) {}

void GrandmasterFileAndQueue::WriteIdentity(const ClockIdentity& identity) {
    const FileDescriptor file = OpenRegularFile(fileName.c_str(), O_WRONLY | O_CREAT | O_TRUNC, fileMode);
    // Descriptor 0 is the place of standard input: what is opened there is no file of ours.
    if (file.Get() <= 0) return;
    if (write(file.Get(), identity.data(), identity.size()) == 0) log(LogCategory::PTP, 0, "write to file failed\n");
}

void GrandmasterFileAndQueue::Send(const GrandmasterMessage& message) {
    const MessageQueue queue = MessageQueue::Open(queueName, O_WRONLY | O_NONBLOCK);
    if (!queue.IsOpen()) {
        (void)fprintf(stderr, "[Switch] open PTP mq failed: %s\n", strerror(errno));
        return;
    }
    // A full queue costs the message: its reader must not hold the daemon up.
    (void)queue.Send({reinterpret_cast<const uint8_t*>(&message), sizeof(message)}, messagePriority);
}

}  // namespace norvad
