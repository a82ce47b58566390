#include <algorithm>
#include <array>
#include <string>

#include "lab/network/program/readers.h"
#include "lab/network/random.h"

namespace norvad::network {

namespace {

constexpr int64_t mostPpb = 10'000'000;
constexpr int64_t mostInShape = 2'000;

// How bridges are put together, and by which ports.
enum class Shape : uint8_t { NONE, ROW, RING, STAR, TREE };
struct ShapeName {
    const char* name;
    Shape shape;
};
constexpr std::array<ShapeName, 4> shapeNames{
    {{"row", Shape::ROW}, {"ring", Shape::RING}, {"star", Shape::STAR}, {"tree", Shape::TREE}}};

struct Group {
    Shape shape = Shape::NONE;
    size_t count = 1;
    size_t branches = 2;  // of a tree
    CableSettings cable;
};

OscillatorPlan ReadOscillator(FileMap& map) {
    OscillatorPlan plan;
    if (const auto value = map.Find("error")) plan.errorPpb = static_cast<int32_t>(value->FrequencyPpb(mostPpb));
    if (const auto value = map.Find("ramp")) plan.rampPpbPerSecond = static_cast<int32_t>(value->RampPpb(mostPpb));
    if (const auto value = map.Find("ramp from")) {
        plan.rampFromNs = static_cast<uint64_t>(value->DurationNs(0, longestRunNs));
    }
    if (const auto value = map.Find("ramp until")) {
        plan.rampUntilNs = static_cast<uint64_t>(value->DurationNs(0, longestRunNs));
    }
    if (const auto value = map.Find("wander")) plan.wanderPpb = static_cast<int32_t>(value->FrequencyPpb(mostPpb));
    return plan;
}

// A clock's oscillator, its granularity, and how far the bridges of a group differ.
int64_t ReadClock(const FileValue& value, BridgePlan& plan) {
    FileMap map(value);
    plan.oscillator = ReadOscillator(map);
    if (const auto each = map.Find("granularity")) {
        plan.granularityNs = static_cast<uint32_t>(each->DurationNs(1, 1'000'000));
    }
    if (const auto each = map.Find("start")) plan.startNs = static_cast<uint64_t>(each->DurationNs(0, longestRunNs));
    const auto spread = map.Find("spread");
    map.RefuseOthers();
    return spread ? std::abs(spread->FrequencyPpb(mostPpb)) : 0;
}

void ReadHandling(const FileValue& value, BridgePlan& plan) {
    constexpr int64_t mostNs = 1'000'000'000;
    const auto bounds = value.List();
    if (bounds.empty() || bounds.size() > 2) value.Refuse("one time is wanted here, or [least, most]");
    plan.leastHandlingNs = static_cast<uint64_t>(bounds.front().DurationNs(0, mostNs));
    plan.mostHandlingNs = static_cast<uint64_t>(bounds.back().DurationNs(0, mostNs));
    if (plan.mostHandlingNs < plan.leastHandlingNs) value.Refuse("the least time is above the most");
}

CpuPort ReadCpuPort(const FileValue& value) {
    FileMap map(value);
    CpuPort port;
    if (const auto each = map.Find("rate")) port.bitsPerSecond = ReadRate(*each);
    if (const auto each = map.Find("queue")) port.queueFrames = ReadQueue(*each);
    map.RefuseOthers();
    return port;
}

Group ReadGroup(FileMap& map) {
    Group group;
    for (const auto& [name, shape] : shapeNames) {
        const auto value = map.Find(name);
        if (!value) continue;
        if (group.shape != Shape::NONE) value->Refuse("a group of bridges has one shape");
        group.shape = shape;
        group.count = static_cast<size_t>(value->Number(shape == Shape::RING ? 3 : 1, mostInShape));
    }
    if (group.shape == Shape::TREE) {
        if (const auto value = map.Find("branches")) group.branches = static_cast<size_t>(value->Number(1, 4));
    }
    if (group.shape != Shape::NONE) {
        if (const auto value = map.Find("link")) {
            FileMap cable(*value);
            group.cable = ReadCable(cable);
            cable.RefuseOthers();
        }
    }
    return group;
}

void Connect(size_t a, uint8_t portOfA, size_t b, uint8_t portOfB, const CableSettings& cable, const FileValue& place,
             Names& names) {
    LinkPlan link;
    link.a = names.TakePort(a, portOfA, place);
    link.b = names.TakePort(b, portOfB, place);
    link.cable = cable;
    names.Add(link, place);
}

// Bridge n of the group is number first + n. Towards the first one they look by port 0.
void ConnectGroup(const Group& group, size_t first, const FileValue& place, Names& names) {
    for (size_t n = 1; n < group.count; ++n) {
        size_t parent = n - 1;
        size_t port = 1;
        if (group.shape == Shape::STAR) {
            parent = 0;
            port = n - 1;
        }
        if (group.shape == Shape::TREE) {
            parent = (n - 1) / group.branches;
            port = (n - 1) % group.branches + (parent == 0 ? 0 : 1);
        }
        Connect(first + parent, static_cast<uint8_t>(std::min<size_t>(port, portCount)), first + n, 0, group.cable,
                place, names);
    }
    if (group.shape == Shape::RING) Connect(first + group.count - 1, 1, first, 0, group.cable, place, names);
}

}  // namespace

void ReadBridges(const FileValue& value, uint64_t seed, Names& names) {
    FileMap map(value);
    const Group group = ReadGroup(map);
    BridgePlan plan;
    int64_t spreadPpb = 0;
    if (const auto each = map.Find("ports")) plan.ports = static_cast<uint8_t>(each->Number(2, 5));
    if (const auto each = map.Find("priority1")) plan.ptp.ptpPriority1 = static_cast<uint32_t>(each->Number(0, 255));
    if (const auto each = map.Find("no grandmaster")) plan.ptp.ptpNoGM = each->YesOrNo();
    if (const auto each = map.Find("clock")) spreadPpb = ReadClock(*each, plan);
    if (const auto each = map.Find("handling")) ReadHandling(*each, plan);
    if (const auto each = map.Find("cpu port")) plan.cpuPort = ReadCpuPort(*each);

    const auto named = map.Find("name");
    const std::string name = named ? named->Text() : "b";
    const FileValue& place = named ? *named : value;
    map.RefuseOthers();

    const int32_t errorPpb = plan.oscillator.errorPpb;
    size_t first = 0;
    for (size_t n = 0; n < group.count; ++n) {
        plan.name = group.shape == Shape::NONE ? name : name + std::to_string(n + 1);
        if (spreadPpb > 0) {
            const auto drawn = Random(seed, plan.name).Below(static_cast<uint64_t>(2 * spreadPpb + 1));
            plan.oscillator.errorPpb = errorPpb + static_cast<int32_t>(static_cast<int64_t>(drawn) - spreadPpb);
        }
        const size_t index = names.Add(plan, place);
        if (n == 0) first = index;
    }
    ConnectGroup(group, first, value, names);
}

}  // namespace norvad::network
