#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "lab/network/credit_based_shaper.h"
#include "lab/network/engine.h"
#include "lab/network/port_tally.h"

namespace norvad::network {

// The way out of a port at a rate: eight queues, of which the highest that may send goes first, one frame at a time.
// The two highest are those of the stream classes and are shaped together, as the limit that a daemon programs is one
// of a VLAN and knows no class.
class EgressPort : public std::enable_shared_from_this<EgressPort> {
public:
    static constexpr size_t queueCount = 8;

    struct Settings {
        uint64_t bitsPerSecond;
        size_t queueFrames = 64;  // that find room in each queue
    };

    // A frame's first bit leaves now, and its last one so much later.
    using Begin = std::function<void(std::span<const uint8_t> frame, uint64_t durationNs)>;

    // Counts in tally, which outlives all that engine does.
    EgressPort(Engine& engine, const Settings& settings, Begin begin, PortTally& tally);

    // False when the frame found no room.
    bool Send(std::span<const uint8_t> frame);

    // Lets a frame go before all that wait, as soon as the one that is under way is out; when that is.
    uint64_t SendNext(std::span<const uint8_t> frame);

    // The rate of the stream classes, with all that a frame takes on the wire; 0: they are not shaped.
    void Reserve(uint64_t bytesPerSecond);

    size_t Waiting() const;
    // Counts what waits now, for whoever has begun to count anew.
    void CountDepths();

    // The queue of a frame: by the priority in its tag as where both stream classes are used (IEEE 802.1Q, table 34-1),
    // untagged ones to the addresses that bridges keep to themselves like priority 7.
    static size_t QueueOf(std::span<const uint8_t> frame);
    static TrafficClass ClassOf(size_t queue);

    // How long a frame, without its check sequence, is on the wire: preamble and check sequence, and the gap behind it
    // for the port.
    static uint64_t FrameNs(size_t length, uint64_t bitsPerSecond);
    static uint64_t BusyNs(size_t length, uint64_t bitsPerSecond);

private:
    void CountDepth(size_t queue);
    bool StreamsWait() const;
    void Proceed();
    void ProceedAt(uint64_t ns);
    void BeginFrame(std::vector<uint8_t> frame, bool isShaped);

    Engine& engine;
    const Settings settings;
    Begin begin;
    CreditBasedShaper shaper;
    PortTally& tally;
    std::array<std::deque<std::vector<uint8_t>>, queueCount> queues;
    uint64_t freeNs = 0;              // when the frame under way is out, and the gap behind it
    uint64_t plannedNs = UINT64_MAX;  // when Proceed comes next
};

}  // namespace norvad::network
