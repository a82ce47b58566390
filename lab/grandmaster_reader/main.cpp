#include <poll.h>
#include <sys/signalfd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

#include "base/file_descriptor.h"
#include "lab/common/event_lines.h"
#include "lab/grandmaster_reader/message_text.h"
#include "lab/grandmaster_reader/reading_queue.h"

namespace {

using namespace norvad;
using namespace norvad::lab;
using namespace norvad::reader;

constexpr const char* queueName = "/gptp.mq";

constexpr const char* helpText =
    "norvad3-grandmaster-reader: tells of every grandmaster that the daemon follows, one line each.\n\n"
    "It makes the message queue /gptp.mq, so it has to be there before the daemon has something to say.\n"
    "SIGTERM and SIGINT end it and remove the queue.\n";

FileDescriptor OpenEndSignals() {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&ending, signal);
    sigprocmask(SIG_BLOCK, &ending, nullptr);
    return FileDescriptor(signalfd(-1, &ending, SFD_CLOEXEC));
}

void PrintMessages(ReadingQueue& queue, const EventLines& lines) {
    for (auto bytes = queue.Receive(); !bytes.empty(); bytes = queue.Receive()) {
        const auto message = ReadMessage(bytes);
        lines.Print(message ? MessageText(*message)
                            : "a message of " + std::to_string(bytes.size()) + " bytes is none");
    }
}

void ReadUntilSignal() {
    const FileDescriptor signals = OpenEndSignals();
    ReadingQueue queue(queueName);
    const EventLines lines("grandmaster-reader");
    lines.Print(std::string("reads ") + queueName);
    std::array<pollfd, 2> ready{{{queue.Descriptor(), POLLIN, 0}, {signals.Get(), POLLIN, 0}}};
    while (ready[1].revents == 0) {
        if (poll(ready.data(), ready.size(), -1) < 0) continue;
        PrintMessages(queue, lines);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1) {
        std::printf("%s", helpText);
        return std::string_view(argv[1]) == "--help" || std::string_view(argv[1]) == "-h" ? 0 : 2;
    }
    try {
        ReadUntilSignal();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "norvad3-grandmaster-reader: %s\n", error.what());
        return 1;
    }
}
