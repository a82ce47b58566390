#include "lab/network/program/scene.h"

#include <algorithm>
#include <boost/endian/conversion.hpp>
#include <string>
#include <utility>

#include "lab/common/errors.h"
#include "lab/network/program/stream_names.h"
#include "lab/network/spanning_tree.h"

namespace norvad::network {

namespace {

constexpr uint64_t driftStepNs = 100'000'000;
constexpr int32_t mostErrorPpb = 100'000'000;

std::function<uint64_t()> HandlingOf(const BridgePlan& plan, uint64_t seed) {
    if (plan.mostHandlingNs == 0) return {};
    return [least = plan.leastHandlingNs, range = plan.mostHandlingNs - plan.leastHandlingNs + 1,
            random = Random(seed, plan.name + " handling")]() mutable { return least + random.Below(range); };
}

bool Drifts(const BridgePlan& plan) {
    return plan.oscillator.rampPpbPerSecond != 0 || plan.oscillator.wanderPpb != 0;
}

}  // namespace

Scene::Scene(const Scenario& scenario, const Logs& logs)
    : scenario(scenario), links(scenario.links.size()), neighbours(scenario.bridges.size()) {
    for (const BridgePlan& plan : scenario.bridges) AddBridge(plan, logs);
    Subscribe();
    for (size_t index = 0; index < scenario.stations.size(); ++index) AddStation(index);
    WatchStations();
    for (size_t index = 0; index < links.size(); ++index) {
        const LinkPlan& link = scenario.links[index];
        if (link.a.isStation || link.b.isStation) continue;
        neighbours[link.a.index][link.a.port] = {link.b.index, index};
        neighbours[link.b.index][link.b.port] = {link.a.index, index};
    }
    UpdateLinks();
    for (const EventPlan& event : scenario.events) {
        network.engine.At(startNs + event.atNs, [this, &event] { Happen(event); });
    }
    if (std::any_of(scenario.bridges.begin(), scenario.bridges.end(), Drifts)) {
        network.engine.At(startNs + driftStepNs, [this] { Drift(); });
    }
    network.RunMs(0);
}

void Scene::AddBridge(const BridgePlan& plan, const Logs& logs) {
    BridgeNode::Config config;
    config.mac = plan.mac;
    config.externalPorts = plan.ports;
    config.clockErrorPpb = plan.oscillator.errorPpb;
    config.clockNs = plan.startNs;
    config.stampGranularityNs = plan.granularityNs;
    config.handlingNs = HandlingOf(plan, scenario.seed);
    config.cpuPort = plan.cpuPort;
    config.blocksAtFirst = scenario.spanningTreeNs.has_value();
    config.ptp = plan.ptp;
    config.seed = static_cast<uint32_t>(Random(scenario.seed, plan.name + " daemon").Next());
    if (const auto log = logs.find(bridges.size()); log != logs.end()) {
        const auto write = [this, write = log->second.write](uint64_t ns, const char* message) {
            write(ns - startNs, message);
        };
        config.log = {write, log->second.levels};
    }
    bridges.emplace_back(network, config);
    errorsPpb.push_back(plan.oscillator.errorPpb);
    wanders.emplace_back(scenario.seed, plan.name + " wander");
}

void Scene::AddStation(size_t index) {
    const StationPlan& plan = scenario.stations[index];
    station::StationSettings settings;
    settings.framesPerSecond = plan.rate;
    settings.eager = plan.eager;
    settings.vlans = plan.vlans;
    settings.vlanFrames = plan.vlanFrames;
    settings.seed = static_cast<uint32_t>(Random(scenario.seed, plan.name).Next());
    for (uint16_t number = 0; number < plan.streams; ++number) {
        settings.talkers.push_back({.id = StreamIdOf(plan, number),
                                    .destination = StreamAddressOf(plan, number),
                                    .tag = StreamTagOf(plan),
                                    .maxFrameSize = plan.maxFrameSize,
                                    .intervalFrames = plan.intervalFrames});
    }
    for (const size_t talker : plan.listensTo) {
        for (uint16_t number = 0; number < scenario.stations[talker].streams; ++number) {
            settings.listeners.push_back({.id = StreamIdOf(scenario.stations[talker], number)});
        }
    }
    stations.emplace_back(network, plan.mac, settings);
}

// A meter for each stream, which knows its listeners.
void Scene::Subscribe() {
    heard.resize(scenario.stations.size());
    for (size_t talker = 0; talker < scenario.stations.size(); ++talker) {
        std::vector<size_t> listeners;
        for (size_t other = 0; other < scenario.stations.size(); ++other) {
            const auto& talkers = scenario.stations[other].listensTo;
            if (std::find(talkers.begin(), talkers.end(), talker) == talkers.end()) continue;
            heard[other].push_back({talker, listeners.size()});
            listeners.push_back(other);
        }
        firstMeters.push_back(meters.size());
        const size_t firstRoute = routes.size();
        for (const size_t listener : listeners) routes.push_back({talker, listener});
        for (uint16_t number = 0; number < scenario.stations[talker].streams; ++number) {
            for (size_t place = 0; place < listeners.size(); ++place) {
                subscriptions.push_back({talker, listeners[place], number, meters.size(), firstRoute + place, place});
            }
            meters.emplace_back(listeners.size());
        }
    }
}

void Scene::WatchStations() {
    for (size_t index = 0; index < stations.size(); ++index) {
        stations[index].onSent = [this, index](const station::ReceivedStreamFrame& frame) {
            const auto number = StreamNumberOf(scenario.stations[index], frame.streamId);
            if (number) meters[firstMeters[index] + *number].Sent(frame.counter, network.clock.Ns());
        };
        stations[index].onReceived = [this, index](const station::ReceivedStreamFrame& frame) {
            for (const auto& [talker, place] : heard[index]) {
                const auto number = StreamNumberOf(scenario.stations[talker], frame.streamId);
                if (number) meters[firstMeters[talker] + *number].Received(place, frame.counter, network.clock.Ns());
            }
        };
    }
}

void Scene::RunUntil(uint64_t ns) {
    network.engine.RunUntil(startNs + ns);
}

std::optional<size_t> Scene::GrandmasterOf(size_t bridge) const {
    const BridgeNode& node = bridges[bridge];
    const auto& messages = node.Grandmasters().messages;
    if (!node.DaemonRuns() || messages.empty()) return {};
    const uint64_t number = messages.back().clockNumber;
    const size_t index = number & 0xFFFF;  // the end of an address is the bridge's place
    if (index >= scenario.bridges.size()) return {};
    if (ClockNumber(ClockIdentityOf(scenario.bridges[index].mac)) != number) return {};
    return index;
}

bool Scene::IsReserved(const Subscription& subscription) {
    const StationPlan& talker = scenario.stations[subscription.talker];
    if (!stations[subscription.talker].Program().Streams().HasReadyListener(StreamIdOf(talker, subscription.number))) {
        return false;
    }
    return Reaches(subscription);
}

// Goes on from the talker's bridge wherever the stream's frames would go, each bridge once.
bool Scene::Reaches(const Subscription& subscription) {
    const StationPlan& talker = scenario.stations[subscription.talker];
    const StationPlan& listener = scenario.stations[subscription.listener];
    const MacAddress address = StreamAddressOf(talker, subscription.number);
    const uint16_t vid = StreamTagOf(talker).vid;
    std::vector<size_t> ahead{talker.bridge};
    for (size_t steps = 0; !ahead.empty() && steps < bridges.size(); ++steps) {
        const size_t bridge = ahead.back();
        ahead.pop_back();
        const uint8_t ports = bridges[bridge].MulticastPorts(vid, address);
        if (bridge == listener.bridge) return (ports >> listener.port & 1) != 0;
        for (uint8_t port = 0; port < portCount; ++port) {
            const auto& neighbour = neighbours[bridge][port];
            if ((ports >> port & 1) != 0 && neighbour && links[neighbour->link].isPlugged) {
                ahead.push_back(neighbour->bridge);
            }
        }
    }
    return false;
}

std::optional<uint64_t> Scene::PromisedLatencyNs(const Subscription& subscription) const {
    const StreamID id = StreamIdOf(scenario.stations[subscription.talker], subscription.number);
    return stations[subscription.listener].Program().Streams().PromisedLatencyNs(id);
}

const StreamMeter::Arrivals& Scene::ArrivalsOf(const Subscription& subscription) const {
    return meters[subscription.meter].Of(subscription.place);
}

uint64_t Scene::TakeMostLatencyNs(const Subscription& subscription) {
    return meters[subscription.meter].TakeMostLatencyNs(subscription.place);
}

uint64_t Scene::LostStreamFrames() {
    uint64_t lost = 0;
    for (StreamMeter& meter : meters) lost += meter.Lost();
    return lost;
}

// A link is up while its cable is whole and there is power at both ends.
void Scene::UpdateLink(size_t index) {
    const LinkPlan& plan = scenario.links[index];
    LinkState& state = links[index];
    const bool isUp = !state.isCut && IsOn(plan.a) && IsOn(plan.b);
    if (isUp == state.isPlugged) return;
    state.isPlugged = isUp;
    if (isUp) {
        network.Connect(NodeOf(plan.a), plan.a.port, NodeOf(plan.b), plan.b.port, plan.cable);
        if (plan.a.isStation) bridges[plan.b.index].SetForwarding(plan.b.port, true);
    } else {
        network.Disconnect(NodeOf(plan.a), plan.a.port);
    }
    if (scenario.spanningTreeNs)
        network.engine.At(network.clock.Ns() + *scenario.spanningTreeNs, [this] { FindTree(); });
}

void Scene::UpdateLinks() {
    for (size_t index = 0; index < links.size(); ++index) UpdateLink(index);
}

// Every port of the tree forwards, and of a link beside it the end at the lower bridge.
void Scene::FindTree() {
    std::vector<TreeLink> treeLinks;
    std::vector<const LinkPlan*> plans;
    for (size_t index = 0; index < links.size(); ++index) {
        const LinkPlan& plan = scenario.links[index];
        if (plan.a.isStation) continue;
        treeLinks.push_back({plan.a.index, plan.b.index, links[index].isPlugged});
        plans.push_back(&plan);
    }
    const std::vector<bool> isInTree = LinksOfTree(bridges.size(), treeLinks);
    for (size_t index = 0; index < plans.size(); ++index) {
        const auto& [a, b] = std::pair(plans[index]->a, plans[index]->b);
        bridges[a.index].SetForwarding(a.port, isInTree[index] || a.index < b.index);
        bridges[b.index].SetForwarding(b.port, isInTree[index] || b.index < a.index);
    }
}

void Scene::Watch(const std::string& bridgeAndPort, FrameWatcher watcher) {
    const auto isAt = [&](const End& end) {
        return !end.isStation && scenario.bridges[end.index].name + "." + std::to_string(end.port) == bridgeAndPort;
    };
    for (const LinkPlan& link : scenario.links) {
        if (!isAt(link.a) && !isAt(link.b)) continue;
        watched.push_back({&NodeOf(link.a), link.a.port, watchers.size()});
        watched.push_back({&NodeOf(link.b), link.b.port, watchers.size()});
        watchers.push_back(std::move(watcher));
        network.filter = [this](const Node& from, uint8_t port, std::span<const uint8_t> frame) {
            for (const Watched& each : watched) {
                if (each.node == &from && each.port == port) watchers[each.watcher](frame, Ns());
            }
            return true;
        };
        return;
    }
    throw lab::StartError("no link is at " + bridgeAndPort);
}

std::array<uint32_t, trafficClassCount> Scene::TakeDeepest() {
    std::array<uint32_t, trafficClassCount> most{};
    for (size_t bridge = 0; bridge < bridges.size(); ++bridge) {
        for (uint8_t port = 0; port < scenario.bridges[bridge].ports; ++port) {
            const auto deepest = Network::TakeDeepest(bridges[bridge], port);
            for (size_t each = 0; each < trafficClassCount; ++each) most[each] = std::max(most[each], deepest[each]);
        }
    }
    return most;
}

uint32_t Scene::TakeDeepestBeforeDaemons() {
    uint32_t most = 0;
    for (BridgeNode& bridge : bridges) most = std::max(most, bridge.TakeDeepestCpuQueue());
    return most;
}

const PortTally& Scene::TallyOf(const End& end) const {
    if (end.isStation) return Network::TallyOf(stations[end.index], end.port);
    return Network::TallyOf(bridges[end.index], end.port);
}

Losses Scene::LostFrames() const {
    Losses losses;
    for (const LinkPlan& link : scenario.links) {
        for (const End& end : {link.a, link.b}) {
            const PortTally& tally = TallyOf(end);
            losses.atFullQueues += tally.CrowdedOut();
            losses.onCables += tally.lostOnCable;
            losses.cutOff += tally.cutOff;
        }
    }
    for (const BridgeNode& bridge : bridges) losses.beforeDaemons += bridge.CpuTally().CrowdedOut();
    return losses;
}

void Scene::Happen(const EventPlan& event) {
    switch (event.happening) {
        case Happening::CUT:
        case Happening::MEND:
            links[event.index].isCut = event.happening == Happening::CUT;
            UpdateLink(event.index);
            break;
        case Happening::LEAVE:
        case Happening::COME:
            HappenToStation(event);
            break;
        case Happening::POWER_OFF:
        case Happening::POWER_ON:
        case Happening::KILL:
        case Happening::START:
        case Happening::PRIORITY:
            HappenToBridge(event);
            break;
    }
    if (onEvent) onEvent(event);
}

void Scene::HappenToBridge(const EventPlan& event) {
    BridgeNode& bridge = bridges[event.index];
    if (event.happening == Happening::POWER_OFF) bridge.PowerOff();
    if (event.happening == Happening::KILL) bridge.KillDaemon();
    if (event.happening == Happening::START) bridge.StartDaemon();
    if (event.happening == Happening::POWER_ON) {
        bridge.PowerOn();
        bridge.Hardware().Clock().Drift(errorsPpb[event.index], static_cast<int64_t>(network.clock.Ns()));
    }
    if (!bridge.DaemonRuns()) bridge.ForgetGrandmasters();
    if (event.happening == Happening::PRIORITY && bridge.DaemonRuns()) {
        bridge.Ask({"--priority1=" + std::to_string(event.number)});
        bridge.Refresh();
    }
    UpdateLinks();
}

void Scene::HappenToStation(const EventPlan& event) {
    station::Station& program = stations[event.index].Program();
    if (event.happening == Happening::LEAVE) {
        program.WithdrawTalkers();
        program.WithdrawListeners();
        program.WithdrawVlans();
    } else {
        program.DeclareTalkers();
        program.DeclareListeners();
        program.DeclareVlans();
    }
    TellMeters(event.index, event.happening == Happening::COME);
    stations[event.index].Refresh();
}

void Scene::TellMeters(size_t station, bool comes) {
    for (const Subscription& each : subscriptions) {
        if (each.listener != station && each.talker != station) continue;
        StreamMeter& meter = meters[each.meter];
        comes ? meter.Come(each.place) : meter.Leave(each.place);
    }
}

void Scene::Drift() {
    for (size_t index = 0; index < bridges.size(); ++index) {
        const OscillatorPlan& plan = scenario.bridges[index].oscillator;
        if (!Drifts(scenario.bridges[index])) continue;
        constexpr int32_t stepsPerSecond = 10;
        const bool ramps = Ns() >= plan.rampFromNs && Ns() < plan.rampUntilNs;
        if (ramps) errorsPpb[index] += plan.rampPpbPerSecond / stepsPerSecond;
        errorsPpb[index] += plan.wanderPpb * wanders[index].Step();
        errorsPpb[index] = std::clamp(errorsPpb[index], -mostErrorPpb, mostErrorPpb);
        bridges[index].Hardware().Clock().Drift(errorsPpb[index], static_cast<int64_t>(network.clock.Ns()));
    }
    network.engine.At(network.clock.Ns() + driftStepNs, [this] { Drift(); });
}

Node& Scene::NodeOf(const End& end) {
    if (end.isStation) return stations[end.index];
    return bridges[end.index];
}

}  // namespace norvad::network
