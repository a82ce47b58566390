#include "ctl/serve/event_feed.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "ctl/events.h"
#include "ctl/json_views.h"
#include "ctl/milliseconds.h"

namespace norvad::ctl {

namespace {

// The dumped text has no line breaks, which would end it.
std::string Event(std::string_view name, const Json& data) {
    return fmt::format("event: {}\ndata: {}\n\n", name, data.dump());
}

std::string StateEvent(const BridgeState& state) {
    const Snapshot& snapshot = state.snapshot;
    return Event("state", {{"timeMs", Milliseconds(state.time)},
                           {"daemon", {{"state", state.daemon}, {"problem", state.problem}}},
                           {"revision", state.revision},
                           {"streamCount", snapshot.streams.size()},
                           {"clock", snapshot.clock ? ClockJson(*snapshot.clock) : Json(nullptr)},
                           {"ports", PortsJson(snapshot.ports)}});
}

}  // namespace

void EventFeed::Add(const BridgeState& state) {
    for (const Change& change : state.changes) AddChange(change, state.time);
    AddSample(state);
    newest = StateEvent(state);
    ++states;
}

void EventFeed::AddChange(const Change& change, const timeval& time) {
    const uint64_t number = firstChange + changes.size();
    changes.push_back(fmt::format("id: {}-{}\n", run, number) + Event("change", EventJson(change, time)));
    if (changes.size() <= mostChanges) return;
    changes.pop_front();
    ++firstChange;
}

void EventFeed::AddSample(const BridgeState& state) {
    if (!state.snapshot.clock) return;
    samples.push_back(Json({{"timeMs", Milliseconds(state.time)}, {"clock", ClockJson(*state.snapshot.clock)}}).dump());
    if (samples.size() > mostSamples) samples.pop_front();
}

EventFeed::Position EventFeed::PositionBehind(std::string_view lastId) const {
    const std::string own = fmt::format("{}-", run);
    uint64_t number = 0;
    if (lastId.starts_with(own)) {
        lastId.remove_prefix(own.size());
        (void)std::from_chars(lastId.data(), lastId.data() + lastId.size(), number);
    }
    const uint64_t next = firstChange + changes.size();
    return {.change = number < next ? std::max(number + 1, firstChange) : firstChange};
}

std::string EventFeed::Next(Position& position) const {
    std::string text;
    if (!position.hasBegun) text = "retry: 2000\n\n" + History();
    const auto heard = static_cast<size_t>(std::max(position.change, firstChange) - firstChange);
    for (size_t index = heard; index < changes.size(); ++index) text += changes[index];
    if (position.state < states) text += newest;
    position = {firstChange + changes.size(), states, true};
    return text;
}

std::string EventFeed::History() const {
    std::string list;
    for (const std::string& sample : samples) list += (list.empty() ? "" : ",") + sample;
    return fmt::format("event: history\ndata: [{}]\n\n", list);
}

}  // namespace norvad::ctl
