#include "ctl/json_views.h"

#include <cmath>

#include "ctl/registrations.h"
#include "ctl/text.h"

namespace norvad::ctl {

namespace {

Json Finite(double number) {
    return std::isfinite(number) ? Json(number) : Json(nullptr);
}

const char* Name(Reserved reserved) {
    switch (reserved) {
        case Reserved::YES:
            return "yes";
        case Reserved::NO:
            return "no";
        case Reserved::UNKNOWN:
            break;
    }
    return "unknown";
}

Json MachinesJson(const Machines& machines) {
    return {{"applicant", machines.applicant},
            {"registrar", Name(machines.registrar)},
            {"registered", machines.IsRegistered()},
            {"declared", machines.IsDeclared()}};
}

Json FailureJson(const TalkerFailure& failure) {
    return {{"code", failure.code ? Json(*failure.code) : Json(nullptr)},
            {"words", failure.words},
            {"bridge", IdText(failure.bridge)}};
}

Json TalkerJson(const TalkerRecord& talker) {
    return {{"port", talker.port},
            {"number", talker.number},
            {"destination", AddressText(talker.destination)},
            {"latencyNs", talker.latencyNs},
            {"failure", talker.failure ? FailureJson(*talker.failure) : Json(nullptr)},
            {"state", MachinesJson(talker.machines)}};
}

Json ListenerJson(const Stream& stream, const ListenerRecord& listener) {
    return {{"port", listener.port},
            {"number", listener.number},
            {"declaration", Name(listener.declaration)},
            {"reserved", Name(stream.ReservedFor(listener))},
            {"state", MachinesJson(listener.machines)}};
}

Json StreamJson(const Stream& stream) {
    const auto port = stream.TalkerPort();
    Json talkers = Json::array(), listeners = Json::array();
    for (const TalkerRecord& talker : stream.talkers) talkers.push_back(TalkerJson(talker));
    for (const ListenerRecord& listener : stream.listeners) listeners.push_back(ListenerJson(stream, listener));
    return {{"stream", IdText(stream.id)},
            {"talkerPort", port ? Json(*port) : Json(nullptr)},
            {"talkers", talkers},
            {"listeners", listeners}};
}

template <typename Record>
Json PortStatesJson(const Registration<Record>& registration) {
    Json ports = Json::array();
    for (const auto& [port, machines] : registration.ports) {
        ports.push_back({{"port", port}, {"state", MachinesJson(machines)}});
    }
    return ports;
}

}  // namespace

Json PortsJson(const std::vector<Port>& ports) {
    Json all = Json::array();
    for (const Port& port : ports) {
        all.push_back({{"port", port.number}, {"up", port.isUp}, {"stp", port.isStpUp}, {"asCapable", port.isAvbUp}});
    }
    return all;
}

Json StreamsJson(const std::vector<Stream>& streams) {
    Json all = Json::array();
    for (const Stream& stream : streams) all.push_back(StreamJson(stream));
    return all;
}

Json VlansJson(const std::vector<Vlan>& vlans) {
    Json all = Json::array();
    for (const auto& vlan : GroupByValue(vlans)) {
        all.push_back({{"vid", vlan.value.vid}, {"ports", PortStatesJson(vlan)}});
    }
    return all;
}

Json DomainsJson(const std::vector<Domain>& domains) {
    Json all = Json::array();
    for (const auto& domain : GroupByValue(domains)) {
        all.push_back({{"srClass", domain.value.srClass},
                       {"priority", domain.value.priority},
                       {"vid", domain.value.vid},
                       {"ports", PortStatesJson(domain)}});
    }
    return all;
}

Json ClockJson(const Clock& clock) {
    return {{"state", clock.state},
            {"grandmaster", ClockIdText(clock.grandmaster)},
            {"neighbour", ClockIdText(clock.neighbour)},
            {"stepsRemoved", clock.stepsRemoved},
            {"offsetNs", clock.offsetNs},
            {"rmsNs", Finite(clock.rms)},
            {"linkDelayNs", clock.linkDelayNs},
            {"rateRatio", {Finite(clock.rateRatio[0]), Finite(clock.rateRatio[1])}},
            {"cumulativeRateRatio", Finite(clock.cumulativeRateRatio)},
            {"windowMode", clock.windowMode}};
}

Json NotUnderstoodJson(const NotUnderstood& notUnderstood) {
    Json lines = Json::array();
    for (const std::string& line : notUnderstood.lines) lines.push_back(Printable(line));
    return {{"count", notUnderstood.count}, {"lines", lines}};
}

}  // namespace norvad::ctl
