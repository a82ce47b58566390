#pragma once

#include <map>
#include <tuple>
#include <utility>
#include <vector>

#include "ctl/model.h"

namespace norvad::ctl {

// One VLAN or domain on all ports that have a record of it.
template <typename Record>
struct Registration {
    Record value;  // one of the records
    std::vector<std::pair<unsigned, Machines>> ports;
};

inline auto KeyOf(const Vlan& vlan) {
    return vlan.vid;
}
inline auto KeyOf(const Domain& domain) {
    return std::tuple(domain.srClass, domain.priority, domain.vid);
}

// In ascending order of the value.
template <typename Record>
std::vector<Registration<Record>> GroupByValue(const std::vector<Record>& records) {
    std::map<decltype(KeyOf(std::declval<Record>())), Registration<Record>> groups;
    for (const Record& record : records) {
        auto& group = groups[KeyOf(record)];
        group.value = record;
        group.ports.emplace_back(record.port, record.machines);
    }
    std::vector<Registration<Record>> result;
    for (auto& [key, group] : groups) result.push_back(std::move(group));
    return result;
}

}  // namespace norvad::ctl
