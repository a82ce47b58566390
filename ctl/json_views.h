#pragma once

#include <nlohmann/json.hpp>
#include <vector>

#include "ctl/answers.h"
#include "ctl/model.h"
#include "ctl/selection.h"
#include "ctl/streams.h"

namespace norvad::ctl {

// What --json prints; schema.json describes it. Members keep their order, names and meaning. A number that is none, as
// a ratio before the first measurement may be, is null.
using Json = nlohmann::ordered_json;

inline constexpr int jsonVersion = 1;

Json PortsJson(const std::vector<Port>& ports);
Json StreamsJson(const std::vector<Stream>& streams);
Json VlansJson(const std::vector<Vlan>& vlans);
Json DomainsJson(const std::vector<Domain>& domains);
Json ClockJson(const Clock& clock);
Json NotUnderstoodJson(const NotUnderstood& notUnderstood);

}  // namespace norvad::ctl
