#include "ctl/stream_steps.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "ctl/port_steps.h"
#include "ctl/text.h"

namespace norvad::ctl {

namespace {

constexpr std::array<unsigned, 2> externalPorts = {0, 1};

using Steps = std::vector<Step>;

void Append(Steps& steps, Steps more) {
    for (Step& step : more) steps.push_back(std::move(step));
}

std::string FailureWords(const TalkerFailure& failure) {
    const std::string reason = failure.code ? fmt::format("code {} {}", *failure.code, failure.words) : "unknown code";
    return fmt::format("{}, at bridge {}", reason, IdText(failure.bridge));
}

// What the records say of one stream, and the rungs that follow from that.
class StreamPath {
public:
    explicit StreamPath(const Stream& stream);

    Steps All(const Snapshot& bridge) const;

private:
    const TalkerRecord* DeclaredOn(unsigned port) const;
    const ListenerRecord* RegisteredOn(unsigned port) const;

    Step TalkerHeard() const;
    Step TalkerPassedOn(unsigned port) const;
    Step ListenerAsks(std::optional<unsigned> port) const;  // on any port where none is given
    Step ListenerPassedOn(unsigned port) const;
    Step Reservation(const ListenerRecord& listener) const;
    Step Bandwidth(unsigned port) const;

    const Stream& stream;
    const TalkerRecord* heard = nullptr;  // what a neighbour declares; null when none does
    std::vector<unsigned> in, out;        // ports by which the stream comes, and by which it is to leave
};

StreamPath::StreamPath(const Stream& stream) : stream(stream) {
    for (const TalkerRecord& talker : stream.talkers) {
        if (talker.machines.IsRegistered() && (!heard || (heard->failure && !talker.failure))) heard = &talker;
    }
    if (heard) in = {heard->port};
    for (const ListenerRecord& listener : stream.listeners) {
        if (listener.machines.IsRegistered() && (!heard || listener.port != heard->port)) out.push_back(listener.port);
    }
    const auto others = [](const std::vector<unsigned>& ports) {
        std::vector<unsigned> left;
        for (const unsigned port : externalPorts) {
            if (std::find(ports.begin(), ports.end(), port) == ports.end()) left.push_back(port);
        }
        return left;
    };
    if (!heard) in = others(out);
    if (heard && out.empty()) out = others(in);
}

Steps StreamPath::All(const Snapshot& bridge) const {
    Steps steps;
    for (const unsigned port : in) Append(steps, LinkSteps(bridge, port));
    for (const unsigned port : out) {
        Append(steps, LinkSteps(bridge, port));
        Append(steps, NeighbourSteps(bridge, port));
    }
    steps.push_back(TalkerHeard());
    if (heard) {
        for (const unsigned port : out) steps.push_back(TalkerPassedOn(port));
    }
    for (const unsigned port : out) steps.push_back(ListenerAsks(port));
    if (out.empty()) steps.push_back(ListenerAsks({}));
    const bool isAskedFor = std::any_of(out.begin(), out.end(), [&](unsigned port) { return RegisteredOn(port); });
    if (!heard || !isAskedFor) return steps;

    steps.push_back(ListenerPassedOn(heard->port));
    for (const unsigned port : out) {
        const ListenerRecord* listener = RegisteredOn(port);
        if (!listener) continue;
        steps.push_back(Reservation(*listener));
        if (steps.back().finding == Finding::HOLDS) steps.push_back(Bandwidth(port));
    }
    return steps;
}

const TalkerRecord* StreamPath::DeclaredOn(unsigned port) const {
    const TalkerRecord* declared = nullptr;
    for (const TalkerRecord& talker : stream.talkers) {
        if (talker.port != port || !talker.machines.IsDeclared()) continue;
        if (!declared || !talker.failure) declared = &talker;
    }
    return declared;
}

const ListenerRecord* StreamPath::RegisteredOn(unsigned port) const {
    for (const ListenerRecord& listener : stream.listeners) {
        if (listener.port == port && listener.machines.IsRegistered()) return &listener;
    }
    return nullptr;
}

Step StreamPath::TalkerHeard() const {
    if (!heard) {
        return Missing(
            {"talker", {}, "-r"}, "no neighbour declares it",
            "The talker has not been declared to this bridge, or was withdrawn.",
            "To do: start the talker, and look whether the bridges between it and this one have it; it may "
            "wait until its port is AS capable, see norvadctl explain port. norvadctl log msrp 1 logs "
            "'[SW-MSRP] Port(N) Add:' with each talker that comes and 'Remove:' with each that goes; one that "
            "is refused or malformed is logged at level 0.");
    }
    const Step step{"talker", heard->port, "-r"};
    if (!heard->failure) {
        return Holds(step, fmt::format("to {}, latency {} ns", AddressText(heard->destination), heard->latencyNs));
    }
    return Missing(
        step, "failed: " + FailureWords(*heard->failure),
        "The talker arrives failed. The cause is at the bridge named above, on the way from the talker; this "
        "bridge only passes it on, and nothing is reserved for it.",
        fmt::format("To do: look at the bridge with the address {}.",
                    AddressText(heard->failure->bridge & 0xFFFF'FFFF'FFFF)));
}

Step StreamPath::TalkerPassedOn(unsigned port) const {
    const Step step{"talker passed on", port, "-r"};
    const TalkerRecord* declared = DeclaredOn(port);
    if (declared && !declared->failure) return Holds(step, "declared");
    if (declared) {
        return Missing(
            step, "failed: " + FailureWords(*declared->failure),
            "A talker is declared as failed on a port that is not AS capable, with code 8 and this bridge's "
            "name; one that arrives failed keeps its code and bridge.",
            fmt::format("To do: see norvadctl explain port {} for code 8, the bridge named above otherwise.", port));
    }
    return Missing(step, "not declared",
                   "A talker is declared on every other port whose link is up, when it is registered and when the port "
                   "becomes AS capable. Streams of this host's own talkers and listeners are bound to one port by the "
                   "seventh byte of the StreamID: 1f or 3f to port 0, 2f or 7f to port 1.",
                   fmt::format("To see it: norvadctl log msrp 1 logs '[SW-MSRP] Port({}) Propagate from (N)' as it "
                               "happens.",
                               port));
}

Step StreamPath::ListenerAsks(std::optional<unsigned> port) const {
    const Step step{"listener", port, "-r"};
    const ListenerRecord* listener = port ? RegisteredOn(*port) : nullptr;
    if (!listener) {
        return Missing(step, "no neighbour asks for it", "No listener of the stream is declared to this bridge there.",
                       "To do: start the listener, and look whether the bridges between it and this one have it. "
                       "norvadctl log msrp 2 logs '[SW-MSRP] Port(N) Add:' with each listener that comes.");
    }
    if (listener->declaration == Declaration::READY) return Holds(step, "ready");
    if (listener->declaration == Declaration::READY_FAILED) {
        return Holds(step, "ready failed: others behind the port cannot receive it");
    }
    return Missing(
        step, Name(listener->declaration),
        "Listeners behind the port want the stream, and none of them can receive it: they heard the talker as "
        "failed, or a bridge further on lacks something. Only ready and ready failed reserve; what was "
        "reserved before stays until listener or talker leaves.",
        "To do: look at the neighbour there, and whether the talker is passed on to it as failed.");
}

Step StreamPath::ListenerPassedOn(unsigned port) const {
    const Step step{"listener passed on", port, "-r"};
    for (const ListenerRecord& listener : stream.listeners) {
        if (listener.port == port && listener.machines.IsDeclared()) return Holds(step, Name(listener.declaration));
    }
    return Missing(
        step, "not declared to the talker",
        "A listener is carried to the talker's port when that has a link, and both have their spanning tree "
        "up. With 1f, 2f, 3f or 7f as seventh byte of the StreamID it is carried between ports that lead out "
        "only from or to a neighbour of this bridge's make, which is not in the answers.",
        "To do: see the steps above of both ports. norvadctl log msrp 3 logs each listener that is not "
        "carried because of the seventh byte as 'throw away listener'.");
}

Step StreamPath::Reservation(const ListenerRecord& listener) const {
    const Step step{"reservation", listener.port, "-r"};
    constexpr const char* rule =
        "A stream is reserved on the port of a listener that is ready or ready failed and is carried to the talker.";
    switch (stream.ReservedFor(listener)) {
        case Reserved::YES:
            return Holds(step, "follows from the ready listener");
        case Reserved::NO:
            return Missing(step, "none", rule, "To do: mend what is missing above.");
        case Reserved::UNKNOWN:
            break;
    }
    return Unknown(
        step, "kept if the listener was ready before",
        fmt::format("{} One that turned to asking failed keeps what it had, which is not in the answers.", rule),
        "To see it: norvadctl log ioctl 1 logs 'EnableMulticast on port N' and 'DisableMulticast' as it is "
        "made and ended; the driver's own tables have it.");
}

Step StreamPath::Bandwidth(unsigned port) const {
    return Unknown(
        {"bandwidth", port, "-r"}, "not in the answers",
        "It is MaxIntervalFrames x (8000 x MaxFrameSize + 400000) bytes a second, of the talker's values. The "
        "daemon hands the driver the port's sum for the VLAN and refuses none for lack of bandwidth.",
        fmt::format("To see it: norvadctl log ioctl 2 logs 'SWITCH_EGRESS_LIMIT: port {} -> N bps', N in "
                    "bytes a second, when the sum changes; norvadctl log msrp 3 logs the talker's values.",
                    port));
}

}  // namespace

std::vector<Step> StreamSteps(const Snapshot& bridge, Id id) {
    const auto found = std::find_if(bridge.streams.begin(), bridge.streams.end(),
                                    [id](const Stream& stream) { return stream.id == id; });
    const Stream unheardOf;
    return StreamPath(found == bridge.streams.end() ? unheardOf : *found).All(bridge);
}

}  // namespace norvad::ctl
