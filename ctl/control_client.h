#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "ctl/control_door.h"

namespace norvad::ctl {

// No answer was to be had; what() says why, for an operator.
class NoAnswer : public std::runtime_error {
public:
    enum class Reason {
        ABSENT,   // no daemon takes requests
        DENIED,   // this user may not ask
        BUSY,     // the daemon did not come to take the request
        SILENT,   // it took the request and did not answer
        CUT_OFF,  // the answer stopped half way
        UNKNOWN   // a command was sent, and nobody knows whether it was carried out
    };

    explicit NoAnswer(Reason reason);

    const Reason reason;
};

// A patient client of the daemon. One request is outstanding at a time; what found no room, no daemon or a daemon that
// was replaced meanwhile is sent again once a second, until the patience ends.
class ControlClient {
public:
    static constexpr uint64_t retryMs = 1000;
    static constexpr uint64_t defaultPatienceMs = 5000;
    static constexpr size_t longestAnswer = size_t{64} << 20;  // bytes; more is no answer of a daemon

    explicit ControlClient(ControlDoor& door, uint64_t patienceMs = defaultPatienceMs)
        : door(door), patienceMs(patienceMs) {}

    // The whole answer to a question ("-s"), which may be put twice. Throws NoAnswer.
    std::string Ask(const std::string& words);

    // The same for a command that changes something: once a daemon took it, it is never sent again.
    std::string Command(const std::string& words);

    // For the answers from now on.
    void SetPatience(uint64_t ms) { patienceMs = ms; }

    // For whoever asks time and again: waiting, and the time.
    ControlDoor& Door() { return door; }

private:
    std::string Exchange(const std::string& words, bool mayRepeat);
    void Send(ControlMessage& request, uint64_t deadlineMs, bool expectDaemon);
    std::optional<std::string> Receive(uint64_t deadlineMs);
    void PauseWithin(uint64_t deadlineMs, NoAnswer::Reason reason);

    ControlDoor& door;
    uint64_t patienceMs;
};

}  // namespace norvad::ctl
