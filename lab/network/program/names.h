#pragma once

#include <array>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "lab/network/program/file_value.h"
#include "lab/network/program/scenario.h"

namespace norvad::network {

// What the file has named so far, and which ports are taken.
class Names {
public:
    explicit Names(Scenario& scenario) : scenario(scenario) {}

    // Each refuses, at that place, what cannot be; the numbers are those of the lists.
    size_t Add(BridgePlan bridge, const FileValue& place);
    size_t Add(StationPlan station, const FileValue& place);
    void Add(LinkPlan link, const FileValue& place);  // named after its ends

    size_t Bridge(const FileValue& place) const;
    size_t Station(const FileValue& place) const;
    size_t Link(const FileValue& place) const;  // "b1-b2" and "b2-b1" are the same

    // All of a value that names one bridge or a list of them; every bridge where there is no value.
    std::vector<size_t> Bridges(const std::optional<FileValue>& place) const;

    // "b1.2", or "b1" for the lowest port that is free; it is taken from now on.
    End TakePort(const FileValue& place);
    End TakePort(size_t bridge, uint8_t port, const FileValue& place);

private:
    std::string NameOf(const End& end) const;
    void Claim(const std::string& name, const FileValue& place);

    Scenario& scenario;
    std::unordered_map<std::string, size_t> bridges, stations, links;
    std::vector<std::array<bool, portCount>> taken;  // ports, by bridge
};

}  // namespace norvad::network
