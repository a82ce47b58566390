#include "tests/soak/world.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <utility>

#include "base/wire.h"
#include "daemon/control/port_report.h"
#include "lab/end_station/frame.h"
#include "lab/end_station/mrp_pdu.h"
#include "tests/support/allocations/counted_allocations.h"

namespace norvad::test {

using network::BridgeNode;
using network::Network;
using network::StationNode;
using station::MrpPduWriter;
using station::MrpValue;

namespace {

constexpr uint64_t nsPerMs = 1'000'000;
constexpr uint64_t minuteMs = 60'000;
constexpr uint16_t streamVid = 2;
constexpr uint16_t streamCount = 4;
constexpr uint16_t visitorStreams = 1;  // in each direction

// Stations number their streams from 0.
StreamID StreamOf(uint8_t station, uint16_t number) {
    return {0x02, 0, 0, 0, 0, station, static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number)};
}
MacAddress AddressOf(uint8_t station, uint16_t number) {
    return {0x91, 0xE0, 0xF0, station, static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number)};
}
MacAddress MacOf(uint8_t station) {
    return {0x02, 0, 0, 0, 0, station};
}

constexpr uint8_t talkersNumber = 1, listenersNumber = 2, leftVisitorNumber = 3, rightVisitorNumber = 4;

// Frames are few, as a month has many seconds.
station::StationSettings Settings(std::vector<uint16_t> vlans) {
    station::StationSettings settings;
    settings.framesPerSecond = 1;
    settings.vlans = std::move(vlans);
    return settings;
}
void Talk(station::StationSettings& settings, uint8_t station, uint16_t streams) {
    for (uint16_t n = 0; n < streams; ++n) {
        settings.talkers.push_back(
            {.id = StreamOf(station, n), .destination = AddressOf(station, n), .tag = {streamVid, 3}});
    }
}
void Listen(station::StationSettings& settings, uint8_t station, uint16_t streams) {
    for (uint16_t n = 0; n < streams; ++n) {
        settings.listeners.push_back({.id = StreamOf(station, n), .declaration = ListenerDeclaration::READY});
    }
}

station::StationSettings TalkersSettings() {
    auto settings = Settings({10, 11, 12});
    Talk(settings, talkersNumber, streamCount);
    return settings;
}
station::StationSettings ListenersSettings() {
    auto settings = Settings({10, 13});
    Listen(settings, talkersNumber, streamCount);
    return settings;
}
station::StationSettings VisitorSettings(uint8_t own, uint8_t other) {
    auto settings = Settings({11, 14});
    Talk(settings, own, visitorStreams);
    Listen(settings, other, visitorStreams);
    return settings;
}

BridgeNode::Config BridgeSettings(uint8_t number, uint8_t priority1, int32_t clockErrorPpb, uint64_t& logLines) {
    BridgeNode::Config config;
    config.mac = {0x02, 0, 0, 0, 0x10, number};
    config.externalPorts = 4;
    config.clockErrorPpb = clockErrorPpb;
    config.clockNs = 1'000'000'000 * uint64_t{number};
    config.ptp.ptpPriority1 = priority1;
    config.log = {[&logLines](uint64_t, const char*) { ++logLines; }, {}};
    return config;
}

template <typename Record>
MrpValue ValueOf(uint8_t type, const Record& record) {
    const auto bytes = BytesOf(record);
    return {type, {bytes.begin(), bytes.end()}, ListenerDeclaration::READY};
}

// Lists keep the order in which records came, which tells nothing about what is there.
std::string Sorted(const std::string& text) {
    std::istringstream input(text);
    std::vector<std::string> lines;
    std::string port;
    for (std::string line; std::getline(input, line);) {
        if (line.starts_with("Port ") && line.size() < 8)
            port = line + " ";
        else
            lines.push_back(port + line + "\n");
    }
    std::ranges::sort(lines);
    std::string sorted;
    for (const auto& line : lines) sorted += line;
    return sorted;
}

// State, grandmaster, neighbour and steps; the delays and offsets behind them are never the same.
std::string LastingPart(const std::string& status) {
    return status.substr(0, status.find(":PD0")) + "\n";
}

}  // namespace

World::World(uint32_t seed)
    : random(seed),
      left(network, BridgeSettings(0, 240, 20'000, logLines)),
      right(network, BridgeSettings(1, 250, -35'000, logLines)),
      grandmaster(network, BridgeSettings(2, 1, 0, logLines)),
      secondGrandmaster(network, BridgeSettings(3, 2, 60'000, logLines)),
      talkers(network, MacOf(talkersNumber), TalkersSettings()),
      listeners(network, MacOf(listenersNumber), ListenersSettings()),
      leftVisitor(network, MacOf(leftVisitorNumber), VisitorSettings(leftVisitorNumber, rightVisitorNumber)),
      rightVisitor(network, MacOf(rightVisitorNumber), VisitorSettings(rightVisitorNumber, leftVisitorNumber)),
      links{{{left, 0, right, 0},
             {left, 1, talkers, 0},
             {left, 2, leftVisitor, 0},
             {left, 3, grandmaster, 0},
             {right, 1, listeners, 0},
             {right, 2, rightVisitor, 0},
             {right, 3, secondGrandmaster, 0}}},
      troubles{{"a cable out", &World::Flap},
               {"a cable in and out", &World::Flutter},
               {"a link silent", &World::FallSilent},
               {"a grandmaster gone", &World::LoseGrandmaster},
               {"listeners withdrawn", &World::WithdrawListeners},
               {"VLANs withdrawn", &World::WithdrawVlans},
               {"a listener put out", &World::PutListenerOut},
               {"a talker put out", &World::PutTalkerOut},
               {"streams passing", &World::BringPassingStreams},
               {"VLANs passing", &World::BringPassingVlans}} {
    network.filter = [this](const Node& from, uint8_t port, std::span<const uint8_t>) {
        return GetsThrough(from, port);
    };
    for (Link& link : links) PlugIn(link);
}

void World::RunTroubledMs(uint64_t ms) {
    constexpr uint64_t longestTroubleMs = 10 * minuteMs;
    const uint64_t endMs = NowMs() + ms;
    while (NowMs() + longestTroubleMs < endMs) {
        RunQuietMs(Between(1'000, 2 * minuteMs));
        Trouble& trouble = troubles[Between(0, troubles.size() - 1)];
        ++trouble.count;
        (this->*trouble.make)();
    }
    RunQuietMs(endMs - NowMs());
}

void World::RunQuietMs(uint64_t ms) {
    network.RunMs(ms);
    ForgetPast();
}

std::string World::State() {
    return "left\n" + StateOf(left) + "right\n" + StateOf(right);
}

std::string World::StateOf(BridgeNode& bridge) {
    std::ostringstream text;
    WritePortReport(bridge.Model(), text);
    text << LastingPart(bridge.Ask({"--ptp"}));
    for (const char* list : {"--msrp", "--dom", "--mvrp"}) text << Sorted(bridge.Ask({list}));
    for (const auto& [vid, mask] : bridge.Hardware().Vlans().Entries())
        text << "vlan " << vid << " ports " << +mask << "\n";
    for (const auto* entry : bridge.Hardware().Multicasts().Entries()) {
        text << "group " << +entry->address[3] << ":" << +entry->address[5] << " ports " << +entry->portMask << "\n";
    }
    for (const auto& [key, limit] : bridge.Hardware().Limits().Entries()) {
        text << "limit of port " << +key.first << " in " << key.second << " " << limit << "\n";
    }
    text << "timers " << bridge.Model().Timers().Running() << "\n";
    return text.str();
}

std::string World::UsualState() {
    std::map<std::string, int> seen;
    for (int i = 0; i < 1'200; ++i) {
        network.RunMs(100);
        ++seen[State()];
    }
    ForgetPast();
    return std::ranges::max_element(seen, {}, [](const auto& each) { return each.second; })->first;
}

int64_t World::LeastBytes() {
    int64_t least = AllocatedBytes();
    for (int i = 0; i < 600; ++i) {
        RunQuietMs(100);
        least = std::min(least, AllocatedBytes());
    }
    return least;
}

bool World::IsWhole() {
    const auto passes = [](BridgeNode& bridge, uint8_t station, uint16_t streams, uint8_t mask) {
        for (uint16_t n = 0; n < streams; ++n) {
            if (bridge.MulticastPorts(streamVid, AddressOf(station, n)) != mask) return false;
        }
        return true;
    };
    const auto follows = [](BridgeNode& bridge) {
        return bridge.Ask({"--ptp"}).starts_with("ST:SLAVE:MC:0x020000fffe001002");
    };
    return passes(left, talkersNumber, streamCount, 1 << 0) && passes(right, talkersNumber, streamCount, 1 << 1) &&
           passes(left, leftVisitorNumber, visitorStreams, 1 << 0) &&
           passes(right, leftVisitorNumber, visitorStreams, 1 << 2) &&
           passes(left, rightVisitorNumber, visitorStreams, 1 << 2) &&
           passes(right, rightVisitorNumber, visitorStreams, 1 << 0) && follows(left) && follows(right);
}

uint64_t World::NowMs() const {
    return network.clock.Ns() / nsPerMs;
}

std::string World::Account() const {
    std::ostringstream text;
    for (const Trouble& trouble : troubles) text << trouble.name << " " << trouble.count << ", ";
    text << "changes of grandmaster " << grandmasterChanges << ", lines logged " << logLines;
    return text.str();
}

void World::PlugIn(Link& link) {
    network.Connect(link.a, link.portOfA, link.b, link.portOfB);
    link.pluggedIn = true;
}

void World::PullOut(Link& link) {
    network.Disconnect(link.a, link.portOfA);
    link.pluggedIn = false;
}

bool World::GetsThrough(const Node& from, uint8_t port) const {
    for (const Link& link : links) {
        if (!link.silent) continue;
        if ((&link.a == &from && link.portOfA == port) || (&link.b == &from && link.portOfB == port)) return false;
    }
    return true;
}

void World::InMs(uint64_t ms, std::function<void()> action) {
    network.engine.At(network.clock.Ns() + ms * nsPerMs, std::move(action));
}

uint64_t World::Between(uint64_t least, uint64_t most) {
    return least + random() % (most - least + 1);
}

StationNode& World::AnyStation() {
    return *std::array{&talkers, &listeners, &leftVisitor, &rightVisitor}[Between(0, 3)];
}

void World::Say(StationNode& station, uint8_t number, const station::MrpApplication& application, MrpPduWriter& pdu) {
    const station::ControlFrame frame(application.group, MacOf(number), application.etherType, pdu.Finish());
    network.Send(station, 0, frame.Bytes());
}

void World::ForgetPast() {
    for (BridgeNode* bridge : {&left, &right, &grandmaster, &secondGrandmaster}) {
        grandmasterChanges += bridge->Grandmasters().identities.size();
        bridge->ForgetGrandmasters();
    }
    for (StationNode* station : {&talkers, &listeners, &leftVisitor, &rightVisitor}) station->ForgetLines();
}

void World::Flap() {
    Link& link = AnyLink();
    if (!link.pluggedIn) return;
    PullOut(link);
    InMs(Between(1, minuteMs), [this, &link] { PlugIn(link); });
}

// Faster than any timer of the protocols, and over before the next trouble.
void World::Flutter() {
    Link& link = AnyLink();
    if (!link.pluggedIn) return;
    PullOut(link);
    const uint64_t times = Between(1, 9);
    for (uint64_t i = 0; i < times; ++i) {
        InMs(20 + 100 * i, [this, &link] { PlugIn(link); });
        InMs(70 + 100 * i, [this, &link] { PullOut(link); });
    }
    InMs(20 + 100 * times, [this, &link] { PlugIn(link); });
}

void World::FallSilent() {
    Link& link = AnyLink();
    if (link.silent) return;
    link.silent = true;
    InMs(Between(1'000, minuteMs), [&link] { link.silent = false; });
}

void World::LoseGrandmaster() {
    Link& link = links[Between(0, 1) == 0 ? 3 : 6];
    if (!link.pluggedIn) return;
    PullOut(link);
    InMs(Between(1'000, 5 * minuteMs), [this, &link] { PlugIn(link); });
}

void World::WithdrawListeners() {
    StationNode& station = AnyStation();
    station.Program().WithdrawListeners();
    InMs(Between(1, 2 * minuteMs), [&station] {
        station.Program().DeclareListeners();
        station.Refresh();
    });
}

void World::WithdrawVlans() {
    StationNode& station = AnyStation();
    station.Program().WithdrawVlans();
    InMs(Between(1, 2 * minuteMs), [&station] {
        station.Program().DeclareVlans();
        station.Refresh();
    });
}

void World::PutListenerOut() {
    (void)left.Ask({"--listenerlv", std::to_string(Between(0, 2 * streamCount))});
}

void World::PutTalkerOut() {
    (void)right.Ask({"--talkerlv", std::to_string(Between(0, 2 * streamCount))});
}

// Streams that were never there before and never come again are reserved, and lapse, as nobody declares them anew.
void World::BringPassingStreams() {
    constexpr uint32_t count = 20;
    MrpPduWriter talkersPdu(station::msrpApplication), listenersPdu(station::msrpApplication);
    for (uint32_t n = passingStreams; n < passingStreams + count; ++n) {
        const std::array<uint8_t, 3> number = {static_cast<uint8_t>(n >> 16), static_cast<uint8_t>(n >> 8),
                                               static_cast<uint8_t>(n)};
        const StreamID id = {0x06, 0, 0, 0, 0, number[0], number[1], number[2]};
        const MacAddress address = {0x91, 0xE0, 0xF1, number[0], number[1], number[2]};
        const TalkerFirstValue talker{id, address, streamVid, 100, 1, 0x70, 0};
        (void)talkersPdu.AddValue(ValueOf(TALKER_ADVERTISE, talker), AttributeEvent::NEW, false);
        (void)listenersPdu.AddValue(ValueOf(LISTENER_VECTOR, ListenerFirstValue{id}), AttributeEvent::NEW, false);
    }
    passingStreams += count;
    Say(talkers, talkersNumber, station::msrpApplication, talkersPdu);
    Say(listeners, listenersNumber, station::msrpApplication, listenersPdu);
}

void World::BringPassingVlans() {
    MrpPduWriter pdu(station::mvrpApplication);
    for (uint16_t vid = 100; vid < 132; ++vid) {
        const boost::endian::big_uint16_t value = vid;
        (void)pdu.AddValue(ValueOf(station::vlanAttribute, value), AttributeEvent::NEW, false);
    }
    Say(talkers, talkersNumber, station::mvrpApplication, pdu);
}

}  // namespace norvad::test
