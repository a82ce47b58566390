#include <fmt/format.h>

#include <algorithm>

#include "lab/network/program/readers.h"

namespace norvad::network {

namespace {

constexpr int64_t mostStreams = 4'000;

void ReadTalk(const FileValue& value, StationPlan& station) {
    if (!value.IsMap()) {
        station.streams = static_cast<uint16_t>(value.Number(1, mostStreams));
        return;
    }
    FileMap map(value);
    station.streams = static_cast<uint16_t>(map.Need("streams").Number(1, mostStreams));
    if (const auto each = map.Find("size")) station.maxFrameSize = static_cast<uint16_t>(each->Number(42, 1500));
    if (const auto each = map.Find("interval frames")) {
        station.intervalFrames = static_cast<uint16_t>(each->Number(1, 100));
    }
    if (const auto each = map.Find("eager")) station.eager = each->YesOrNo();
    if (const auto each = map.Find("class")) {
        if (each->Text() != "A" && each->Text() != "B")
            each->Refuse(fmt::format("'{}' is neither A nor B", each->Text()));
        station.isClassB = each->Text() == "B";
    }
    map.RefuseOthers();
}

std::vector<uint16_t> ReadVlans(const std::optional<FileValue>& value) {
    std::vector<uint16_t> vlans;
    if (!value) return vlans;
    for (const FileValue& each : value->List()) vlans.push_back(static_cast<uint16_t>(each.Number(1, 4094)));
    return vlans;
}

}  // namespace

void ReadStation(const FileValue& value, Names& names) {
    FileMap map(value);
    const FileValue at = map.Need("at");
    const FileValue name = map.Need("name");
    StationPlan station;
    station.name = name.Text();
    const End end = names.TakePort(at);
    station.bridge = end.index;
    station.port = end.port;
    if (const auto each = map.Find("talk")) ReadTalk(*each, station);
    if (const auto each = map.Find("rate")) station.rate = static_cast<uint32_t>(each->Number(1, 8'000'000));
    if (const auto each = map.Find("listen")) {
        for (const FileValue& talker : each->List()) {
            const size_t index = names.Station(talker);
            if (std::find(station.listensTo.begin(), station.listensTo.end(), index) != station.listensTo.end()) {
                talker.Refuse(fmt::format("'{}' stands here twice", talker.Text()));
            }
            station.listensTo.push_back(index);
        }
    }
    station.vlans = ReadVlans(map.Find("vlans"));
    station.vlanFrames = ReadVlans(map.Find("vlan frames"));

    LinkPlan link;
    if (const auto each = map.Find("link")) {
        FileMap cable(*each);
        link.cable = ReadCable(cable);
        cable.RefuseOthers();
    }
    map.RefuseOthers();
    link.a = {true, names.Add(std::move(station), name), 0};
    link.b = end;
    names.Add(link, name);
}

}  // namespace norvad::network
