#include "daemon/control/control_channel.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>

#include "daemon/control/command_executor.h"
#include "daemon/control/control_queues.h"
#include "switch/switch.h"

namespace norvad {

namespace {

constexpr size_t longestPiece = 2048;  // characters of an answer in one message

// An answer in the request queue would be taken for the next command and answered there again without end; with that
// queue full the daemon would wait for itself.
std::unique_ptr<ControlQueue> OpenReplies(ControlQueues& queues, const std::string& name) {
    if (name != requestQueueName) return queues.Open(name);
    errno = EINVAL;
    return nullptr;
}

// An empty answer is one empty piece.
void SendAnswer(ControlQueue& replies, ControlMessage& message, std::string_view answer) {
    do {
        const std::string_view piece = answer.substr(0, longestPiece);
        answer.remove_prefix(piece.size());
        PutText(message.text, piece);
        message.last = answer.empty() ? 1 : 0;
        (void)replies.Send(message);
    } while (!message.last);
}

// The command runs even where nobody can be told.
void ServeCommand(Switch& bridge, ControlQueues& queues, ControlMessage& message) {
    const auto replies = OpenReplies(queues, std::string(TextOf(message.replyQueue)));
    const int openError = errno;
    std::ostringstream answer;
    ExecuteCommand(bridge, std::string(TextOf(message.text)), answer);
    if (!replies) {
        std::fprintf(stderr, "[Switch] open user message queue failed: %s\n", std::strerror(openError));
        return;
    }
    SendAnswer(*replies, message, answer.str());
}

}  // namespace

void serveControlRequest(Switch& bridge, ControlQueues& queues) {
    ControlMessage message{};
    const ssize_t received = bridge.Requests().Receive(BufferOf(message));
    if (received < 1) return;
    // What is too short to name its type is nothing that we know.
    if (static_cast<size_t>(received) < offsetof(ControlMessage, length)) return;

    if (message.type == controlCommand) {
        ServeCommand(bridge, queues, message);
    } else if (message.type == controlNotification) {
        bridge.Dispatcher().HandleDaemonControlMessage();
    }
}

}  // namespace norvad
