#pragma once

#include <cstdint>

#include "mrp/mrp_types.h"
#include "msrp/msrp_wire.h"

namespace norvad {

// Which ports a stream may connect. The daemon's host sits behind the local ports 5 and 6; a stream of its own talker
// or listener whose unique id begins with one of four selector values is bound to one external port.

// One end of a path: a port and its states.
struct PathEnd {
    uint8_t port;
    bool stpUp;
    bool avbUp;
    bool peerIsSameMake;
};

enum class Path : uint8_t {
    Open,
    Closed,
    BoundElsewhere,  // closed because the selector binds the stream to the other external port; worth a log line
};

// Whether a listener registered at one port reaches a talker registered at another for this event.
Path ListenerPath(const StreamID& id, const PathEnd& listener, const PathEnd& talker, Event event);

// Whether a talker registered on port from may be declared on port to.
bool TalkerMayCross(const StreamID& id, uint8_t from, uint8_t to);

}  // namespace norvad
