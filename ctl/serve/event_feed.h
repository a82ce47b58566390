#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

#include "ctl/serve/bridge_state.h"

namespace norvad::ctl {

// What the followers of /api/v1/events are sent (text/event-stream): "change" for each change, with an id; "state" for
// each time that the daemon was asked, with clock and ports; first of all "history", with the clock of the last
// minutes.
class EventFeed {
public:
    static constexpr size_t mostChanges = 500;  // older ones are forgotten
    static constexpr size_t mostSamples = 600;  // of the clock: ten minutes at one a second

    // How far one follower has come.
    struct Position {
        uint64_t change = 0;  // the next one to be sent
        uint64_t state = 0;   // the last one sent
        bool hasBegun = false;
    };

    // run tells the changes of this server from those of the one before it.
    explicit EventFeed(uint64_t run) : run(run) {}

    void Add(const BridgeState& state);

    // Where a follower goes on that has seen lastId; at the oldest change when that is none of ours.
    Position PositionBehind(std::string_view lastId) const;

    // What a follower there has not seen; it then has. Of states it is only the newest.
    std::string Next(Position& position) const;

private:
    void AddChange(const Change& change, const timeval& time);
    void AddSample(const BridgeState& state);
    std::string History() const;

    const uint64_t run;
    std::deque<std::string> changes;
    uint64_t firstChange = 1;  // the number of changes.front()
    std::deque<std::string> samples;
    std::string newest;
    uint64_t states = 0;
};

}  // namespace norvad::ctl
