#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "lab/network/cpu_port.h"
#include "lab/network/network.h"
#include "ptp/clocks.h"

namespace norvad::network {

// What a file says of a network, every name in it resolved: bridges, stations and links are their places in the lists.
// Times are counted from the beginning of the run.

inline constexpr uint64_t noEnd = UINT64_MAX;

struct OscillatorPlan {
    int32_t errorPpb = 0;
    int32_t rampPpbPerSecond = 0;
    uint64_t rampFromNs = 0;
    uint64_t rampUntilNs = noEnd;
    int32_t wanderPpb = 0;  // the walk that it makes ten times a second has steps of this size
};

struct BridgePlan {
    std::string name;
    MacAddress mac{};
    uint8_t ports = 2;
    PtpSettings ptp;
    OscillatorPlan oscillator;
    uint32_t granularityNs = 8;
    uint64_t startNs = 0;  // what its clock shows when it is switched on
    uint64_t leastHandlingNs = 0;
    uint64_t mostHandlingNs = 0;  // a frame waits so long for its daemon
    std::optional<CpuPort> cpuPort;
};

struct End {
    bool isStation = false;
    size_t index = 0;
    uint8_t port = 0;
};

struct LinkPlan {
    std::string name;  // "b1-b2"
    End a, b;
    CableSettings cable;
};

struct StationPlan {
    std::string name;
    MacAddress mac{};
    size_t bridge = 0;
    uint8_t port = 0;      // of the bridge
    uint16_t streams = 0;  // that it offers
    uint32_t rate = 100;   // frames per second that are really sent, of each stream and into each VLAN
    uint16_t maxFrameSize = 100;
    uint16_t intervalFrames = 1;
    bool isClassB = false;
    bool eager = false;
    std::vector<size_t> listensTo;  // stations
    std::vector<uint16_t> vlans, vlanFrames;
};

// What happens to a link, a bridge or a station at a time.
enum class Happening : uint8_t {
    CUT,        // of a link
    MEND,       //
    POWER_OFF,  // of a bridge
    POWER_ON,   //
    KILL,       // its daemon
    START,      //
    PRIORITY,   //
    LEAVE,      // of a station: it withdraws all that it has declared
    COME,       //
};

struct EventPlan {
    uint64_t atNs = 0;
    Happening happening = Happening::CUT;
    size_t index = 0;
    int32_t number = 0;  // the priority
    std::string text;    // "cut b1-b2"
};

// Of the bridges' clocks against the grandmaster that each follows.
struct TimeErrorLimit {
    uint64_t mostNs;
    std::vector<size_t> bridges;
};
struct TimeOffset {
    int64_t isNs, giveNs;
    std::vector<size_t> bridges;
};
struct OneGrandmaster {
    size_t bridge;
    std::vector<size_t> followers;
};
// Of every stream that somebody listens to, from its talker to each listener.
struct ReservedWithin {
    uint64_t ns;  // counted from the beginning of the window
};
struct StaysReserved {};
struct FramesLost {
    uint64_t least, most;
};
struct LatencyLimit {
    std::optional<uint64_t> mostNs;  // none: what MSRP promised
};

struct Expectation {
    std::string text;  // as it stands in the file
    uint64_t fromNs = 0;
    uint64_t untilNs = noEnd;
    std::variant<TimeErrorLimit, TimeOffset, OneGrandmaster, ReservedWithin, StaysReserved, FramesLost, LatencyLimit>
        wanted;
};

struct Scenario {
    std::string title;
    uint64_t durationNs = 60'000'000'000;
    uint64_t seed = 1;
    std::optional<uint64_t> spanningTreeNs;  // how long the stand-in for it takes; none: every port forwards at once
    std::vector<BridgePlan> bridges;
    std::vector<StationPlan> stations;
    std::vector<LinkPlan> links;
    std::vector<EventPlan> events;
    std::vector<Expectation> expectations;
};

}  // namespace norvad::network
