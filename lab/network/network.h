#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "base/clock.h"
#include "lab/network/engine.h"
#include "lab/network/port_tally.h"
#include "switch/ports.h"

namespace norvad::network {

using Bytes = std::vector<uint8_t>;

struct Cable;

// Something with ports, in a network.
class Node {
public:
    virtual ~Node() = default;
    // A whole frame is there; its first bit came in at beganNs.
    virtual void Arrive(uint8_t port, std::span<const uint8_t> frame, uint64_t beganNs) = 0;
    // The first bit of a frame of its own leaves now.
    virtual void BeginsToLeave(uint8_t port, std::span<const uint8_t> frame) = 0;
    virtual void LinkChanged(uint8_t port, bool up) = 0;

    // Somebody outside the network may have given it something to do.
    virtual void Refresh() = 0;

private:
    friend class Network;
    std::array<std::shared_ptr<Cable>, portCount> cables;  // null: nothing is plugged in
    std::array<PortTally, portCount> tallies;
};

// The time of a network as its nodes see it.
class NetworkClock : public Clock {
public:
    explicit NetworkClock(const Engine& engine) : engine(engine) {}

    uint64_t Ns() const { return engine.NowNs(); }
    timespec Monotonic() const override;
    timeval TimeOfDay() const override;
    void Sleep(uint32_t ms) override;  // nobody may: throws std::logic_error

private:
    const Engine& engine;
};

// What a cable does to frames, in the direction from its first end and in the other.
struct CableSettings {
    std::array<uint64_t, 2> delayNs{200, 200};
    std::array<uint32_t, 2> lostPerMillion{};
    uint64_t jitterNs = 0;       // each frame is late by less than this, and none overtakes another
    uint64_t bitsPerSecond = 0;  // 0: frames take no time and never wait
    size_t queueFrames = 64;     // that wait in each queue of an end, where there is a rate
    uint64_t seed = 0;           // of its randomness
};

// Cables between the ports of nodes. Nothing moves but within Run.
class Network {
public:
    Network() = default;
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    Engine engine;
    const NetworkClock clock{engine};

    // The node outlives every Run that follows.
    void Add(Node& node) { nodes.push_back(&node); }

    // Plugs a cable in; both ends see their links come up. delayNs: from one end to the other.
    void Connect(Node& a, uint8_t portOfA, Node& b, uint8_t portOfB, uint64_t delayNs = 200);
    void Connect(Node& a, uint8_t portOfA, Node& b, uint8_t portOfB, const CableSettings& settings);
    // Pulls the cable out of that port; frames under way are lost.
    void Disconnect(Node& node, uint8_t port);

    // A node sends a frame; it arrives at the other end of the cable, if there is one. False when it found no room in
    // the queue of the port.
    bool Send(Node& from, uint8_t port, std::span<const uint8_t> frame);
    // The same for a frame that goes before all that wait; when it leaves.
    uint64_t SendNext(Node& from, uint8_t port, std::span<const uint8_t> frame);

    // What became of the frames that a port was to send.
    static const PortTally& TallyOf(const Node& node, uint8_t port) { return node.tallies.at(port); }
    // The most frames of each class that waited in a queue of the port at once since this was asked last.
    static std::array<uint32_t, trafficClassCount> TakeDeepest(Node& node, uint8_t port);
    // What the stream classes may use of a port with queues, in bytes per second; 0: all that there is.
    void Reserve(Node& node, uint8_t port, uint64_t bytesPerSecond);
    // Bits per second; 0: frames take no time.
    uint64_t RateOf(const Node& node, uint8_t port) const;

    // Sees every frame as its first bit leaves, and says whether it is carried; without one all are.
    std::function<bool(const Node& from, uint8_t port, std::span<const uint8_t> frame)> filter;

    void RunMs(uint64_t ms);
    // Runs until condition holds, at most so long; whether it holds.
    bool RunUntil(const std::function<bool()>& condition, uint64_t atMostMs);

private:
    void Refresh();
    void Begin(const std::shared_ptr<Cable>& cable, size_t from, std::span<const uint8_t> frame, uint64_t durationNs);
    void MakeQueues(const std::shared_ptr<Cable>& cable);

    std::vector<Node*> nodes;
};

}  // namespace norvad::network
