#pragma once

#include <string>
#include <vector>

#include "ctl/model.h"
#include "ctl/streams.h"
#include "ctl/table.h"

namespace norvad::ctl {

// The tables that users see, from what the daemon said.
Table PortTable(const std::vector<Port>& ports);
Table StreamTable(const std::vector<Stream>& streams);
Table VlanTable(const std::vector<Vlan>& vlans);
Table DomainTable(const std::vector<Domain>& domains);
Table ClockTable(const Clock& clock);

// The same clock in one line.
std::string ClockLine(const Clock& clock);

// "port 1: 8 Egress port is not AVB capable, bridge 80:00:02:54:4e:44:00:01"
std::string FailureText(const TalkerRecord& failed);

}  // namespace norvad::ctl
