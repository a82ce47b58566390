#pragma once

#include <optional>

#include "base/control_message.h"
#include "base/timer_service.h"
#include "daemon/control/answer.h"

namespace norvad {

class ControlQueues;
class Switch;

// Serves the operators' requests, one after the other. A client that does not read holds up the clients behind it and
// nothing else.
class ControlChannel {
public:
    // Both outlive the channel, which drops what it has not handed over.
    ControlChannel(Switch& bridge, ControlQueues& queues) : bridge(bridge), queues(queues) {}
    ControlChannel(const ControlChannel&) = delete;
    ControlChannel& operator=(const ControlChannel&) = delete;

    // Takes one request from the request queue of the switch, which must be readable, and serves it: runs a command and
    // sends the answer to the queue that the request names, or hands a notification to the protocol handlers. What a
    // full reply queue does not take follows when its reader has made room, or is dropped when it has been unlinked.
    void serveControlRequest();

    // The answer to the last request is not wholly handed over: the next has to wait.
    bool IsAnswering() const { return answer.has_value(); }

private:
    void ServeCommand(const ControlMessage& request);
    void HandOver();

    Switch& bridge;
    ControlQueues& queues;
    std::optional<Answer> answer;  // while the reply queue is full
    ScopedTimer retry;             // meanwhile
};

}  // namespace norvad
