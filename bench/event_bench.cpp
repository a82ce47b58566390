// How long the worst events hold the loop when every neighbour has declared all that it gets records for, in processor
// time of the thread, and how many lines they log. The driver does nothing: its requests are counted. And what memory
// such neighbours cost, and for how long.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "base/clock.h"
#include "base/file_descriptor.h"
#include "base/log.h"
#include "bench/full_bridge.h"
#include "bench/processor_time.h"
#include "daemon/control/command_executor.h"
#include "daemon/standard_log.h"
#include "mrp/mrpdu.h"

namespace norvad::bench {

namespace {

using test::Bytes;

constexpr size_t largestFrame = 2048;  // of those that the daemon reads

// A frame of port 0's neighbour, made of bytes without any sense but what is put in.
class Frame {
public:
    explicit Frame(uint16_t etherType) : etherType(etherType) {
        TaggedHeader header{};
        header.destination = etherType == ETHERTYPE_MSRP ? msrpGroupAddress : mvrpGroupAddress;
        header.tag = {ETHERTYPE_TAG, 0, 0, 0, {0, 0}};
        header.etherType = etherType;
        Add(header);
        Add(mrpProtocolVersion);
    }

    template <typename Record>
    Frame& Add(const Record& record) {
        for (const uint8_t byte : BytesOf(record)) bytes.push_back(byte);
        return *this;
    }
    Frame& Fill(size_t count, uint8_t byte) {
        bytes.resize(bytes.size() + count, byte);
        return *this;
    }

    size_t Room() const { return largestFrame - bytes.size(); }

    void Receive(FullBridge& world) const {
        if (etherType == ETHERTYPE_MSRP) {
            world.msrp->HandleFrame(bytes, etherType);
        } else {
            world.mvrp->HandleFrame(bytes, etherType);
        }
    }

private:
    const uint16_t etherType;
    Bytes bytes;
};

// A whole frame of one vector that begins with a value. The same event for all, and the same declaration for listeners.
template <typename FirstValue>
Frame ValuesFrom(uint8_t type, const FirstValue& first, AttributeEvent event, ListenerDeclaration declaration = {}) {
    const bool isVlan = type == REGISTER_VLAN && sizeof(FirstValue) == sizeof(VlanFirstValue);
    Frame frame(isVlan ? ETHERTYPE_MVRP : ETHERTYPE_MSRP);
    constexpr size_t around = sizeof(MrpMessageHeader) + sizeof(MrpVectorHeader) + sizeof first + 2 * mrpEndMarkSize;
    const bool fourPacked = type == LISTENER_VECTOR;
    const size_t dozens = (frame.Room() - around) / (fourPacked ? 7 : 4);
    const size_t eventBytes = dozens * (fourPacked ? 7 : 4);
    const auto values = static_cast<uint16_t>(12 * dozens);
    if (isVlan) {
        frame.Add(MrpShortMessageHeader{type, sizeof first});
    } else {
        const size_t listLength = sizeof(MrpVectorHeader) + sizeof first + eventBytes + mrpEndMarkSize;
        frame.Add(MrpMessageHeader{type, sizeof first, static_cast<uint16_t>(listLength)});
    }
    frame.Add(MrpVectorHeader{values}).Add(first);
    frame.Fill(4 * dozens, static_cast<uint8_t>(static_cast<int>(event) * 43));
    if (fourPacked) frame.Fill(3 * dozens, static_cast<uint8_t>(static_cast<int>(declaration) * 85));
    return frame.Fill(2 * mrpEndMarkSize, 0);
}

template <typename FirstValue>
void AddLeaveAll(Frame& frame, uint8_t type) {
    frame.Add(
        MrpMessageHeader{type, sizeof(FirstValue), sizeof(MrpVectorHeader) + sizeof(FirstValue) + mrpEndMarkSize});
    frame.Add(MrpVectorHeader{mrpLeaveAllEvent}).Fill(sizeof(FirstValue) + mrpEndMarkSize, 0);
}

// As a neighbour sends it with nothing to declare.
Frame LeaveAllOfEveryType() {
    Frame frame(ETHERTYPE_MSRP);
    AddLeaveAll<TalkerFirstValue>(frame, TALKER_ADVERTISE);
    AddLeaveAll<TalkerFailedFirstValue>(frame, TALKER_FAILED);
    AddLeaveAll<ListenerFirstValue>(frame, LISTENER_VECTOR);
    AddLeaveAll<DomainFirstValue>(frame, DOMAIN);
    return frame;
}

// As nobody sends it but out of malice.
Frame LeaveAllOverAndOver() {
    Frame frame(ETHERTYPE_MSRP);
    while (frame.Room() >= 16) AddLeaveAll<ListenerFirstValue>(frame, LISTENER_VECTOR);
    return frame;
}
Frame VlanLeaveAllOverAndOver() {
    Frame frame(ETHERTYPE_MVRP);
    while (frame.Room() >= 9) {
        frame.Add(MrpShortMessageHeader{REGISTER_VLAN, sizeof(VlanFirstValue)});
        frame.Add(MrpVectorHeader{mrpLeaveAllEvent}).Fill(sizeof(VlanFirstValue) + 3, 0);
    }
    return frame;
}
// Lists that say they are three bytes long, each with a vector that reaches to the end of the frame.
Frame ListsInOneAnother(uint16_t leaveAll) {
    Frame frame(ETHERTYPE_MSRP);
    constexpr size_t step = sizeof(MrpMessageHeader) + 3;
    for (size_t left = frame.Room(); left >= 64; left -= step) {
        const auto values = static_cast<uint16_t>(std::min<size_t>((left - 32) * 12 / 7, 8191));
        frame.Add(MrpMessageHeader{LISTENER_VECTOR, sizeof(ListenerFirstValue), 3});
        frame.Add(MrpVectorHeader{static_cast<uint16_t>(leaveAll | values)}).Fill(1, static_cast<uint8_t>(left));
    }
    return frame.Fill(frame.Room(), 0xFF);
}

// The longest round of the timers in so many ms.
double LongestRound(FullBridge& world, uint32_t ms) {
    double longest = 0;
    for (uint32_t n = 0; n < ms; ++n) {
        world.clock.AdvanceMs(1);
        longest = std::max(longest, Measure([&] { world.bridge.Timers().runDue(); }));
    }
    return longest;
}

double ReceiveIn(FullBridge& world, const Frame& frame) {
    return Measure([&] { frame.Receive(world); });
}

double AskFor(FullBridge& world, const char* command) {
    std::ostringstream answer;
    return Measure([&] { ExecuteCommand(world.bridge, command, answer); });
}

void LeaveAllFromEveryNeighbour(FullBridge& world) {
    for (uint8_t port = 0; port < world.portsUp; ++port) {
        for (uint8_t type = TALKER_ADVERTISE; type <= DOMAIN; ++type) world.msrp->ApplyToType(port, type, Event::RLA);
        world.mvrp->ApplyToType(port, Vlan::attributeType, Event::RLA);
    }
}

struct Trial {
    const char* name;
    void (*prepare)(FullBridge&);
    double (*act)(FullBridge&);  // seconds of processor time; of the longest round when it takes several
};

void Full(FullBridge& world) {
    world.FillAll();
}
void FullButPort0(FullBridge& world) {
    for (uint8_t port = 1; port < world.portsUp; ++port) world.Fill(port);
}

const Trial trials[] = {
    {"a second of timers, nothing happens", Full, [](FullBridge& w) { return LongestRound(w, 1'100); }},
    {"LeaveAll received, streams", Full, [](FullBridge& w) { return ReceiveIn(w, LeaveAllOfEveryType()); }},
    {"LeaveAll received, VLANs", Full,
     [](FullBridge& w) {
         Frame frame(ETHERTYPE_MVRP);
         frame.Add(MrpShortMessageHeader{REGISTER_VLAN, 2}).Add(MrpVectorHeader{mrpLeaveAllEvent}).Fill(6, 0);
         return ReceiveIn(w, frame);
     }},
    {"LeaveAll sent, streams", Full,
     [](FullBridge& w) {
         w.msrp->RunAttributeStateMachines(nullptr, 0, Event::LEAVEALLTIMER);
         return LongestRound(w, 300);
     }},
    {"LeaveAll sent, VLANs", Full,
     [](FullBridge& w) {
         w.mvrp->RunAttributeStateMachines(nullptr, 0, Event::LEAVEALLTIMER);
         return LongestRound(w, 300);
     }},
    {"leave timers of one neighbour expire", Full,
     [](FullBridge& w) {
         LeaveAllOfEveryType().Receive(w);
         return LongestRound(w, 1'100);
     }},
    {"leave timers of all neighbours expire", Full,
     [](FullBridge& w) {
         LeaveAllFromEveryNeighbour(w);
         return LongestRound(w, 1'100);
     }},
    {"removals after that, and memory given back",
     [](FullBridge& w) {
         w.FillAll();
         LeaveAllFromEveryNeighbour(w);
         LongestRound(w, 1'100);
     },
     [](FullBridge& w) { return LongestRound(w, 15'000); }},
    {"link of one port lost", Full, [](FullBridge& w) { return Measure([&] { w.LoseLinks(1); }); }},
    {"all links lost", Full, [](FullBridge& w) { return Measure([&] { w.LoseLinks(w.portsUp); }); }},
    {"link of one port back",
     [](FullBridge& w) {
         w.FillAll();
         w.LoseLinks(1);
     },
     [](FullBridge& w) { return Measure([&] { w.RegainLinks(); }); }},
    {"AVB lost on one port", Full,
     [](FullBridge& w) { return Measure([&] { w.bridge.SetAsCapable(0, false, false); }); }},
    {"AVB back, talkers were failed ones",
     [](FullBridge& w) {
         w.bridge.SetAsCapable(0, false, false);
         w.FillAll();
     },
     [](FullBridge& w) { return Measure([&] { w.bridge.SetAsCapable(0, true, false); }); }},
    {"a frame of new talkers", FullButPort0,
     [](FullBridge& w) {
         return ReceiveIn(
             w, ValuesFrom(TALKER_ADVERTISE, FullBridge::TalkerOf(FullBridge::TalkerId(0, 0)), AttributeEvent::NEW));
     }},
    {"a frame of listeners, each reserves", FullButPort0,
     [](FullBridge& w) {
         return ReceiveIn(w, ValuesFrom(LISTENER_VECTOR, FullBridge::TalkerId(1, 0), AttributeEvent::NEW,
                                        ListenerDeclaration::READY));
     }},
    {"a frame of listeners that change", Full,
     [](FullBridge& w) {
         return ReceiveIn(w, ValuesFrom(LISTENER_VECTOR, FullBridge::TalkerId(1, 0), AttributeEvent::JOIN,
                                        ListenerDeclaration::READY_FAILED));
     }},
    {"a frame of talkers refreshed", Full,
     [](FullBridge& w) {
         return ReceiveIn(
             w, ValuesFrom(TALKER_ADVERTISE, FullBridge::TalkerOf(FullBridge::TalkerId(0, 0)), AttributeEvent::JOIN));
     }},
    {"a frame of talkers declared anew", Full,
     [](FullBridge& w) {
         return ReceiveIn(
             w, ValuesFrom(TALKER_ADVERTISE, FullBridge::TalkerOf(FullBridge::TalkerId(0, 0)), AttributeEvent::NEW));
     }},
    {"a frame of leaves, talkers", Full,
     [](FullBridge& w) {
         return ReceiveIn(
             w, ValuesFrom(TALKER_ADVERTISE, FullBridge::TalkerOf(FullBridge::TalkerId(0, 0)), AttributeEvent::LV));
     }},
    {"a frame of leaves, listeners", Full,
     [](FullBridge& w) {
         return ReceiveIn(w, ValuesFrom(LISTENER_VECTOR, FullBridge::TalkerId(1, 0), AttributeEvent::LV,
                                        ListenerDeclaration::READY));
     }},
    {"a frame of leaves, VLANs", Full,
     [](FullBridge& w) { return ReceiveIn(w, ValuesFrom(REGISTER_VLAN, VlanFirstValue{0}, AttributeEvent::LV)); }},
    {"a frame of LeaveAlls, streams", Full, [](FullBridge& w) { return ReceiveIn(w, LeaveAllOverAndOver()); }},
    {"a frame of LeaveAlls, VLANs", Full, [](FullBridge& w) { return ReceiveIn(w, VlanLeaveAllOverAndOver()); }},
    {"a frame of lists in one another", Full, [](FullBridge& w) { return ReceiveIn(w, ListsInOneAnother(0)); }},
    {"the same with LeaveAlls", Full, [](FullBridge& w) { return ReceiveIn(w, ListsInOneAnother(mrpLeaveAllEvent)); }},
    {"report of all streams (-r)", Full, [](FullBridge& w) { return AskFor(w, "norvad3 -r "); }},
    {"report of all VLANs (-v)", Full, [](FullBridge& w) { return AskFor(w, "norvad3 -v "); }},
};

void MeasureTime(const Trial& trial) {
    constexpr int times = 3;
    std::printf("%-44s", trial.name);
    for (const uint8_t portsUp : {uint8_t{2}, uint8_t{3}}) {
        double longest = 0;
        uint64_t requests = 0;
        for (int n = 0; n < times; ++n) {
            FullBridge world(portsUp);
            trial.prepare(world);
            const uint64_t before = world.doors.DriverRequests();
            longest = std::max(longest, trial.act(world));
            requests = world.doors.DriverRequests() - before;
        }
        std::printf("  %u ports: %6.1f ms %7lu requests", portsUp, 1e3 * longest, static_cast<unsigned long>(requests));
    }
    std::printf("\n");
}

class CountedLines final : public LogSink {
public:
    CountedLines() : before(SetLogSink(this)) {}
    CountedLines(const CountedLines&) = delete;
    CountedLines& operator=(const CountedLines&) = delete;
    ~CountedLines() override { SetLogSink(before); }

    void Write(LogCategory, int32_t, const char*) override { ++lines; }

    uint64_t lines = 0;

private:
    LogSink* const before;
};

void CountLines(const Trial& trial) {
    std::printf("%-44s", trial.name);
    for (const int32_t level : {0, 1, 2}) {
        FullBridge world(2);
        trial.prepare(world);
        const CountedLines counted;
        debugLevels.fill(level);
        (void)trial.act(world);
        debugLevels = {};
        std::printf("  level %d: %8lu lines", level, static_cast<unsigned long>(counted.lines));
    }
    std::printf("\n");
}

// To a file, and to the system log where there is one.
void MeasureLine() {
    constexpr uint32_t lines = 20'000;
    const FileDescriptor output(::dup(STDOUT_FILENO));
    std::FILE* const file = std::tmpfile();
    (void)::dup2(::fileno(file), STDOUT_FILENO);
    const SystemClock clock;
    double seconds = 0;
    {
        const StandardLog log(clock);
        seconds = Measure([] {
            for (uint32_t n = 0; n < lines; ++n)
                norvad::log(LogCategory::MVRP, 0, "[SW-MVRP] Port(0) Remove VLAN %u \n", n);
        });
    }
    (void)::dup2(output.Get(), STDOUT_FILENO);
    (void)std::fclose(file);
    std::printf("a line to a file: %.2f us\n", 1e6 * seconds / lines);
}

double ResidentMb() {
    std::ifstream file("/proc/self/statm");
    double all = 0, resident = 0;
    file >> all >> resident;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1e6;
}

// The neighbours declare everything and say no more.
void MeasureMemory(uint8_t portsUp, bool allNeighbours) {
    FullBridge world(portsUp);
    const uint32_t own = world.Records();
    world.msrp->AddTalker(FullBridge::TalkerOf(FullBridge::TalkerId(0, 0)), Event::RJOIN_IN, 0);
    LongestRound(world, 30'000);  // so that what the bridge runs is resident, too
    const double before = ResidentMb();
    if (allNeighbours) {
        world.FillAll();
    } else {
        world.Fill(0);
    }
    double most = ResidentMb();
    uint32_t seconds = 0;
    for (; world.Records() > own; ++seconds) {
        LongestRound(world, 1'000);
        most = std::max(most, ResidentMb());
    }
    LongestRound(world, 10'000);
    std::printf("%s of %u neighbours: resident %.1f MB more at most, all gone after %u s, 10 s later %.1f MB more\n",
                allNeighbours ? "each" : "one", portsUp, most - before, seconds, ResidentMb() - before);
}

// In a process of its own, whose memory nothing else has stirred.
void MeasureMemoryApart(uint8_t portsUp, bool allNeighbours) {
    const pid_t child = ::fork();
    if (child == 0) {
        MeasureMemory(portsUp, allNeighbours);
        std::fflush(stdout);
        ::_exit(0);
    }
    (void)::waitpid(child, nullptr, 0);
}

}  // namespace

}  // namespace norvad::bench

// With an argument: those events only whose names hold it.
int main(int argc, char** argv) {
    using namespace norvad::bench;
    setvbuf(stdout, nullptr, _IOLBF, 0);
    const auto isWanted = [&](const Trial& trial) { return argc < 2 || std::strstr(trial.name, argv[1]); };
    if (argc < 2) {
        for (const uint8_t portsUp : {uint8_t{2}, uint8_t{3}}) {
            for (const bool allNeighbours : {false, true}) MeasureMemoryApart(portsUp, allNeighbours);
        }
        MeasureLine();
    }
    for (const Trial& trial : trials) {
        if (isWanted(trial)) MeasureTime(trial);
    }
    for (const Trial& trial : trials) {
        if (isWanted(trial)) CountLines(trial);
    }
    return 0;
}
