#include "daemon/control/control_channel.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "daemon/control/command_executor.h"
#include "daemon/control/control_queues.h"
#include "switch/switch.h"

namespace norvad {

namespace {

// A client gives up when no piece comes for 10 ms.
constexpr uint32_t retryMs = 2;

// An answer in the request queue would be taken for the next command and answered there again without end; with that
// queue full the daemon would wait for itself.
std::unique_ptr<ReplyQueue> OpenReplies(ControlQueues& queues, const std::string& name) {
    if (name != requestQueueName) return queues.OpenReplies(name);
    errno = EINVAL;
    return nullptr;
}

}  // namespace

void ControlChannel::serveControlRequest() {
    ControlMessage message{};
    const ssize_t received = bridge.Requests().Receive(BufferOf(message));
    if (received < 1) return;
    // What is too short to name its type is nothing that we know.
    if (static_cast<size_t>(received) < offsetof(ControlMessage, length)) return;

    if (message.type == controlCommand) {
        ServeCommand(message);
    } else if (message.type == controlNotification) {
        bridge.Dispatcher().HandleDaemonControlMessage();
    }
}

// The command runs even where nobody can be told.
void ControlChannel::ServeCommand(const ControlMessage& request) {
    auto replies = OpenReplies(queues, std::string(TextOf(request.replyQueue)));
    const int openError = errno;
    std::ostringstream text;
    ExecuteCommand(bridge, std::string(TextOf(request.text)), text);
    if (!replies) {
        std::fprintf(stderr, "[Switch] open user message queue failed: %s\n", std::strerror(openError));
        return;
    }
    answer.emplace(std::move(replies), request, text.str());
    HandOver();
    if (!answer) return;
    retry = ScopedTimer(bridge.Timers(), bridge.Timers().addPeriodicTimer(
                                             retryMs, retryMs, 0, [this](uint32_t) { HandOver(); }, 0));
}

void ControlChannel::HandOver() {
    if (!answer->HandOver()) return;
    answer.reset();
    retry.Cancel();
}

}  // namespace norvad
