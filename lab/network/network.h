#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <tuple>
#include <utility>
#include <vector>

#include "lab/network/stepped_clock.h"

namespace norvad::test {

using Bytes = std::vector<uint8_t>;

// Something with ports, on the common clock.
class Node {
public:
    virtual ~Node() = default;
    virtual void RunDue() = 0;           // does what is due
    virtual uint64_t DueNs() const = 0;  // when RunDue has something to do next
    virtual void Arrive(uint8_t port, std::span<const uint8_t> frame, uint64_t ns) = 0;
    virtual void LinkChanged(uint8_t port, bool up) = 0;
};

// Cables between the ports of nodes, and the one clock of them all. Nothing moves but within Run.
class Network {
public:
    SteppedClock clock;

    void Add(Node& node) { nodes.push_back(&node); }

    // Plugs a cable in; both ends see their links come up. delayNs: from one end to the other.
    void Connect(Node& a, uint8_t portOfA, Node& b, uint8_t portOfB, uint64_t delayNs = 200);
    // Pulls the cable out of that port; frames under way are lost.
    void Disconnect(Node& node, uint8_t port);

    // A node sends a frame; it arrives at the other end of the cable, if there is one.
    void Send(Node& from, uint8_t port, std::span<const uint8_t> frame);

    // Sees every frame as it is sent, and says whether it is carried; without one all are.
    std::function<bool(const Node& from, uint8_t port, std::span<const uint8_t> frame)> filter;

    void RunMs(uint64_t ms);
    // Runs until condition holds, at most so long; whether it holds.
    bool RunUntil(const std::function<bool()>& condition, uint64_t atMostMs);

private:
    using End = std::pair<Node*, uint8_t>;
    struct Cable {
        End farEnd;
        uint64_t delayNs;
    };
    struct Delivery {
        End to;
        Bytes frame;
    };

    void Step(uint64_t untilNs);
    void DeliverDue();
    uint64_t NextDueNs() const;

    std::vector<Node*> nodes;
    std::map<End, Cable> cables;
    std::multimap<uint64_t, Delivery> underWay;  // by arrival
};

}  // namespace norvad::test
