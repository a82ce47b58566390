#pragma once

#include <boost/container_hash/hash.hpp>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <unordered_map>

#include "base/clock.h"
#include "lab/end_station/frame.h"
#include "lab/end_station/reservations.h"
#include "lab/end_station/stream_frame.h"

namespace norvad::station {

// Sends the frames of one stream at an even pace while it is wanted.
class StreamSender {
public:
    // framesPerSecond is above 0. An eager sender sends without a ready listener too.
    // name is what event lines call the stream: its id, where nothing else is given.
    StreamSender(const TalkerSettings& talker, uint32_t framesPerSecond, bool eager, const Clock& clock,
                 FramePort& port, EventLog log, std::string name = {});

    void SetWanted(bool wanted);  // a ready listener is registered
    void Stop();                  // for good
    void RunDue();
    uint64_t DueNs() const { return dueNs; }
    void LogCount() const;

private:
    const std::string name;
    const uint32_t framesPerSecond;
    const bool eager;
    const Clock& clock;
    FramePort& port;
    EventLog log;
    StreamFrame frame;
    uint64_t dueNs;  // never: not sending
};

// Counts the frames of one stream and tells once a second how many came.
class StreamReceiver {
public:
    static constexpr uint64_t reportNs = 1'000'000'000;

    // name is what event lines call the stream: its id, where nothing else is given.
    StreamReceiver(const StreamID& id, const Clock& clock, EventLog log, std::string name = {});

    // expected is how the stream's talker says that it tags its frames, where that is known.
    void Receive(uint32_t counter, const std::optional<VlanTag>& tag, const std::optional<VlanTag>& expected);
    void RunDue();
    uint64_t DueNs() const { return reportDueNs; }
    void LogCount() const;

private:
    const std::string name;
    const Clock& clock;
    EventLog log;
    StreamCounter counter;
    uint64_t wronglyTagged = 0;
    uint64_t reported = 0;  // of counter.received
    uint64_t reportDueNs;   // never: no frames are coming
};

// The receivers of a station: each frame finds the one of its stream, however many there are.
class StreamReceivers {
public:
    StreamReceivers(const Clock& clock, EventLog log);

    // name as for StreamReceiver. A second receiver of one stream gets no frames.
    StreamReceiver& Add(const StreamID& id, std::string name = {});
    StreamReceiver* Find(const StreamID& id);  // null where there is none
    size_t Size() const { return receivers.size(); }

    void RunDue();
    uint64_t DueNs() const;
    void LogCounts() const;  // in the order in which they were added

private:
    const Clock& clock;
    EventLog log;
    std::deque<StreamReceiver> receivers;
    std::unordered_map<StreamID, size_t, boost::hash<StreamID>> places;  // in receivers
};

}  // namespace norvad::station
