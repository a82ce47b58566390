#include "lab/end_station/stream_traffic.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>

#include "lab/common/time.h"
#include "lab/end_station/text.h"

namespace norvad::station {

using namespace lab;

namespace {

std::string TagText(const std::optional<VlanTag>& tag) {
    if (!tag) return "untagged";
    return fmt::format("vid {} priority {}", tag->vid, tag->priority);
}

std::string NameOf(const StreamID& id, std::string name) {
    return name.empty() ? HexText(id) : std::move(name);
}

}  // namespace

StreamSender::StreamSender(const TalkerSettings& talker, uint32_t framesPerSecond, bool eager, const Clock& clock,
                           FramePort& port, EventLog log, std::string name)
    : name(NameOf(talker.id, std::move(name))),
      framesPerSecond(framesPerSecond),
      eager(eager),
      clock(clock),
      port(port),
      log(std::move(log)),
      frame(talker.id, talker.destination, port.Address(), talker.tag, talker.maxFrameSize),
      dueNs(never) {
    SetWanted(false);
}

void StreamSender::SetWanted(bool wanted) {
    const bool sends = wanted || eager;
    if (sends == (dueNs != never)) return;
    if (!sends) return Stop();
    dueNs = NowNs(clock);
    log(fmt::format("sends {} {} frames/s", name, framesPerSecond));
}

void StreamSender::Stop() {
    if (dueNs == never) return;
    dueNs = never;
    log("stops sending " + name);
}

// A sender that was held up catches up with a short burst at most; what is beyond that is not sent at all.
void StreamSender::RunDue() {
    constexpr uint32_t longestBurst = 16;
    const uint64_t now = NowNs(clock);
    for (uint32_t sent = 0; dueNs <= now && sent < longestBurst; ++sent) {
        (void)port.Send(frame.Next());
        dueNs += nsPerSecond / framesPerSecond;
    }
    if (dueNs <= now) dueNs = now + nsPerSecond / framesPerSecond;
}

void StreamSender::LogCount() const {
    log(fmt::format("sent {} {} frames", name, frame.Count()));
}

StreamReceiver::StreamReceiver(const StreamID& id, const Clock& clock, EventLog log, std::string name)
    : name(NameOf(id, std::move(name))), clock(clock), log(std::move(log)), reportDueNs(never) {}

void StreamReceiver::Receive(uint32_t count, const std::optional<VlanTag>& tag,
                             const std::optional<VlanTag>& expected) {
    if (reportDueNs == never) {
        reportDueNs = NowNs(clock) + reportNs;
        log(fmt::format("{} frames begin {}", name, TagText(tag)));
    }
    counter.Count(count);
    if (expected && tag != expected) ++wronglyTagged;
}

void StreamReceiver::RunDue() {
    if (NowNs(clock) < reportDueNs) return;
    const uint64_t frames = counter.received - std::exchange(reported, counter.received);
    if (frames > 0) {
        reportDueNs += reportNs;
        return log(fmt::format("receiving {} {} frames/s", name, frames));
    }
    reportDueNs = never;
    counter.Resume();
    log(name + " frames stopped");
}

void StreamReceiver::LogCount() const {
    log(fmt::format("received {} {} frames, lost {}, out of order {}, wrongly tagged {}", name, counter.received,
                    counter.lost, counter.reordered, wronglyTagged));
}

StreamReceivers::StreamReceivers(const Clock& clock, EventLog log) : clock(clock), log(std::move(log)) {}

StreamReceiver& StreamReceivers::Add(const StreamID& id, std::string name) {
    places.try_emplace(id, receivers.size());
    return receivers.emplace_back(id, clock, log, std::move(name));
}

StreamReceiver* StreamReceivers::Find(const StreamID& id) {
    const auto found = places.find(id);
    return found == places.end() ? nullptr : &receivers[found->second];
}

void StreamReceivers::RunDue() {
    for (auto& receiver : receivers) receiver.RunDue();
}

uint64_t StreamReceivers::DueNs() const {
    uint64_t dueNs = never;
    for (const auto& receiver : receivers) dueNs = std::min(dueNs, receiver.DueNs());
    return dueNs;
}

void StreamReceivers::LogCounts() const {
    for (const auto& receiver : receivers) receiver.LogCount();
}

}  // namespace norvad::station
