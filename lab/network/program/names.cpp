#include "lab/network/program/names.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

namespace norvad::network {

namespace {

constexpr size_t mostNodes = 4'000;  // of bridges, and of stations

size_t FindIn(const std::unordered_map<std::string, size_t>& names, const FileValue& place, const char* kind) {
    const auto found = names.find(place.Text());
    if (found == names.end()) place.Refuse(fmt::format("there is no {} '{}'", kind, place.Text()));
    return found->second;
}

bool MayStandInAName(char letter) {
    return std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '_';
}

}  // namespace

// Dots and dashes are kept for ports and links; the names are file names and columns of tables too.
void Names::Claim(const std::string& name, const FileValue& place) {
    constexpr size_t longest = 40;
    if (name.empty() || name.size() > longest || !std::all_of(name.begin(), name.end(), MayStandInAName)) {
        place.Refuse(fmt::format("'{}' is no name of letters, digits and underscores, {} at most", name, longest));
    }
    if (bridges.contains(name) || stations.contains(name)) place.Refuse(fmt::format("'{}' names two things", name));
    if (std::max(bridges.size(), stations.size()) >= mostNodes) {
        place.Refuse(fmt::format("more than {} bridges or stations are too many", mostNodes));
    }
}

size_t Names::Add(BridgePlan bridge, const FileValue& place) {
    Claim(bridge.name, place);
    const size_t index = scenario.bridges.size();
    bridge.mac = {0x02, 0, 0, 0x10, static_cast<uint8_t>(index >> 8), static_cast<uint8_t>(index)};
    bridges.emplace(bridge.name, index);
    taken.emplace_back();
    scenario.bridges.push_back(std::move(bridge));
    return index;
}

size_t Names::Add(StationPlan station, const FileValue& place) {
    Claim(station.name, place);
    const size_t index = scenario.stations.size();
    station.mac = {0x02, 0, 0, 0, static_cast<uint8_t>(index >> 8), static_cast<uint8_t>(index)};
    stations.emplace(station.name, index);
    scenario.stations.push_back(std::move(station));
    return index;
}

void Names::Add(LinkPlan link, const FileValue& place) {
    const std::string a = NameOf(link.a), b = NameOf(link.b);
    link.name = a + "-" + b;
    if (links.contains(link.name)) place.Refuse(fmt::format("'{}' would be two links", link.name));
    links.emplace(link.name, scenario.links.size());
    links.emplace(b + "-" + a, scenario.links.size());
    scenario.links.push_back(std::move(link));
}

size_t Names::Bridge(const FileValue& place) const {
    return FindIn(bridges, place, "bridge");
}

size_t Names::Station(const FileValue& place) const {
    return FindIn(stations, place, "station");
}

size_t Names::Link(const FileValue& place) const {
    return FindIn(links, place, "link");
}

std::vector<size_t> Names::Bridges(const std::optional<FileValue>& place) const {
    std::vector<size_t> indexes;
    if (place) {
        for (const FileValue& each : place->List()) indexes.push_back(Bridge(each));
        if (indexes.empty()) place->Refuse("one bridge at least is wanted here");
    } else {
        indexes.resize(scenario.bridges.size());
        std::iota(indexes.begin(), indexes.end(), size_t{0});
    }
    return indexes;
}

End Names::TakePort(const FileValue& place) {
    const std::string text = place.Text();
    const size_t dot = text.find('.');
    const auto found = bridges.find(text.substr(0, dot));
    if (found == bridges.end()) place.Refuse("there is no bridge '" + text.substr(0, dot) + "'");
    const size_t bridge = found->second;
    if (dot != std::string::npos) {
        const std::string number = text.substr(dot + 1);
        if (number.size() != 1 || number[0] < '0' || number[0] > '9')
            place.Refuse(fmt::format("'{}' is no port", number));
        return TakePort(bridge, static_cast<uint8_t>(number[0] - '0'), place);
    }
    const auto& ports = taken[bridge];
    const auto end = ports.begin() + scenario.bridges[bridge].ports;
    const auto port = std::find(ports.begin(), end, false);
    if (port == end) place.Refuse(fmt::format("all {} ports of bridge '{}' are taken", end - ports.begin(), text));
    return TakePort(bridge, static_cast<uint8_t>(port - ports.begin()), place);
}

End Names::TakePort(size_t bridge, uint8_t port, const FileValue& place) {
    const BridgePlan& plan = scenario.bridges[bridge];
    if (port >= plan.ports) place.Refuse(fmt::format("bridge '{}' has {} ports and no other", plan.name, plan.ports));
    if (taken[bridge][port]) place.Refuse(fmt::format("port {}.{} is taken", plan.name, port));
    taken[bridge][port] = true;
    return {false, bridge, port};
}

std::string Names::NameOf(const End& end) const {
    return end.isStation ? scenario.stations[end.index].name : scenario.bridges[end.index].name;
}

}  // namespace norvad::network
