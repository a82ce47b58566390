#pragma once

namespace norvad {

class ControlQueues;
class Switch;

// Takes one request from the request queue of the switch, which must be readable, and serves it: runs a command
// and sends the answer to the queue that the request names, or hands a notification to the protocol handlers. A
// full reply queue makes it wait for the reader.
void serveControlRequest(Switch& bridge, ControlQueues& queues);

}  // namespace norvad
