// How many VLANs, talkers and listeners a bridge keeps declared to its neighbour. Two handlers, one's port 1 wired to
// the other's port 0, live for minutes of a stepped clock. What the first has registered on its port 0 is refreshed all
// the time, so only the way between the two decides what stays: each LeaveAll asks for everything again before the
// leave timer ends, with so many bytes a PDU and so many PDUs a second. The numbers are the same in every run and on
// every machine.

#include <algorithm>
#include <cstdio>
#include <vector>

#include "base/log.h"
#include "base/timer_service.h"
#include "base/wire.h"
#include "msrp/msrp_handler.h"
#include "mvrp/mvrp_handler.h"
#include "switch/cpu_tag.h"
#include "tests/support/fake_switch.h"
#include "tests/support/stepped_clock.h"

namespace norvad::bench {

namespace {

constexpr uint32_t warmUpMs = 60'000;
constexpr uint32_t watchedMs = 300'000;
constexpr uint32_t refreshMs = 200;

template <typename Handler>
struct Node {
    explicit Node(const Clock& clock) : timers(clock) {}

    // Frames for the neighbour of a port arrive at one port of the other node.
    void Deliver(uint8_t from, Node& other, uint8_t to) {
        const CpuTag tag{ETHERTYPE_TAG, 0, 0, static_cast<uint8_t>(to << 3), {0, 0}};
        auto frames = std::move(bridge.sent);
        bridge.sent.clear();
        for (auto& frame : frames) {
            if (frame.port != from) continue;
            Put(std::span<uint8_t>(frame.bytes), offsetof(TaggedHeader, tag), tag);
            other.handler.HandleFrame(frame.bytes, other.handler.GetEtherType());
        }
    }

    TimerService timers;
    test::FakeSwitch bridge;
    Handler handler{bridge, bridge, timers};
};

// A kind of value: Register refreshes one at the declarer, Prepare what it needs on the side of the neighbour, and Find
// looks for it there.

struct Vlans {
    using Handler = MVRPHandler;
    static void Register(Handler& handler, uint32_t number) {
        handler.AddVlan(static_cast<uint16_t>(1 + number), Event::RJOIN_IN, 0);
    }
    static void Prepare(Handler&, uint32_t) {}
    static const MRPAttribute* Find(Handler& handler, uint32_t number) {
        return handler.FindVlan(static_cast<uint16_t>(1 + number), 0);
    }
};

TalkerFirstValue StreamNumber(uint8_t station, uint32_t number) {
    const auto high = static_cast<uint8_t>(number >> 8);
    const auto low = static_cast<uint8_t>(number);
    return {{2, 0, 0, 0, 0, station, high, low}, {0x91, 0xE0, 0xF0, station, high, low}, 2, 100, 1, 0x70, 5000};
}

struct Talkers {
    using Handler = MSRPHandler;
    static void Register(Handler& handler, uint32_t number) {
        handler.AddTalker(StreamNumber(1, number), Event::RJOIN_IN, 0);
    }
    static void Prepare(Handler&, uint32_t) {}
    static const MRPAttribute* Find(Handler& handler, uint32_t number) {
        return handler.FindTalker(StreamNumber(1, number).streamId, 0);
    }
};

// Their talkers come from the neighbour, so the declarer has nothing but listeners to declare to it.
struct Listeners {
    using Handler = MSRPHandler;
    static void Register(Handler& handler, uint32_t number) {
        handler.AddListener(StreamNumber(2, number).streamId, ListenerDeclaration::READY, Event::RJOIN_IN, 0);
        handler.AddTalker(StreamNumber(2, number), Event::RJOIN_IN, 1);
    }
    static void Prepare(Handler&, uint32_t) {}
    static const MRPAttribute* Find(Handler& handler, uint32_t number) {
        return handler.FindListener(StreamNumber(2, number).streamId, 0);
    }
};

// One talker goes one way for each listener, whose own talker comes the other way.
struct ListenersBesideTalkers : Listeners {
    static void Register(Handler& handler, uint32_t number) {
        Talkers::Register(handler, number);
        Listeners::Register(handler, number);
    }
};
struct TalkersBesideListeners : ListenersBesideTalkers {
    static const MRPAttribute* Find(Handler& handler, uint32_t number) { return Talkers::Find(handler, number); }
};

// Streams from the declarer's far side to the neighbour's: a talker one way and its listener back, both of them carried
// from bridge to bridge.
struct Streams {
    using Handler = MSRPHandler;
    static void Register(Handler& handler, uint32_t number) { Talkers::Register(handler, number); }
    static void Prepare(Handler& handler, uint32_t number) {
        handler.AddListener(StreamNumber(1, number).streamId, ListenerDeclaration::READY, Event::RJOIN_IN, 1);
    }
    // The reservation that the stream needs at the neighbour.
    static const MRPAttribute* Find(Handler& handler, uint32_t number) {
        const Listener* listener = handler.FindListener(StreamNumber(1, number).streamId, 1);
        return listener && listener->reservation.active ? listener : nullptr;
    }
};

// How many of so many values the neighbour had registered without a break.
template <typename Kind>
uint32_t Held(uint32_t values) {
    test::SteppedClock clock;
    Node<typename Kind::Handler> declarer(clock), neighbour(clock);
    declarer.bridge.Raise(0);
    declarer.bridge.Raise(1);
    neighbour.bridge.Raise(0);
    neighbour.bridge.Raise(1);

    std::vector<bool> held(values, true);
    for (uint32_t ms = 0; ms < warmUpMs + watchedMs; ++ms) {
        for (uint32_t n = 0; ms % refreshMs == 0 && n < values; ++n) {
            Kind::Register(declarer.handler, n);
            Kind::Prepare(neighbour.handler, n);
        }
        clock.AdvanceMs(1);
        declarer.timers.runDue();
        neighbour.timers.runDue();
        declarer.Deliver(1, neighbour, 0);
        neighbour.Deliver(0, declarer, 1);
        if (ms < warmUpMs || ms % 100 != 0) continue;
        for (uint32_t n = 0; n < values; ++n) {
            const MRPAttribute* value = Kind::Find(neighbour.handler, n);
            if (!value || !value->IsRegistered()) held[n] = false;
        }
    }
    return static_cast<uint32_t>(std::count(held.begin(), held.end(), true));
}

template <typename Kind>
uint32_t MostThatAllStay(uint32_t enough, uint32_t tooMany) {
    if (Held<Kind>(tooMany) == tooMany) return tooMany;
    while (tooMany - enough > 1) {
        const uint32_t middle = (enough + tooMany) / 2;
        (Held<Kind>(middle) == middle ? enough : tooMany) = middle;
    }
    return enough;
}

template <typename Kind>
void Report(const char* name, std::initializer_list<uint32_t> counts, uint32_t largest) {
    std::printf("%s: up to %u all stay declared\n", name, MostThatAllStay<Kind>(1, largest));
    for (const uint32_t count : counts)
        std::printf("    of %5u declared, %5u are never missing at the neighbour\n", count, Held<Kind>(count));
}

}  // namespace

}  // namespace norvad::bench

int main() {
    using namespace norvad;
    setvbuf(stdout, nullptr, _IOLBF, 0);
    for (const LogCategory quiet : {LogCategory::MRP, LogCategory::MSRP, LogCategory::MVRP})
        debugLevels[static_cast<size_t>(quiet)] = -1;
    bench::Report<bench::Vlans>("VLANs", {1'000, 2'000, 4'094}, 4'094);
    bench::Report<bench::Talkers>("talkers", {100, 250, 1'000, 10'000}, 10'000);
    bench::Report<bench::Listeners>("listeners", {250, 1'000}, 2'000);
    bench::Report<bench::ListenersBesideTalkers>("listeners beside as many talkers", {250, 1'000}, 2'000);
    bench::Report<bench::TalkersBesideListeners>("talkers beside as many listeners", {250, 1'000}, 2'000);
    bench::Report<bench::Streams>("streams reserved across two bridges", {200, 250, 1'000}, 2'000);
    return 0;
}
