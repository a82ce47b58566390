#include "ctl/views.h"

#include <fmt/format.h>

#include "ctl/registrations.h"
#include "ctl/text.h"

namespace norvad::ctl {

namespace {

const Cell none{"-", Mark::FAINT};

Cell UpCell(bool up) {
    return up ? Cell{"up", Mark::GOOD} : Cell{"down", Mark::BAD};
}

Cell YesCell(bool yes) {
    return yes ? Cell{"yes", Mark::GOOD} : Cell{"no", Mark::BAD};
}

// A switch whose own host neither talks nor listens has the port to it down, and nothing is wrong.
Cell LinkCell(const Port& port) {
    return !port.isUp && port.IsCpu() ? Cell{"down", Mark::FAINT} : UpCell(port.isUp);
}

// What is known of a port only while it is up.
Cell WhileUp(const Port& port, const Cell& cell) {
    return port.isUp ? cell : none;
}

void Append(std::string& list, const std::string& item, const char* separator = ", ") {
    if (!list.empty()) list += separator;
    list += item;
}

Cell Listed(const std::string& list, Mark mark = Mark::PLAIN) {
    return list.empty() ? none : Cell{list, mark};
}

Cell TalkerCell(const Stream& stream) {
    const auto port = stream.TalkerPort();
    if (!port) return none;
    if (stream.Talker()->failure) return {fmt::format("port {} failed", *port), Mark::BAD};
    return {fmt::format("port {}", *port), Mark::GOOD};
}

Cell ListenersCell(const Stream& stream) {
    std::string list;
    Mark mark = Mark::GOOD;
    for (const ListenerRecord& listener : stream.listeners) {
        if (!listener.machines.IsRegistered()) continue;
        Append(list, fmt::format("port {} {}", listener.port, Name(listener.declaration)));
        if (listener.declaration != Declaration::READY) mark = Mark::BAD;
    }
    return Listed(list, mark);
}

// "port 1", with a question mark where it does not follow from the records; "no" when it was asked for in vain.
Cell ReservedCell(const Stream& stream) {
    std::string list;
    bool asked = false;
    for (const ListenerRecord& listener : stream.listeners) {
        asked = asked || listener.machines.IsRegistered();
        const Reserved reserved = stream.ReservedFor(listener);
        if (reserved == Reserved::NO) continue;
        Append(list, fmt::format("port {}{}", listener.port, reserved == Reserved::UNKNOWN ? "?" : ""));
    }
    if (asked && list.empty()) return {"no", Mark::BAD};
    return Listed(list, Mark::GOOD);
}

// "T0 QA/IN T1 AA/MT L1 VO/IN": talkers, failed talkers (F) and listeners with their ports and machines.
Cell StatesCell(const Stream& stream) {
    std::string list;
    const auto add = [&list](char kind, unsigned port, const Machines& machines) {
        Append(list, fmt::format("{}{} {}", kind, port, MachinesText(machines)), " ");
    };
    for (const TalkerRecord& talker : stream.talkers) add(talker.failure ? 'F' : 'T', talker.port, talker.machines);
    for (const ListenerRecord& listener : stream.listeners) add('L', listener.port, listener.machines);
    return {list, Mark::FAINT};
}

Row StreamRow(const Stream& stream) {
    const TalkerRecord* talker = stream.Talker();
    const TalkerRecord* failed = stream.Failed();
    return {{IdText(stream.id)},
            talker ? Cell{AddressText(talker->destination)} : none,
            talker ? Cell{fmt::format("{} ns", talker->latencyNs)} : none,
            TalkerCell(stream),
            ListenersCell(stream),
            ReservedCell(stream),
            StatesCell(stream),
            failed ? Cell{FailureText(*failed), Mark::BAD} : none};
}

// Where a value is registered, where this bridge declares it, and the machines of each port.
template <typename Record>
Row RegistrationCells(const Registration<Record>& registration) {
    std::string registered, declared, states;
    for (const auto& [port, machines] : registration.ports) {
        if (machines.IsRegistered()) Append(registered, fmt::format("port {}", port));
        if (machines.IsDeclared()) Append(declared, fmt::format("port {}", port));
        Append(states, fmt::format("{} {}", port, MachinesText(machines)), " ");
    }
    return {Listed(registered, Mark::GOOD), Listed(declared), {states, Mark::FAINT}};
}

Cell StateCell(const Clock& clock) {
    const bool hasTime = clock.state == "SLAVE" || clock.state == "MASTER";
    return {clock.state, hasTime ? Mark::GOOD : Mark::BAD};
}

}  // namespace

Table PortTable(const std::vector<Port>& ports) {
    Table table{{"PORT", "LINK", "STP", "AS CAPABLE"}, {}};
    for (const Port& port : ports) {
        table.rows.push_back({{port.IsCpu() ? "CPU" : std::to_string(port.number)},
                              LinkCell(port),
                              WhileUp(port, UpCell(port.isStpUp)),
                              WhileUp(port, YesCell(port.isAvbUp))});
    }
    return table;
}

Table StreamTable(const std::vector<Stream>& streams) {
    Table table{{"STREAM", "DESTINATION", "LATENCY", "TALKER", "LISTENERS", "RESERVED", "STATES", "FAILURE"}, {}};
    for (const Stream& stream : streams) table.rows.push_back(StreamRow(stream));
    return table;
}

Table VlanTable(const std::vector<Vlan>& vlans) {
    Table table{{"VLAN", "REGISTERED", "DECLARED", "STATES"}, {}};
    for (const auto& registration : GroupByValue(vlans)) {
        Row row{{std::to_string(registration.value.vid)}};
        for (const Cell& cell : RegistrationCells(registration)) row.push_back(cell);
        table.rows.push_back(row);
    }
    return table;
}

Table DomainTable(const std::vector<Domain>& domains) {
    Table table{{"CLASS", "PRIORITY", "VLAN", "REGISTERED", "DECLARED", "STATES"}, {}};
    for (const auto& registration : GroupByValue(domains)) {
        const Domain& domain = registration.value;
        Row row{{ClassText(domain.srClass)}, {std::to_string(domain.priority)}, {std::to_string(domain.vid)}};
        for (const Cell& cell : RegistrationCells(registration)) row.push_back(cell);
        table.rows.push_back(row);
    }
    return table;
}

Table ClockTable(const Clock& clock) {
    Table table{{"CLOCK", ""}, {}};
    table.rows = {
        {{"state"}, StateCell(clock)},
        {{"grandmaster"}, {ClockIdText(clock.grandmaster)}},
        {{"neighbour"}, {ClockIdText(clock.neighbour)}},
        {{"steps removed"}, {std::to_string(clock.stepsRemoved)}},
        {{"offset"}, {fmt::format("{} ns", clock.offsetNs)}},
        {{"offset rms"}, {fmt::format("{} ns", clock.rms)}},
        {{"link delay port 0"}, {fmt::format("{} ns", clock.linkDelayNs[0])}},
        {{"link delay port 1"}, {fmt::format("{} ns", clock.linkDelayNs[1])}},
        {{"rate of neighbour at port 0"}, {PpmText(clock.rateRatio[0])}},
        {{"rate of neighbour at port 1"}, {PpmText(clock.rateRatio[1])}},
        {{"rate of grandmaster"}, {PpmText(clock.cumulativeRateRatio)}},
        {{"rate window"}, {clock.windowMode == 0 ? "running" : "growing"}},
    };
    return table;
}

std::string ClockLine(const Clock& clock) {
    return fmt::format("clock {}, grandmaster {}, {} steps away, offset {} ns, link delays {} ns and {} ns",
                       clock.state, ClockIdText(clock.grandmaster), clock.stepsRemoved, clock.offsetNs,
                       clock.linkDelayNs[0], clock.linkDelayNs[1]);
}

std::string FailureText(const TalkerRecord& failed) {
    const TalkerFailure& failure = *failed.failure;
    const std::string reason = failure.code ? fmt::format("{} {}", *failure.code, failure.words) : "unknown code";
    return fmt::format("port {}: {}, bridge {}", failed.port, reason, IdText(failure.bridge));
}

}  // namespace norvad::ctl
