#pragma once

namespace norvad {

class Clock;
class ControlQueues;

// The client: hands its command line to the running daemon and prints the answer, waiting 10 ms for each piece of
// it. 0 on success, also without an option or an answer; -1 when a queue is missing, which is reported on standard
// error.
int relay(int argc, const char* const* argv, ControlQueues& queues, const Clock& clock);

}  // namespace norvad
