#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace norvad::network {

// What the frames of one stream meet on their way to its listeners: how many are lost, and how late the others are.
class StreamMeter {
public:
    explicit StreamMeter(size_t listeners) : arrivals(listeners) {}

    struct Arrivals {
        uint64_t received = 0;
        uint64_t latencySumNs = 0;
        uint64_t leastLatencyNs = UINT64_MAX;
        uint64_t mostLatencyNs = 0;

        uint64_t MeanLatencyNs() const { return received == 0 ? 0 : latencySumNs / received; }
    };

    // counter: the frame's own, from 0 on.
    void Sent(uint32_t counter, uint64_t ns);
    void Received(size_t listener, uint32_t counter, uint64_t ns);

    // The listener leaves: what it misses until it has come again, and its next frame after that, is not lost.
    void Leave(size_t listener);
    void Come(size_t listener);

    // Frames that did not come: those that a later one has overtaken, and those that were sent before this was asked
    // last. Ask at intervals that are longer than a frame is under way.
    uint64_t Lost();

    // The largest latency that was seen since this was asked last; 0 when nothing came.
    uint64_t TakeMostLatencyNs(size_t listener);

    uint64_t SentFrames() const { return sent; }
    const Arrivals& Of(size_t listener) const { return arrivals[listener].told; }

private:
    struct Listener {
        Arrivals told;
        uint64_t mostLatelyNs = 0;  // of latencies since somebody asked
        bool isAway = false;
        std::optional<uint64_t> next;  // the frame that should come next; nothing: none is waited for
        uint64_t lost = 0;
    };

    uint64_t sent = 0;
    uint64_t sentBefore = 0;  // when Lost was asked last
    std::array<uint64_t, 256> sentNs{};
    std::vector<Listener> arrivals;
};

}  // namespace norvad::network
