#include "ctl/kernel_control_door.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include "ctl/daemon_process.h"
#include "ctl/milliseconds.h"

namespace norvad::ctl {

KernelControlDoor::KernelControlDoor() : signals(TakeSignals()) {}

KernelControlDoor::~KernelControlDoor() {
    RemoveReplyQueue();
}

// A number behind the process id tells one's own queues from one another, and from those that a killed namesake left.
void KernelControlDoor::RenewReplyQueue() {
    constexpr int attempts = 64;
    RemoveReplyQueue();
    for (int attempt = 0; attempt < attempts && !replies.IsOpen(); ++attempt) {
        const std::string name = "/norvadctl." + std::to_string(getpid()) + "." + std::to_string(++repliesMade);
        replies = MessageQueue::Create(name, O_RDONLY | O_NONBLOCK, controlQueueMode,
                                       {replyQueueDepth, sizeof(ControlMessage)});
        if (replies.IsOpen()) {
            replyName = name;
        } else if (errno != EEXIST) {
            break;
        }
    }
    // The daemon may run as another user, whom the process's mask would shut out.
    if (!replies.IsOpen() || !replies.Permit(controlQueueMode)) {
        throw std::system_error(errno, std::generic_category(), "no message queue for the answer");
    }
}

ControlDoor::Sending KernelControlDoor::Send(ControlMessage& request) {
    requests = MessageQueue();
    requests = MessageQueue::Open(requestQueueName, O_WRONLY | O_NONBLOCK);
    if (!requests.IsOpen()) return errno == EACCES ? Sending::DENIED : Sending::ABSENT;
    PutText(request.replyQueue, replyName);
    return requests.Send(BytesOf(request), controlMessagePriority) ? Sending::SENT : Sending::FULL;
}

bool KernelControlDoor::RequestIsLost() const {
    return !requests.IsLinked();
}

std::optional<ControlMessage> KernelControlDoor::Receive(uint64_t waitMs) {
    if (WaitFor(replies.Descriptor(), waitMs) != Wakening::READABLE) return {};
    ControlMessage message{};
    if (replies.Receive(BufferOf(message)) != static_cast<ssize_t>(sizeof message)) return {};
    return message;
}

void KernelControlDoor::Pause(uint64_t ms) {
    const uint64_t endMs = NowMs() + ms;
    for (uint64_t nowMs = NowMs(); nowMs < endMs; nowMs = NowMs()) (void)WaitFor(-1, endMs - nowMs);
}

bool KernelControlDoor::PauseUntilResized(uint64_t ms) {
    return WaitFor(-1, ms) == Wakening::RESIZED;
}

uint64_t KernelControlDoor::NowMs() const {
    return MonotonicMs(SystemClock());
}

timeval KernelControlDoor::TimeOfDay() const {
    return SystemClock().TimeOfDay();
}

bool KernelControlDoor::DaemonIsRecorded() const {
    return IsDaemonRecorded();
}

void KernelControlDoor::RemoveReplyQueue() {
    if (!replyName.empty()) MessageQueue::Remove(replyName);
    replyName.clear();
    replies = MessageQueue();
}

// What ends a wait of at most so long for the descriptor (-1: none).
KernelControlDoor::Wakening KernelControlDoor::WaitFor(int descriptor, uint64_t ms) const {
    std::array<pollfd, 2> set{{{signals.Get(), POLLIN, 0}, {descriptor, POLLIN, 0}}};
    const int ready = poll(set.data(), set.size(), static_cast<int>(std::min<uint64_t>(ms, INT32_MAX)));
    if (ready > 0 && set[0].revents != 0 && HeedSignal(signals)) return Wakening::RESIZED;
    return ready > 0 && set[1].revents != 0 ? Wakening::READABLE : Wakening::TIME;
}

}  // namespace norvad::ctl
