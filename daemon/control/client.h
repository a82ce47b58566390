#pragma once

namespace norvad {

class Clock;
class ControlQueues;

// The client: hands its command line to the running daemon and, waiting 10 ms for each piece, prints as much of the
// answer as comes, all at once at the end. 0 on success, also without an option or an answer, or when nobody reads what
// is printed; -1 when a queue is missing, which is reported on standard error. From then on SIGPIPE is ignored.
int relay(int argc, const char* const* argv, ControlQueues& queues, const Clock& clock);

}  // namespace norvad
