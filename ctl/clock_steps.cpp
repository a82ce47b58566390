#include "ctl/clock_steps.h"

#include <fmt/format.h>

#include <algorithm>

#include "ctl/text.h"

namespace norvad::ctl {

namespace {

// "port 0 yes, port 1 no", of the ports that lead out.
std::string OfEachPort(const Snapshot& bridge, bool Port::*holds, const char* yes, const char* no) {
    std::string text;
    for (const Port& port : bridge.ports) {
        if (port.IsCpu()) continue;
        text += fmt::format("{}port {} {}", text.empty() ? "" : ", ", port.number, port.*holds ? yes : no);
    }
    return text.empty() ? "no port in the answer" : text;
}

bool OnAnyPort(const Snapshot& bridge, bool Port::*holds) {
    return std::any_of(bridge.ports.begin(), bridge.ports.end(),
                       [holds](const Port& port) { return !port.IsCpu() && port.*holds; });
}

Step LinkStep(const Snapshot& bridge) {
    const Step step{"link", {}, "-s"};
    const std::string seen = OfEachPort(bridge, &Port::isUp, "up", "down");
    if (OnAnyPort(bridge, &Port::isUp)) return Holds(step, seen);
    return Missing(step, seen,
                   "No port that leads out has a link, so there is nobody to take the time from or to give it to.",
                   "To do: norvadctl explain port 0, and port 1.");
}

Step SpanningTreeStep(const Snapshot& bridge) {
    const Step step{"spanning tree", {}, "-s"};
    const std::string seen = OfEachPort(bridge, &Port::isStpUp, "up", "down");
    if (OnAnyPort(bridge, &Port::isStpUp)) return Holds(step, seen);
    return Missing(step, seen, "Announce, Sync and Follow_Up are taken and sent only where the spanning tree is up.",
                   "To do: norvadctl explain port 0, and port 1.");
}

Step AsCapableStep(const Snapshot& bridge) {
    const Step step{"AS capable", {}, "-s"};
    const std::string seen = OfEachPort(bridge, &Port::isAvbUp, "yes", "no");
    if (OnAnyPort(bridge, &Port::isAvbUp)) return Holds(step, seen);
    return Missing(
        step, seen,
        "A port is AS capable while its neighbour answers peer delay requests. Time and Announce leave only by "
        "such ports, and the first answer is what lets this bridge bid to be grandmaster.",
        "To do: norvadctl explain port 0, and port 1.");
}

Step StateStep(const Clock& clock) {
    const Step step{"state", {}, "-p"};
    if (clock.state == "SLAVE" || clock.state == "MASTER") return Holds(step, clock.state);
    if (clock.state == "ANNOUNCE") {
        return Missing(
            step, clock.state,
            "The bridge bids to be grandmaster. It becomes it 2 to 4 s later, or follows a better clock that "
            "announces itself meanwhile.",
            "To do: ask again in 4 s.");
    }
    return Missing(
        step, clock.state,
        "The bridge waits: for a neighbour to answer a peer delay request, upon which it bids to be grandmaster, "
        "or for a better clock to announce itself. It waits for the latter only when it was started with "
        "--nogm, which is not in the answers. From following it comes back to this 4 to 6 s after the last "
        "Follow_Up, logged at PTP level 0 as 'No sync coming in'.",
        "To do: look at the grandmaster, and whether the daemon's command line has --nogm. norvadctl log ptp 1 "
        "logs each change of the state and each better clock.");
}

Step GrandmasterStep(const Clock& clock) {
    const Step step{"grandmaster", {}, "-p"};
    if (clock.state == "MASTER") return Holds(step, fmt::format("this bridge, {}", ClockIdText(clock.grandmaster)));
    if (clock.state == "SLAVE") {
        return Holds(step, fmt::format("{}, announced by {} at {} steps", ClockIdText(clock.grandmaster),
                                       ClockIdText(clock.neighbour), clock.stepsRemoved));
    }
    return Missing(
        step, "none is followed",
        "The best clock by priority1, class, accuracy, variance, priority2 and identity becomes grandmaster.",
        "To do: see the state.");
}

Step OffsetStep(const Clock& clock) {
    const Step step{"offset", {}, "-p"};
    const std::string seen = fmt::format("{} ns, rms {:.6g} ns, grandmaster's clock {}", clock.offsetNs, clock.rms,
                                         PpmText(clock.cumulativeRateRatio));
    if (!clock.IsOffsetMeasured()) {
        return Unknown(step, "none measured", "No Follow_Up of the grandmaster was taken yet.",
                       "To see it: norvadctl log ptp 3 logs 'Handle PTP_SYNC_MESSAGE on in_port N' and 'Handle "
                       "PTP_FOLLOW_UP_MESSAGE'; what is refused is logged at level 1.");
    }
    if (clock.IsOffsetSmall()) return Holds(step, seen);
    return Missing(
        step, seen,
        "The daemon counts an offset from -499 to 499 ns as in sync; nine of these in a row are logged at PTP "
        "level 1 as 'slave sync acquired'. The value shown is the mean of the last ones. One beyond 200000 ns is "
        "let pass, and a second in a row steps the clock.",
        "To do: wait some seconds after a change; else look at the link delays, and whether time stamps are made "
        "in hardware. norvadctl log ptp 5 logs every offset as 'delta = N ns'.");
}

}  // namespace

std::vector<Step> ClockSteps(const Snapshot& bridge) {
    std::vector<Step> steps = {LinkStep(bridge), SpanningTreeStep(bridge), AsCapableStep(bridge)};
    if (!bridge.clock) {
        steps.push_back(Unknown({"state", {}, "-p"}, "no status in the answer",
                                "The daemon's answer held no status line that could be read.", ""));
        return steps;
    }
    steps.push_back(StateStep(*bridge.clock));
    steps.push_back(GrandmasterStep(*bridge.clock));
    if (bridge.clock->state == "SLAVE") steps.push_back(OffsetStep(*bridge.clock));
    return steps;
}

}  // namespace norvad::ctl
