#pragma once

#include <sys/time.h>

#include <cstdint>
#include <optional>

#include "base/control_message.h"

namespace norvad::ctl {

// What the client of the control channel needs of the machine: two queues and time.
class ControlDoor {
public:
    enum class Sending {
        SENT,
        FULL,    // the daemon has not come to the requests that wait already
        ABSENT,  // there is no request queue
        DENIED   // it is closed to this user
    };

    virtual ~ControlDoor() = default;

    // From now on answers come to an empty reply queue of a name that no earlier request has named. Throws
    // std::system_error when there is none to have.
    virtual void RenewReplyQueue() = 0;

    // Fills in the reply queue and hands the request over without waiting.
    virtual Sending Send(ControlMessage& request) = 0;

    // Whether the request queue that took the last request was removed since: another daemon has started.
    virtual bool RequestIsLost() const = 0;

    // The next message in the reply queue; nothing when none comes within the time, or when the terminal's size
    // changes.
    virtual std::optional<ControlMessage> Receive(uint64_t waitMs) = 0;

    virtual void Pause(uint64_t ms) = 0;

    // Ends early when the terminal's size changes, and tells whether it did.
    virtual bool PauseUntilResized(uint64_t ms) = 0;

    virtual uint64_t NowMs() const = 0;  // never steps back
    virtual timeval TimeOfDay() const = 0;

    // Whether the daemon's PID file names a live process.
    virtual bool DaemonIsRecorded() const = 0;
};

}  // namespace norvad::ctl
