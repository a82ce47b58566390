#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "lab/network/bridge_node.h"
#include "lab/network/network.h"
#include "lab/network/program/scenario.h"
#include "lab/network/program/stream_meter.h"
#include "lab/network/random.h"
#include "lab/network/station_node.h"

namespace norvad::network {

// A stream and one station that listens to it.
struct Subscription {
    size_t talker, listener;  // stations
    uint16_t number;          // of the talker's streams
    size_t meter;             // of the stream
    size_t route;             // the place of both in the list of these
    size_t place;             // of the listener in the meter
};

// From a station to another that listens to it.
struct Route {
    size_t talker, listener;
};

// Frames that were lost so far, whatever they were.
struct Losses {
    uint64_t atFullQueues = 0;
    uint64_t onCables = 0;  // by chance
    uint64_t cutOff = 0;    // waited or were under way as their cable was pulled out
    uint64_t beforeDaemons = 0;
};

// The network of a scenario, alive: its bridges, stations and links, and what happens to them.
class Scene {
public:
    // Logs of bridges, by their places; times are since the beginning.
    using Logs = std::map<size_t, BridgeNode::Log>;
    explicit Scene(const Scenario& scenario, const Logs& logs = {});
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    // Sees each frame on the link at that port, in both directions, as its first bit leaves its sender. Throws
    // StartError where no link is.
    using FrameWatcher = std::function<void(std::span<const uint8_t> frame, uint64_t ns)>;
    void Watch(const std::string& bridgeAndPort, FrameWatcher watcher);

    // Hears of each event as it happens.
    std::function<void(const EventPlan& event)> onEvent;

    uint64_t Ns() const { return network.clock.Ns() - startNs; }  // since the beginning
    void RunUntil(uint64_t ns);

    size_t Bridges() const { return bridges.size(); }
    // The bridge that this one takes its time from in the end, which may be itself; nothing while it follows nobody.
    std::optional<size_t> GrandmasterOf(size_t bridge) const;
    // How far a bridge's clock is ahead of another's.
    int64_t AheadNs(size_t bridge, size_t other) { return bridges[bridge].AheadNs(bridges[other]); }

    const std::vector<Subscription>& Subscriptions() const { return subscriptions; }
    const std::vector<Route>& Routes() const { return routes; }
    // The stream is reserved from its talker to this listener.
    bool IsReserved(const Subscription& subscription);
    // What the listener was promised; nothing where it knows no talker.
    std::optional<uint64_t> PromisedLatencyNs(const Subscription& subscription) const;
    const StreamMeter::Arrivals& ArrivalsOf(const Subscription& subscription) const;
    uint64_t SentFrames(const Subscription& subscription) const { return meters[subscription.meter].SentFrames(); }

    uint64_t LostStreamFrames();  // of all subscriptions, so far
    // The largest latency of a stream's frames that came since this was asked last; 0: none came.
    uint64_t TakeMostLatencyNs(const Subscription& subscription);

    // The most frames of each class that waited in one queue at once, at any port of a bridge, since this was asked
    // last.
    std::array<uint32_t, trafficClassCount> TakeDeepest();
    const PortTally& TallyOf(const End& end) const;
    // The same for the frames that a bridge's daemon was to handle.
    uint32_t TakeDeepestBeforeDaemons();
    const PortTally& CpuTallyOf(size_t bridge) const { return bridges[bridge].CpuTally(); }
    Losses LostFrames() const;

private:
    struct Heard {
        size_t talker;
        size_t place;  // of the listener in the meters of the talker's streams
    };
    struct Neighbour {
        size_t bridge;
        size_t link;
    };
    struct LinkState {
        bool isCut = false;
        bool isPlugged = false;
    };

    struct Watched {
        const Node* node;
        uint8_t port;
        size_t watcher;
    };

    void AddBridge(const BridgePlan& plan, const Logs& logs);
    void AddStation(size_t index);
    void Subscribe();
    void WatchStations();
    void UpdateLink(size_t index);
    void UpdateLinks();
    void FindTree();
    void Happen(const EventPlan& event);
    void HappenToBridge(const EventPlan& event);
    void HappenToStation(const EventPlan& event);
    void TellMeters(size_t station, bool comes);
    bool Reaches(const Subscription& subscription);
    void Drift();
    Node& NodeOf(const End& end);
    bool IsOn(const End& end) const { return end.isStation || bridges[end.index].IsOn(); }

    const Scenario& scenario;
    Network network;
    const uint64_t startNs = network.clock.Ns();
    std::deque<BridgeNode> bridges;
    std::deque<StationNode> stations;
    std::vector<LinkState> links;
    std::vector<std::array<std::optional<Neighbour>, portCount>> neighbours;  // of the bridges, by port
    std::vector<FrameWatcher> watchers;
    std::vector<Watched> watched;
    std::vector<Random> wanders;            // of the bridges
    std::vector<int32_t> errorsPpb;         // of their oscillators, as they are now
    std::vector<StreamMeter> meters;        // of all streams, by station
    std::vector<size_t> firstMeters;        // of the stations
    std::vector<std::vector<Heard>> heard;  // by station
    std::vector<Subscription> subscriptions;
    std::vector<Route> routes;
};

}  // namespace norvad::network
