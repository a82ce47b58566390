#include "lab/network/program/readers.h"

namespace norvad::network {

CableSettings ReadCable(FileMap& map) {
    constexpr int64_t mostNs = 1'000'000'000;
    CableSettings cable;
    const auto delay = map.Find("delay");
    const auto back = map.Find("back");
    if (delay) cable.delayNs[0] = cable.delayNs[1] = static_cast<uint64_t>(delay->DurationNs(0, mostNs));
    if (back) cable.delayNs[1] = static_cast<uint64_t>(back->DurationNs(0, mostNs));
    if (const auto value = map.Find("jitter")) cable.jitterNs = static_cast<uint64_t>(value->DurationNs(0, mostNs));
    if (const auto value = map.Find("loss")) {
        cable.lostPerMillion[0] = cable.lostPerMillion[1] = value->SharePerMillion();
    }
    if (const auto value = map.Find("rate")) cable.bitsPerSecond = ReadRate(*value);
    if (const auto value = map.Find("queue")) cable.queueFrames = ReadQueue(*value);
    return cable;
}

uint64_t ReadRate(const FileValue& value) {
    return static_cast<uint64_t>(value.BitsPerSecond(1'000'000, 10'000'000'000));
}

size_t ReadQueue(const FileValue& value) {
    return static_cast<size_t>(value.Number(1, 100'000));
}

void ReadLink(const FileValue& value, Names& names) {
    FileMap map(value);
    LinkPlan link;
    link.a = names.TakePort(map.Need("from"));
    link.b = names.TakePort(map.Need("to"));
    link.cable = ReadCable(map);
    map.RefuseOthers();
    if (link.a.index == link.b.index) value.Refuse("a link has two different ends");
    names.Add(link, value);
}

}  // namespace norvad::network
