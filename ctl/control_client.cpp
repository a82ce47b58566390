#include "ctl/control_client.h"

#include <algorithm>

namespace norvad::ctl {

namespace {

const char* TextOf(NoAnswer::Reason reason) {
    switch (reason) {
        case NoAnswer::Reason::ABSENT:
            return "no daemon runs: there is no request queue /norvad.mq";
        case NoAnswer::Reason::DENIED:
            return "this user may not ask the daemon: the request queue /norvad.mq is closed to it (members of the "
                   "group "
                   "norvad may ask the service)";
        case NoAnswer::Reason::BUSY:
            return "the daemon takes no requests: its request queue is full";
        case NoAnswer::Reason::SILENT:
            return "the daemon does not answer: it is busy, or a killed one left its request queue behind";
        case NoAnswer::Reason::CUT_OFF:
            return "the daemon's answer stopped half way";
        case NoAnswer::Reason::UNKNOWN:
            break;
    }
    return "the daemon took the command and did not answer: look whether it was carried out";
}

// The daemon takes the first word for the name of a program.
ControlMessage RequestOf(const std::string& words) {
    const std::string text = "norvadctl " + words + " ";
    ControlMessage request{};
    request.type = controlCommand;
    PutText(request.text, text);
    request.length = static_cast<uint32_t>(text.size());
    return request;
}

}  // namespace

NoAnswer::NoAnswer(Reason reason) : std::runtime_error(TextOf(reason)), reason(reason) {}

std::string ControlClient::Ask(const std::string& words) {
    return Exchange(words, true);
}

std::string ControlClient::Command(const std::string& words) {
    return Exchange(words, false);
}

std::string ControlClient::Exchange(const std::string& words, bool mayRepeat) {
    const uint64_t deadlineMs = door.NowMs() + patienceMs;
    ControlMessage request = RequestOf(words);
    bool expectDaemon = door.DaemonIsRecorded();
    for (;;) {
        // What answers an earlier request too late must not be taken for the answer to this one.
        door.RenewReplyQueue();
        Send(request, deadlineMs, expectDaemon);
        try {
            if (auto answer = Receive(deadlineMs)) return *answer;
        } catch (const NoAnswer&) {
            if (mayRepeat) throw;
        }
        if (!mayRepeat) throw NoAnswer(NoAnswer::Reason::UNKNOWN);
        expectDaemon = true;
        PauseWithin(deadlineMs, NoAnswer::Reason::SILENT);
    }
}

void ControlClient::Send(ControlMessage& request, uint64_t deadlineMs, bool expectDaemon) {
    for (;;) {
        switch (door.Send(request)) {
            case ControlDoor::Sending::SENT:
                return;
            case ControlDoor::Sending::DENIED:
                throw NoAnswer(NoAnswer::Reason::DENIED);
            case ControlDoor::Sending::ABSENT:
                if (!expectDaemon) throw NoAnswer(NoAnswer::Reason::ABSENT);
                PauseWithin(deadlineMs, NoAnswer::Reason::ABSENT);
                break;
            case ControlDoor::Sending::FULL:
                PauseWithin(deadlineMs, NoAnswer::Reason::BUSY);
                break;
        }
    }
}

// Nothing when the daemon was replaced before the last piece came.
std::optional<std::string> ControlClient::Receive(uint64_t deadlineMs) {
    std::string answer;
    bool begun = false;
    while (answer.size() <= longestAnswer) {
        const uint64_t nowMs = door.NowMs();
        if (nowMs >= deadlineMs) break;
        const auto piece = door.Receive(std::min(deadlineMs - nowMs, retryMs));
        if (!piece) {
            if (door.RequestIsLost()) return {};
            continue;
        }
        begun = true;
        answer.append(norvad::TextOf(piece->text));
        if (piece->last) return answer;
    }
    throw NoAnswer(begun ? NoAnswer::Reason::CUT_OFF : NoAnswer::Reason::SILENT);
}

void ControlClient::PauseWithin(uint64_t deadlineMs, NoAnswer::Reason reason) {
    if (door.NowMs() + retryMs > deadlineMs) throw NoAnswer(reason);
    door.Pause(retryMs);
}

}  // namespace norvad::ctl
