#include "ctl/metrics.h"

#include "ctl/exposition_text.h"
#include "ctl/text.h"

namespace norvad::ctl {

namespace {

using Type = ExpositionText::Type;

constexpr std::array declarations = {Declaration::IGNORE, Declaration::ASKING_FAILED, Declaration::READY,
                                     Declaration::READY_FAILED, Declaration::UNKNOWN};
constexpr double nsPerSecond = 1e9;

double Number(bool holds) {
    return holds ? 1 : 0;
}

// What the streams come to on one port.
struct StreamCounts {
    unsigned talkers = 0;  // registered
    unsigned failedTalkers = 0;
    std::array<unsigned, declarations.size()> listeners{};  // registered, by declaration
    unsigned reservations = 0;
    unsigned unknownReservations = 0;
};

using StreamCountsOfPorts = std::array<StreamCounts, portNumbers>;

StreamCountsOfPorts CountStreams(const std::vector<Stream>& streams) {
    StreamCountsOfPorts counts;
    for (const Stream& stream : streams) {
        for (const TalkerRecord& talker : stream.talkers) {
            if (!talker.machines.IsRegistered()) continue;
            StreamCounts& port = counts.at(talker.port);
            ++(talker.failure ? port.failedTalkers : port.talkers);
        }
        for (const ListenerRecord& listener : stream.listeners) {
            if (!listener.machines.IsRegistered()) continue;
            StreamCounts& port = counts.at(listener.port);
            ++port.listeners.at(static_cast<size_t>(listener.declaration));
            const Reserved reserved = stream.ReservedFor(listener);
            if (reserved == Reserved::YES) ++port.reservations;
            if (reserved == Reserved::UNKNOWN) ++port.unknownReservations;
        }
    }
    return counts;
}

class BridgeMetrics {
public:
    explicit BridgeMetrics(ExpositionText& text) : text(text) {}

    void AddPorts(const std::vector<Port>& ports);
    void AddStreams(const Snapshot& snapshot);
    void AddVlans(const Snapshot& snapshot);
    void AddClock(const Clock& clock);
    void AddRates(const Clock& clock);
    void AddCounters(const Counters& counters);

private:
    template <typename Value>
    void AddByPort(const char* name, const char* help, const std::vector<Port>& ports, Value value) {
        text.Begin(name, Type::GAUGE, help);
        for (const Port& port : ports) text.Add(value(port), {{"port", std::to_string(port.number)}});
    }

    ExpositionText& text;
};

void BridgeMetrics::AddPorts(const std::vector<Port>& ports) {
    AddByPort("norvad3_port_up", "Whether the port's link is up; port 6 leads to the CPU.", ports,
              [](const Port& port) { return Number(port.isUp); });
    AddByPort("norvad3_port_stp_up", "Whether spanning tree lets the port forward; 0 while its link is down.", ports,
              [](const Port& port) { return Number(port.isStpUp); });
    AddByPort("norvad3_port_as_capable", "Whether the port is AS capable; 0 while its link is down.", ports,
              [](const Port& port) { return Number(port.isAvbUp); });
}

void BridgeMetrics::AddStreams(const Snapshot& snapshot) {
    const StreamCountsOfPorts counts = CountStreams(snapshot.streams);
    const auto& ports = snapshot.ports;
    text.Gauge("norvad3_streams", "Streams that the bridge knows, by their talkers or listeners.",
               static_cast<double>(snapshot.streams.size()));
    AddByPort("norvad3_talkers", "Talkers, none failed, that neighbours declare at the port.", ports,
              [&](const Port& port) { return counts.at(port.number).talkers; });
    AddByPort("norvad3_failed_talkers", "Failed talkers that neighbours declare at the port.", ports,
              [&](const Port& port) { return counts.at(port.number).failedTalkers; });
    text.Begin("norvad3_listeners", Type::GAUGE,
               "Listeners that neighbours declare at the port, by what they declare.");
    for (const Port& port : ports) {
        for (const Declaration declaration : declarations) {
            text.Add(counts.at(port.number).listeners.at(static_cast<size_t>(declaration)),
                     {{"port", std::to_string(port.number)}, {"declaration", Name(declaration)}});
        }
    }
    AddByPort("norvad3_reservations", "Streams that are reserved on the port, as it follows from their listeners.",
              ports, [&](const Port& port) { return counts.at(port.number).reservations; });
    AddByPort("norvad3_reservations_unknown", "Listeners at the port that ask failed and may hold a reservation.",
              ports, [&](const Port& port) { return counts.at(port.number).unknownReservations; });
}

void BridgeMetrics::AddVlans(const Snapshot& snapshot) {
    std::array<unsigned, portNumbers> registered{};
    for (const Vlan& vlan : snapshot.vlans) {
        if (vlan.machines.IsRegistered()) ++registered.at(vlan.port);
    }
    AddByPort("norvad3_vlans", "VLANs that neighbours registered at the port.", snapshot.ports,
              [&](const Port& port) { return registered.at(port.number); });
}

void BridgeMetrics::AddClock(const Clock& clock) {
    text.Begin("norvad3_clock_state", Type::GAUGE, "1 for the state that the clock is in.");
    for (const char* state : {"INITIALIZING", "LISTENING", "ANNOUNCE", "SLAVE", "MASTER"}) {
        text.Add(Number(clock.state == state), {{"state", state}});
    }
    text.Begin("norvad3_clock_grandmaster_info", Type::GAUGE, "1, with the identity of the grandmaster.");
    text.Add(1, {{"grandmaster", ClockIdText(clock.grandmaster)}});
    text.Gauge("norvad3_clock_steps_removed", "Steps to the grandmaster.", clock.stepsRemoved);
    text.Gauge("norvad3_clock_offset_seconds", "Filtered offset from the grandmaster.",
               static_cast<double>(clock.offsetNs) / nsPerSecond);
    text.Gauge("norvad3_clock_offset_rms_seconds", "Root mean square of the offset.", clock.rms / nsPerSecond);
    text.Begin("norvad3_link_delay_seconds", Type::GAUGE, "Delay of the link to the neighbour at the port.");
    for (size_t port = 0; port < clock.linkDelayNs.size(); ++port) {
        text.Add(static_cast<double>(clock.linkDelayNs[port]) / nsPerSecond, {{"port", std::to_string(port)}});
    }
    AddRates(clock);
}

void BridgeMetrics::AddRates(const Clock& clock) {
    text.Begin("norvad3_neighbour_rate_offset", Type::GAUGE, "Rate ratio of the neighbour at the port, less 1.");
    for (size_t port = 0; port < clock.rateRatio.size(); ++port) {
        text.Add(clock.rateRatio[port], {{"port", std::to_string(port)}});
    }
    text.Gauge("norvad3_grandmaster_rate_offset", "Cumulative rate ratio of the grandmaster, less 1.",
               clock.cumulativeRateRatio);
}

void BridgeMetrics::AddCounters(const Counters& counters) {
    text.Begin("norvad3_changes_total", Type::COUNTER, "Changes that norvadctl saw from one look to the next.");
    for (size_t kind = 0; kind < changeKindNames.size(); ++kind) {
        text.Add(static_cast<double>(counters.Seen(static_cast<ChangeKind>(kind))),
                 {{"kind", std::string(changeKindNames[kind])}});
    }
}

}  // namespace

std::string MetricsText(const Snapshot* snapshot, const Counters* counters) {
    ExpositionText text;
    BridgeMetrics metrics(text);
    text.Gauge("norvad3_up", "Whether the daemon answers.", Number(snapshot != nullptr));
    if (snapshot) {
        metrics.AddPorts(snapshot->ports);
        metrics.AddStreams(*snapshot);
        metrics.AddVlans(*snapshot);
        if (snapshot->clock) metrics.AddClock(*snapshot->clock);
    }
    if (counters) metrics.AddCounters(*counters);
    return text.Text();
}

}  // namespace norvad::ctl
