#include "daemon/control/client.h"

#include <signal.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include "base/clock.h"
#include "daemon/control/control_queues.h"

namespace norvad {

namespace {

constexpr long answerWaitNs = 10'000'000;

// The program name is part of it, and every argument is followed by a blank.
ControlMessage CommandOf(int argc, const char* const* argv) {
    std::string text;
    for (int i = 0; i < argc; ++i) text.append(argv[i]).append(" ");

    ControlMessage message{};
    PutText(message.replyQueue, replyQueueName);
    message.type = controlCommand;
    PutText(message.text, text);
    message.length = static_cast<uint32_t>(TextOf(message.text).size());
    return message;
}

// The nanoseconds are not carried into the seconds: in the last 10 ms of a second the kernel refuses the deadline,
// and the client ends without an answer, as it always has.
timespec AnswerDeadline(const Clock& clock) {
    const timeval now = clock.TimeOfDay();
    return {now.tv_sec, static_cast<long>(now.tv_usec) * 1000 + answerWaitNs};
}

std::string ReceiveAnswer(ControlQueue& replies, const Clock& clock) {
    std::string answer;
    ControlMessage message{};
    do {
        message = {};
        if (replies.Receive(message, AnswerDeadline(clock)) < 1) break;
        answer.append(TextOf(message.text));
    } while (!message.last);
    return answer;
}

// None where nobody takes requests.
std::optional<std::string> Exchange(int argc, const char* const* argv, ControlQueues& queues, const Clock& clock,
                                    ControlQueue& replies) {
    auto requests = queues.Open(requestQueueName);
    if (!requests) {
        std::fprintf(stderr, "[Switch] open message queue failed: %s\n", std::strerror(errno));
        return {};
    }
    (void)requests->Send(CommandOf(argc, argv));
    requests.reset();
    return ReceiveAnswer(replies, clock);
}

void Print(const std::string& answer) {
    (void)signal(SIGPIPE, SIG_IGN);
    std::fwrite(answer.data(), 1, answer.size(), stdout);
    std::fflush(stdout);
}

}  // namespace

int relay(int argc, const char* const* argv, ControlQueues& queues, const Clock& clock) {
    if (argc < 2) return 0;
    auto replies = queues.Create(replyQueueName);
    if (!replies) {
        std::fprintf(stderr, "[Switch] creating response message queue failed: %s\n", std::strerror(errno));
        return -1;
    }
    const auto answer = Exchange(argc, argv, queues, clock, *replies);
    replies.reset();
    queues.Remove(replyQueueName);
    if (!answer) return -1;
    // Only now: who reads it may take his time, or go, and leaves no queue behind that the next client stumbles over.
    Print(*answer);
    return 0;
}

}  // namespace norvad
