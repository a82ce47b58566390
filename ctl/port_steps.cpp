#include "ctl/port_steps.h"

#include <fmt/format.h>

#include <algorithm>

#include "ctl/text.h"

namespace norvad::ctl {

namespace {

constexpr unsigned externalPorts = 2;

const Port* Find(const Snapshot& bridge, unsigned number) {
    const auto found = std::find_if(bridge.ports.begin(), bridge.ports.end(),
                                    [number](const Port& port) { return port.number == number; });
    return found == bridge.ports.end() ? nullptr : &*found;
}

template <typename Record>
size_t CountRegistered(const std::vector<Record>& records, unsigned port) {
    return static_cast<size_t>(std::count_if(records.begin(), records.end(), [port](const Record& record) {
        return record.port == port && record.machines.IsRegistered();
    }));
}

// Of an external port; 0 when there is none.
int64_t LinkDelayNs(const Snapshot& bridge, unsigned port) {
    return bridge.clock && port < externalPorts ? bridge.clock->linkDelayNs[port] : 0;
}

Step NotReported(Step step) {
    const unsigned number = *step.port;
    return Unknown(std::move(step), "the answer has no such port",
                   "The daemon reports the ports 0, 1 and 6, which leads to the CPU.",
                   fmt::format("To see it: norvadctl log msrp 1 logs '[SW-MSRP] port {} up' and 'down', 'STP up' and "
                               "'STP down', 'AVB up' and 'AVB down' as they happen.",
                               number));
}

Step LinkStep(const Snapshot& bridge, unsigned number) {
    Step step{"link", number, "-s"};
    const Port* port = Find(bridge, number);
    if (!port) return NotReported(step);
    if (port->isUp) return Holds(step, "up");
    return Missing(step, "down",
                   "The switch's driver reports no link. Nothing is exchanged with a neighbour, and AS capability goes "
                   "with the link at once.",
                   "To do: look at the cable and at the neighbour's power. norvadctl log msrp 1 logs each link that "
                   "comes and goes.");
}

Step SpanningTreeStep(const Snapshot& bridge, unsigned number) {
    Step step{"spanning tree", number, "-s"};
    const Port* port = Find(bridge, number);
    if (!port) return NotReported(step);
    if (!port->isUp) return Unknown(step, "no link", "What is known of a port ends with its link.", "");
    if (port->isStpUp) return Holds(step, "up");
    return Missing(step, "down",
                   "The switch's driver reports that the spanning tree blocks the port. Listeners are not carried from "
                   "there to a talker, nor to a talker there; Sync and Announce that arrive there are not taken.",
                   "To do: look which loop the switch's spanning tree closes here.");
}

Step NeighbourStep(const Snapshot& bridge, unsigned number) {
    Step step{"neighbour", number, "-o -v"};
    const size_t domains = CountRegistered(bridge.domains, number);
    const size_t vlans = CountRegistered(bridge.vlans, number);
    if (domains + vlans > 0) return Holds(step, fmt::format("declares {} domains, {} VLANs", domains, vlans));
    const Port* port = Find(bridge, number);
    if (port && port->isAvbUp && LinkDelayNs(bridge, number) != 0) {
        step.from = "-s -p";
        return Holds(step, "answers peer delay requests, declares no domain and no VLAN");
    }
    return Unknown(
        step, "declares no domain and no VLAN",
        "The answers show a neighbour only by what it declares and by its answers to peer delay requests.",
        fmt::format("To see it: norvadctl log msrp 1 logs '[SW-MSRP] DOMAIN on port {}' for each MSRP message, "
                    "norvadctl log ptp 3 each gPTP message that comes in.",
                    number));
}

const std::string asCapableRule =
    "A port becomes AS capable with the first peer delay request, one a second, that its neighbour answers whole: a "
    "response and its follow-up. It stays so until the fourth request in a row without such an answer, or until the "
    "link goes; how long the delay is does not matter. Until then no time leaves by the port, and talkers are declared "
    "there as failed with code 8, Egress port is not AVB capable.";

std::string AsCapableEvidence(const Snapshot& bridge, unsigned number) {
    const int64_t delayNs = LinkDelayNs(bridge, number);
    if (delayNs == 0) return "";
    return fmt::format(
        " The link delay of {} ns (-p) was measured earlier: the neighbour has answered, and does not "
        "any more.",
        delayNs);
}

Step AsCapableStep(const Snapshot& bridge, unsigned number) {
    Step step{"AS capable", number, "-s"};
    const Port* port = Find(bridge, number);
    if (!port) return NotReported(step);
    if (port->isAvbUp) return Holds(step, "yes");
    if (port->IsCpu()) {
        return Missing(step, "no", "No peer delay is measured at the port to the CPU, so it never becomes AS capable.",
                       "To do: nothing; streams to the CPU are declared there as failed.");
    }
    return Missing(step, "no", asCapableRule + AsCapableEvidence(bridge, number),
                   fmt::format("To do: switch gPTP on at the neighbour, with two-step peer delay. norvadctl log ptp 3 "
                               "logs 'Handle PTP_PDELAY_RESP_MESSAGE' for each response that comes and "
                               "'HandlePdelayRespFollowUpMessage N from in_port {0}' for each follow-up; what is wrong "
                               "with one is logged at level 0. A neighbour without gPTP can be taken for AS capable by "
                               "hand: norvadctl force, which names all such ports at once.",
                               number));
}

Step LinkDelayStep(const Snapshot& bridge, unsigned number) {
    Step step{"link delay", number, "-p"};
    const int64_t delayNs = LinkDelayNs(bridge, number);
    const Port* port = Find(bridge, number);
    if (delayNs != 0 && port && !port->isAvbUp) {
        return Unknown(step, fmt::format("{} ns when the neighbour answered last", delayNs),
                       "It is measured while the port is AS capable.", "");
    }
    if (delayNs != 0) {
        return Holds(step,
                     fmt::format("{} ns, the neighbour's clock {}", delayNs, PpmText(bridge.clock->rateRatio[number])));
    }
    return Unknown(
        step, "none measured",
        "Only a delay from -3000 to 15000 ns counts; another is logged at PTP level 0 as 'Unreasonable PTP "
        "PDELAY result' and leaves value and AS capability as they are. The value begins anew with the link "
        "and with each change of the clock's state, and stays 0 on a port that was made AS capable by hand.",
        fmt::format("To see it: norvadctl log ptp 1 logs '[SW-PTP] Port {} PDelay = N ns' for each exchange.", number));
}

std::string DomainText(const Domain& domain) {
    return fmt::format("class {} priority {} VLAN {}", ClassText(domain.srClass), domain.priority, domain.vid);
}

std::string DomainsText(const std::vector<const Domain*>& domains) {
    std::string text;
    for (const Domain* domain : domains) text += (text.empty() ? "" : ", ") + DomainText(*domain);
    return text.empty() ? "none" : text;
}

Step DomainStep(const Snapshot& bridge, unsigned number) {
    Step step{"domain", number, "-o"};
    std::vector<const Domain*> own, shared, foreign;
    for (const Domain& domain : bridge.domains) {
        if (domain.port != number) continue;
        const bool isOwn = domain.machines.IsDeclared();
        if (isOwn) own.push_back(&domain);
        if (domain.machines.IsRegistered()) (isOwn ? shared : foreign).push_back(&domain);
    }
    if (!shared.empty()) return Holds(step, DomainsText(shared));
    return Missing(
        step, "the neighbour declares " + DomainsText(foreign),
        fmt::format("This bridge declares {}. A neighbour that does not declare the same class, priority and "
                    "VLAN is beyond the boundary of the SRP domain: by the standard neither side sends "
                    "streams across it. This bridge itself reserves all the same.",
                    DomainsText(own)),
        fmt::format("To do: give the neighbour's SR class this priority and VLAN, or switch MSRP on there. "
                    "norvadctl log msrp 1 logs '[SW-MSRP] DOMAIN on port {}' for each message of it.",
                    number));
}

}  // namespace

std::vector<Step> LinkSteps(const Snapshot& bridge, unsigned port) {
    return {LinkStep(bridge, port), SpanningTreeStep(bridge, port)};
}

std::vector<Step> NeighbourSteps(const Snapshot& bridge, unsigned port) {
    return {NeighbourStep(bridge, port), AsCapableStep(bridge, port), LinkDelayStep(bridge, port),
            DomainStep(bridge, port)};
}

}  // namespace norvad::ctl
