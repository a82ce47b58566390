#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "lab/end_station/mrp_pdu.h"
#include "lab/network/bridge_node.h"
#include "lab/network/network.h"
#include "lab/network/station_node.h"

namespace norvad::test {

// Two bridges in a row with stations and grandmasters around them, and what happens to them:
//
//      talkers  visitors                visitors  listeners
//           1 |  | 2                      2 |  | 1
//             left 0 ------------------- 0 right
//              | 3                        | 3
//          grandmaster                second grandmaster
//
// Streams run from the talkers to the listeners and, fewer of them, between the visitors in both directions. One seed:
// a run is the same every time.
class World {
public:
    explicit World(uint32_t seed);

    // So long, with something happening every minute or so, at times before the last thing is over. All of it is over
    // when this returns.
    void RunTroubledMs(uint64_t ms);
    void RunQuietMs(uint64_t ms);

    // What the bridges show and what their boards were told, at this moment.
    std::string State();
    // What State tells most of the time in two minutes: LeaveAlls and requests that are under way are seen less often.
    std::string UsualState();
    // Bytes that the process holds when least is under way, within a minute.
    int64_t LeastBytes();

    // All streams are reserved on their way, and both bridges follow the grandmaster.
    bool IsWhole();

    // How often each kind of trouble was made, and what it came to; for people.
    std::string Account() const;

private:
    using BridgeNode = network::BridgeNode;
    using Node = network::Node;
    using StationNode = network::StationNode;

    struct Link {
        Node& a;
        uint8_t portOfA;
        Node& b;
        uint8_t portOfB;
        bool pluggedIn = false;
        bool silent = false;  // plugged in, and nothing gets through
    };
    struct Trouble {
        const char* name;
        void (World::*make)();
        uint64_t count = 0;
    };

    uint64_t NowMs() const;
    void PlugIn(Link& link);
    void PullOut(Link& link);
    bool GetsThrough(const Node& from, uint8_t port) const;
    void InMs(uint64_t ms, std::function<void()> action);
    uint64_t Between(uint64_t least, uint64_t most);
    Link& AnyLink() { return links[Between(0, links.size() - 1)]; }
    StationNode& AnyStation();
    void Say(StationNode& station, uint8_t number, const station::MrpApplication& application,
             station::MrpPduWriter& pdu);
    std::string StateOf(BridgeNode& bridge);
    void ForgetPast();

    // Each begins something that ends by itself.
    void Flap();
    void Flutter();
    void FallSilent();
    void LoseGrandmaster();
    void WithdrawListeners();
    void WithdrawVlans();
    void PutListenerOut();
    void PutTalkerOut();
    void BringPassingStreams();
    void BringPassingVlans();

    std::mt19937 random;
    network::Network network;
    BridgeNode left, right, grandmaster, secondGrandmaster;
    StationNode talkers, listeners, leftVisitor, rightVisitor;
    std::array<Link, 7> links;
    std::vector<Trouble> troubles;
    uint32_t passingStreams = 0;  // so far; none comes twice
    uint64_t grandmasterChanges = 0;
    uint64_t logLines = 0;
};

}  // namespace norvad::test
