#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace norvad::ctl {

// What the daemon's answers say, as values. Ports are numbered as the daemon numbers them: 0 and 1 lead out, 6 to the
// CPU.

inline constexpr unsigned cpuPort = 6;
inline constexpr unsigned portNumbers = 7;  // 0..6

enum class Registrar { IN, LV, MT };

// The MRP machines of one record.
struct Machines {
    std::string applicant = "VO";  // two letters: "QA", ...
    Registrar registrar = Registrar::MT;

    // The neighbour declares the value, or did until a moment ago.
    bool IsRegistered() const { return registrar != Registrar::MT; }

    // This bridge declares the value to the neighbour. The other states of the Applicant watch, or take it back.
    bool IsDeclared() const { return applicant[0] != 'L' && applicant[1] != 'O'; }
    bool operator==(const Machines&) const = default;
};

struct Port {
    unsigned number = 0;
    bool isUp = false;
    bool isStpUp = false;  // false when the port is down
    bool isAvbUp = false;  // AS capable; false when the port is down
    bool IsCpu() const { return number == cpuPort; }
    bool operator==(const Port&) const = default;
};

// The 8 bytes of a StreamID, a clock's or a bridge's identity, the first one most significant.
using Id = uint64_t;

// Why and where a talker failed, IEEE 802.1Q, table 35-6.
struct TalkerFailure {
    Id bridge = 0;
    std::optional<unsigned> code;  // none: words of no code that the daemon knows
    std::string words;             // "Egress port is not AVB capable"
    bool operator==(const TalkerFailure&) const = default;
};

struct TalkerRecord {
    Id stream = 0;
    unsigned port = 0;
    uint64_t destination = 0;  // 48 bits
    uint32_t latencyNs = 0;
    std::optional<TalkerFailure> failure{};
    Machines machines{};
    unsigned number = 0;  // among the talkers of all ports, or among the failed ones, from 0
    bool operator==(const TalkerRecord&) const = default;
};

enum class Declaration { IGNORE, ASKING_FAILED, READY, READY_FAILED, UNKNOWN };

struct ListenerRecord {
    Id stream = 0;
    unsigned port = 0;
    Declaration declaration = Declaration::UNKNOWN;
    Machines machines{};
    unsigned number = 0;  // among the listeners of all ports, from 0
    bool operator==(const ListenerRecord&) const = default;
};

struct Domain {
    unsigned port = 0;
    unsigned srClass = 0;  // 5 is class B, 6 is class A
    unsigned priority = 0;
    unsigned vid = 0;
    Machines machines{};
    bool operator==(const Domain&) const = default;
};

struct Vlan {
    unsigned port = 0;
    unsigned vid = 0;
    Machines machines{};
    bool operator==(const Vlan&) const = default;
};

inline constexpr int64_t largestInSyncOffsetNs = 499;  // as the daemon counts it

struct Clock {
    std::string state;  // "LISTENING", "ANNOUNCE", "SLAVE", "MASTER", "INITIALIZING"
    Id grandmaster = 0;
    Id neighbour = 0;  // that sends the best Announce
    unsigned stepsRemoved = 0;
    std::array<int64_t, 2> linkDelayNs{};  // of port 0 and 1
    int64_t offsetNs = 0;                  // filtered
    double rms = 0;                        // ns, of the offset
    std::array<double, 2> rateRatio{};     // of the neighbours at port 0 and 1, less 1
    double cumulativeRateRatio = 0;        // of the grandmaster, less 1
    int64_t windowMode = 0;

    // A slave has both at 0 until the grandmaster's first Follow_Up.
    bool IsOffsetMeasured() const { return offsetNs != 0 || rms != 0; }
    bool IsOffsetSmall() const { return offsetNs >= -largestInSyncOffsetNs && offsetNs <= largestInSyncOffsetNs; }

    // The bridge is grandmaster, or follows one closely.
    bool HasTime() const { return state == "MASTER" || (state == "SLAVE" && IsOffsetMeasured() && IsOffsetSmall()); }
};

}  // namespace norvad::ctl
