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

EgressPort::EgressPort(Engine& engine, const Settings& settings, Begin begin)
    : engine(engine), settings(settings), begin(std::move(begin)), shaper(settings.bitsPerSecond) {}

bool EgressPort::Send(std::span<const uint8_t> frame) {
    Queue& queue = queues[QueueOf(frame)];
    if (queue.frames.size() >= settings.queueFrames) {
        ++queue.lost;
        return false;
    }
    shaper.Advance(engine.NowNs(), StreamsWait());
    queue.frames.emplace_back(frame.begin(), frame.end());
    queue.deepest = std::max(queue.deepest, queue.frames.size());
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
    for (const Queue& queue : queues) frames += queue.frames.size();
    return frames;
}

bool EgressPort::StreamsWait() const {
    return std::any_of(queues.begin() + firstStreamQueue, queues.end(),
                       [](const Queue& queue) { return !queue.frames.empty(); });
}

void EgressPort::Proceed() {
    if (Waiting() == 0) return;
    const uint64_t nowNs = engine.NowNs();
    if (nowNs < freeNs) return ProceedAt(freeNs);
    shaper.Advance(nowNs, StreamsWait());
    const uint64_t streamsNs = shaper.MayBeginNs();
    for (size_t index = queueCount; index-- > 0;) {
        const bool isShaped = index >= firstStreamQueue;
        auto& [frames, sent, lost, deepest] = queues[index];
        if (frames.empty() || (isShaped && streamsNs > nowNs)) continue;
        std::vector<uint8_t> frame = std::move(frames.front());
        frames.pop_front();
        ++sent;
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

uint64_t EgressPort::FrameNs(size_t length, uint64_t bitsPerSecond) {
    return WireNs(preambleBytes + Padded(length) + checkSequenceBytes, bitsPerSecond);
}

uint64_t EgressPort::BusyNs(size_t length, uint64_t bitsPerSecond) {
    return WireNs(Padded(length) + lab::wireOverhead, bitsPerSecond);
}

}  // namespace norvad::network
