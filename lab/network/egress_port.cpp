#include "lab/network/egress_port.h"

#include <algorithm>
#include <utility>

#include "base/wire.h"
#include "lab/common/ethernet_frame.h"
#include "lab/common/time.h"

namespace norvad::network {

namespace {

constexpr size_t firstStreamQueue = 6;
constexpr size_t preambleBytes = 8;
constexpr size_t checkSequenceBytes = 4;
constexpr std::array<uint8_t, 8> queueOfPriority{1, 0, 6, 7, 2, 3, 4, 5};
constexpr uint8_t controlPriority = 7;

uint64_t WireNs(size_t bytes, uint64_t bitsPerSecond) {
    constexpr uint64_t bitNs = 8 * lab::nsPerSecond;
    return (bytes * bitNs + bitsPerSecond - 1) / bitsPerSecond;
}

size_t Padded(size_t length) {
    return std::max(length, lab::minimumFrame);
}

}  // namespace

EgressPort::EgressPort(Engine& engine, const Settings& settings, Begin begin, PortTally& tally)
    : engine(engine), settings(settings), begin(std::move(begin)), shaper(settings.bitsPerSecond), tally(tally) {}

bool EgressPort::Send(std::span<const uint8_t> frame) {
    const size_t index = QueueOf(frame);
    auto& queue = queues[index];
    if (queue.size() >= settings.queueFrames) {
        ++tally.Of(ClassOf(index)).lost;
        return false;
    }
    shaper.Advance(engine.NowNs(), StreamsWait());
    queue.emplace_back(frame.begin(), frame.end());
    CountDepth(index);
    Proceed();
    return true;
}

uint64_t EgressPort::SendNext(std::span<const uint8_t> frame) {
    const uint64_t ns = std::max(engine.NowNs(), freeNs);
    freeNs = ns + BusyNs(frame.size(), settings.bitsPerSecond);
    engine.At(ns, [self = shared_from_this(), bytes = std::vector<uint8_t>(frame.begin(), frame.end())] {
        self->begin(bytes, FrameNs(bytes.size(), self->settings.bitsPerSecond));
    });
    Proceed();
    return ns;
}

void EgressPort::Reserve(uint64_t bytesPerSecond) {
    shaper.Advance(engine.NowNs(), StreamsWait());
    shaper.SetIdleSlope(8 * bytesPerSecond);
    Proceed();
}

size_t EgressPort::Waiting() const {
    size_t frames = 0;
    for (const auto& queue : queues) frames += queue.size();
    return frames;
}

void EgressPort::CountDepths() {
    for (size_t index = 0; index < queueCount; ++index) CountDepth(index);
}

void EgressPort::CountDepth(size_t queue) {
    tally.Of(ClassOf(queue)).Count(queues[queue].size());
}

bool EgressPort::StreamsWait() const {
    return std::any_of(queues.begin() + firstStreamQueue, queues.end(),
                       [](const auto& queue) { return !queue.empty(); });
}

void EgressPort::Proceed() {
    if (Waiting() == 0) return;
    const uint64_t nowNs = engine.NowNs();
    if (nowNs < freeNs) return ProceedAt(freeNs);
    shaper.Advance(nowNs, StreamsWait());
    const uint64_t streamsNs = shaper.MayBeginNs();
    for (size_t index = queueCount; index-- > 0;) {
        const bool isShaped = index >= firstStreamQueue;
        auto& frames = queues[index];
        if (frames.empty() || (isShaped && streamsNs > nowNs)) continue;
        std::vector<uint8_t> frame = std::move(frames.front());
        frames.pop_front();
        BeginFrame(std::move(frame), isShaped);
        return Waiting() > 0 ? ProceedAt(freeNs) : void();
    }
    ProceedAt(streamsNs);
}

void EgressPort::BeginFrame(std::vector<uint8_t> frame, bool isShaped) {
    const uint64_t busyNs = BusyNs(frame.size(), settings.bitsPerSecond);
    freeNs = engine.NowNs() + busyNs;
    if (isShaped) shaper.Begin(busyNs);
    begin(frame, FrameNs(frame.size(), settings.bitsPerSecond));
}

// A plan that an earlier one has replaced is let pass.
void EgressPort::ProceedAt(uint64_t ns) {
    if (ns >= plannedNs) return;
    plannedNs = ns;
    engine.At(ns, [self = shared_from_this(), ns] {
        if (self->plannedNs != ns) return;
        self->plannedNs = UINT64_MAX;
        self->Proceed();
    });
}

size_t EgressPort::QueueOf(std::span<const uint8_t> frame) {
    const auto header = Peek<lab::EthernetHeader>(frame);
    if (!header) return queueOfPriority[0];
    const auto tag = Peek<lab::VlanTagBytes>(frame, offsetof(lab::EthernetHeader, etherType));
    if (tag && tag->etherType == lab::etherTypeVlan) return queueOfPriority[lab::TagOf(tag->control).priority];
    return queueOfPriority[lab::IsControlAddress(header->destination) ? controlPriority : 0];
}

TrafficClass EgressPort::ClassOf(size_t queue) {
    using enum TrafficClass;
    constexpr std::array<TrafficClass, queueCount> classes{BEST_EFFORT, BEST_EFFORT, BEST_EFFORT, BEST_EFFORT,
                                                           BEST_EFFORT, CONTROL,     STREAMS_B,   STREAMS_A};
    return classes.at(queue);
}

uint64_t EgressPort::FrameNs(size_t length, uint64_t bitsPerSecond) {
    return WireNs(preambleBytes + Padded(length) + checkSequenceBytes, bitsPerSecond);
}

uint64_t EgressPort::BusyNs(size_t length, uint64_t bitsPerSecond) {
    return WireNs(Padded(length) + lab::wireOverhead, bitsPerSecond);
}

}  // namespace norvad::network
