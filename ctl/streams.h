#pragma once

#include <optional>
#include <vector>

#include "ctl/answers.h"
#include "ctl/model.h"

namespace norvad::ctl {

enum class Reserved {
    YES,
    NO,
    UNKNOWN  // a listener that asks failed keeps the reservation that it had when it was ready, if it ever was
};

// All that the ports say of one stream.
struct Stream {
    Id id = 0;
    std::vector<TalkerRecord> talkers;  // by port, a failed talker behind a talker
    std::vector<ListenerRecord> listeners;

    // What the talker's neighbour declares; without one, what this bridge still declares to others. Null for a stream
    // that has listeners only.
    const TalkerRecord* Talker() const;

    // Where the talker is heard: nothing when no neighbour declares it.
    std::optional<unsigned> TalkerPort() const;

    // The failure to tell of: the one that arrived with the talker, or else the first that this bridge declares.
    const TalkerRecord* Failed() const;

    // Whether the stream is reserved on the port of a listener of it, as far as it follows from the records: the daemon
    // reserves when a registered listener is ready and is carried on to a talker on another port.
    Reserved ReservedFor(const ListenerRecord& listener) const;

    // Some record of it stands on that port.
    bool IsOn(unsigned port) const;

    bool operator==(const Stream&) const = default;
};

// The streams in ascending order of StreamID.
std::vector<Stream> GroupByStream(const StreamsAnswer& answer);

}  // namespace norvad::ctl
