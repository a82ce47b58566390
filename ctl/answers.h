#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "ctl/model.h"

namespace norvad::ctl {

// Lines of an answer that are none of those which the daemon writes. All are counted, the first few are kept.
struct NotUnderstood {
    static constexpr size_t kept = 16;

    size_t count = 0;
    std::vector<std::string> lines;

    void Add(std::string_view line);
    void Add(const NotUnderstood& others);
};

struct PortsAnswer {
    std::vector<Port> ports;
    NotUnderstood notUnderstood;
};

// Records in the order of the answer: port by port, on each port the talkers, the failed talkers, the listeners.
struct StreamsAnswer {
    std::vector<TalkerRecord> talkers;
    std::vector<ListenerRecord> listeners;
    NotUnderstood notUnderstood;
};

struct DomainsAnswer {
    std::vector<Domain> domains;
    NotUnderstood notUnderstood;
};

struct VlansAnswer {
    std::vector<Vlan> vlans;
    NotUnderstood notUnderstood;
};

struct ClockAnswer {
    std::optional<Clock> clock;
    NotUnderstood notUnderstood;
};

// Read the daemon's answers to -s, -r, -o, -v and -p. Any text is read to its end: a line is either one that the daemon
// writes, to the letter, or not understood.
PortsAnswer ReadPorts(std::string_view answer);
StreamsAnswer ReadStreams(std::string_view answer);
DomainsAnswer ReadDomains(std::string_view answer);
VlansAnswer ReadVlans(std::string_view answer);
ClockAnswer ReadClock(std::string_view answer);

}  // namespace norvad::ctl
