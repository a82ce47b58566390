#pragma once

#include <cstdint>
#include <optional>
#include <string>

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

    const StreamID& Id() const { return id; }
    // expected is how the stream's talker says that it tags its frames, where that is known.
    void Receive(uint32_t counter, const std::optional<VlanTag>& tag, const std::optional<VlanTag>& expected);
    void RunDue();
    uint64_t DueNs() const { return reportDueNs; }
    void LogCount() const;

private:
    const StreamID id;
    const std::string name;
    const Clock& clock;
    EventLog log;
    StreamCounter counter;
    uint64_t wronglyTagged = 0;
    uint64_t reported = 0;  // of counter.received
    uint64_t reportDueNs;   // never: no frames are coming
};

}  // namespace norvad::station
