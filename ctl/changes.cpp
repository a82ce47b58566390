#include "ctl/changes.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

#include "ctl/text.h"
#include "ctl/views.h"

namespace norvad::ctl {

namespace {

// One stream at one port, as far as its changes are told.
struct AtPort {
    bool isTalkerHeard = false;
    const TalkerRecord* talker = nullptr;  // that did not fail, registered or declared
    const TalkerRecord* failed = nullptr;  // likewise
    std::optional<Declaration> listener;   // registered
    Reserved reserved = Reserved::NO;
};

using AtPorts = std::array<AtPort, portNumbers>;

AtPorts PortsOf(const Stream& stream) {
    AtPorts ports;
    for (const TalkerRecord& talker : stream.talkers) {
        if (!talker.machines.IsRegistered() && !talker.machines.IsDeclared()) continue;
        AtPort& port = ports.at(talker.port);
        (talker.failure ? port.failed : port.talker) = &talker;
        if (talker.machines.IsRegistered()) port.isTalkerHeard = true;
    }
    for (const ListenerRecord& listener : stream.listeners) {
        if (!listener.machines.IsRegistered()) continue;
        AtPort& port = ports.at(listener.port);
        port.listener = listener.declaration;
        port.reserved = stream.ReservedFor(listener);
    }
    return ports;
}

bool IsSameFailure(const TalkerRecord& one, const TalkerRecord& other) {
    return one.failure->code == other.failure->code && one.failure->bridge == other.failure->bridge;
}

class Comparison {
public:
    void ComparePorts(const std::vector<Port>& before, const std::vector<Port>& after);
    void CompareClocks(const std::optional<Clock>& before, const std::optional<Clock>& after);
    void CompareStreams(const std::vector<Stream>& before, const std::vector<Stream>& after);
    void CompareVlans(const std::vector<Vlan>& before, const std::vector<Vlan>& after);

    std::vector<Change> TakeChanges() { return std::move(changes); }

private:
    void CompareStream(const Stream& before, const Stream& after);
    void CompareTalkers(Id stream, unsigned port, const AtPort& before, const AtPort& after);
    void CompareListeners(Id stream, unsigned port, const AtPort& before, const AtPort& after);
    void CompareReservations(Id stream, unsigned port, Reserved before, Reserved after);

    void AddOfPort(ChangeKind kind, const Port& port, const char* text) {
        const std::string name = port.IsCpu() ? "CPU port" : fmt::format("port {}", port.number);
        changes.push_back({.kind = kind, .port = port.number, .text = name + ": " + text});
    }
    void AddOfStream(ChangeKind kind, Id stream, unsigned port, const std::string& text) {
        changes.push_back({kind, port, stream, {}, "stream " + IdText(stream) + ": " + text});
    }

    std::vector<Change> changes;
};

void Comparison::ComparePorts(const std::vector<Port>& before, const std::vector<Port>& after) {
    for (const Port& port : after) {
        const auto was =
            std::find_if(before.begin(), before.end(), [&](const Port& p) { return p.number == port.number; });
        if (was == before.end()) continue;
        if (port.isUp && !was->isUp) AddOfPort(ChangeKind::LINK_UP, port, "link up");
        if (!port.isUp && was->isUp) AddOfPort(ChangeKind::LINK_DOWN, port, "link down");
        if (port.isAvbUp && !was->isAvbUp) AddOfPort(ChangeKind::AS_CAPABLE, port, "AS capable");
        if (!port.isAvbUp && was->isAvbUp) AddOfPort(ChangeKind::NOT_AS_CAPABLE, port, "not AS capable");
    }
}

void Comparison::CompareClocks(const std::optional<Clock>& before, const std::optional<Clock>& after) {
    if (!before || !after) return;
    if (before->state != after->state) {
        changes.push_back(
            {.kind = ChangeKind::CLOCK_STATE, .text = fmt::format("clock {} (was {})", after->state, before->state)});
    }
    if (before->grandmaster != after->grandmaster) {
        changes.push_back({.kind = ChangeKind::GRANDMASTER,
                           .text = fmt::format("grandmaster {} (was {})", ClockIdText(after->grandmaster),
                                               ClockIdText(before->grandmaster))});
    }
}

// Both are in ascending order: a stream that is in one of them only is compared with nothing.
void Comparison::CompareStreams(const std::vector<Stream>& before, const std::vector<Stream>& after) {
    auto was = before.begin();
    auto is = after.begin();
    while (was != before.end() || is != after.end()) {
        if (is == after.end() || (was != before.end() && was->id < is->id)) {
            CompareStream(*was, {.id = was->id, .talkers = {}, .listeners = {}});
            ++was;
        } else if (was == before.end() || is->id < was->id) {
            CompareStream({.id = is->id, .talkers = {}, .listeners = {}}, *is);
            ++is;
        } else {
            CompareStream(*was++, *is++);
        }
    }
}

void Comparison::CompareStream(const Stream& before, const Stream& after) {
    const AtPorts was = PortsOf(before);
    const AtPorts is = PortsOf(after);
    for (unsigned port = 0; port < portNumbers; ++port) {
        CompareTalkers(after.id, port, was[port], is[port]);
        CompareListeners(after.id, port, was[port], is[port]);
        CompareReservations(after.id, port, was[port].reserved, is[port].reserved);
    }
}

void Comparison::CompareTalkers(Id stream, unsigned port, const AtPort& before, const AtPort& after) {
    if (after.isTalkerHeard && !before.isTalkerHeard) {
        AddOfStream(ChangeKind::TALKER_CAME, stream, port, fmt::format("talker came at port {}", port));
    }
    if (!after.isTalkerHeard && before.isTalkerHeard) {
        AddOfStream(ChangeKind::TALKER_GONE, stream, port, fmt::format("talker gone from port {}", port));
    }
    if (after.failed && (!before.failed || !IsSameFailure(*before.failed, *after.failed))) {
        AddOfStream(ChangeKind::TALKER_FAILED, stream, port, "talker failed, " + FailureText(*after.failed));
    }
    if (before.failed && !after.failed && after.talker) {
        AddOfStream(ChangeKind::TALKER_RECOVERED, stream, port, fmt::format("talker no longer failed, port {}", port));
    }
}

void Comparison::CompareListeners(Id stream, unsigned port, const AtPort& before, const AtPort& after) {
    if (before.listener == after.listener) return;
    if (!before.listener) {
        AddOfStream(ChangeKind::LISTENER_CAME, stream, port,
                    fmt::format("listener came at port {}, {}", port, Name(*after.listener)));
    } else if (!after.listener) {
        AddOfStream(ChangeKind::LISTENER_GONE, stream, port, fmt::format("listener gone from port {}", port));
    } else {
        AddOfStream(
            ChangeKind::LISTENER_CHANGED, stream, port,
            fmt::format("listener at port {} {} (was {})", port, Name(*after.listener), Name(*before.listener)));
    }
}

void Comparison::CompareReservations(Id stream, unsigned port, Reserved before, Reserved after) {
    if (before == after) return;
    switch (after) {
        case Reserved::YES:
            return AddOfStream(ChangeKind::RESERVED, stream, port, fmt::format("reserved on port {}", port));
        case Reserved::NO:
            return AddOfStream(ChangeKind::NOT_RESERVED, stream, port, fmt::format("not reserved on port {}", port));
        case Reserved::UNKNOWN:
            return AddOfStream(ChangeKind::RESERVATION_UNKNOWN, stream, port,
                               fmt::format("reservation on port {} not known, as its listener asks failed", port));
    }
}

void Comparison::CompareVlans(const std::vector<Vlan>& before, const std::vector<Vlan>& after) {
    using PortsOfVlans = std::set<std::pair<unsigned, unsigned>>;  // VID, port
    const auto registered = [](const std::vector<Vlan>& vlans) {
        PortsOfVlans ports;
        for (const Vlan& vlan : vlans) {
            if (vlan.machines.IsRegistered()) ports.emplace(vlan.vid, vlan.port);
        }
        return ports;
    };
    const auto add = [this](const PortsOfVlans& some, const PortsOfVlans& others, ChangeKind kind, const char* text) {
        for (const auto& [vid, port] : some) {
            if (others.contains({vid, port})) continue;
            changes.push_back({kind, port, {}, vid, fmt::format("VLAN {}: {} at port {}", vid, text, port)});
        }
    };
    const PortsOfVlans was = registered(before), is = registered(after);
    add(was, is, ChangeKind::VLAN_GONE, "no longer registered");
    add(is, was, ChangeKind::VLAN_CAME, "registered");
}

}  // namespace

std::vector<Change> Changes(const Snapshot& before, const Snapshot& after) {
    Comparison comparison;
    comparison.ComparePorts(before.ports, after.ports);
    comparison.CompareClocks(before.clock, after.clock);
    comparison.CompareStreams(before.streams, after.streams);
    comparison.CompareVlans(before.vlans, after.vlans);
    return comparison.TakeChanges();
}

Change DaemonIsGone(const std::string& why) {
    return {.kind = ChangeKind::DAEMON_GONE, .text = "the daemon is gone (" + why + ")"};
}

Change DaemonIsBack() {
    return {.kind = ChangeKind::DAEMON_BACK, .text = "the daemon is back"};
}

}  // namespace norvad::ctl
