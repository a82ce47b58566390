#include "fuzz/whole_bridge/requested_tables.h"

#include <bit>

#include "base/wire.h"
#include "fuzz/whole_bridge/violation.h"
#include "switch/driver_records.h"

namespace norvad::fuzz {

namespace {

// The one port of a mask: the daemon adds and removes them one by one.
uint8_t PortOf(uint32_t mask) {
    if (!std::has_single_bit(mask)) Violated("a request names one port", mask);
    return static_cast<uint8_t>(std::countr_zero(mask));
}

template <typename Member>
void Change(std::set<Member>& members, const Member& member, bool add, uint32_t vid) {
    const bool changed = add ? members.insert(member).second : members.erase(member) == 1;
    if (!changed) Violated("a membership is asked for only where it changes: VLAN", vid);
}

}  // namespace

void RequestedTables::Take(const std::vector<test::Bytes>& records) {
    for (const test::Bytes& record : records) Take(record);
}

void RequestedTables::Take(const test::Bytes& record) {
    const auto header = Peek<CommandHeader>(record);
    if (!header || record.size() != sizeof(CommandBlock)) Violated("a request is a block", record.size());
    const auto command = static_cast<SwitchCommand>(header->command.value());
    if (command == SwitchCommand::SWITCH_PORT_MCAST) {
        const auto request = *Peek<PortMcastRecord>(record);
        Change(groups, {PortOf(request.portMask), request.vid, request.address}, request.add != 0, request.vid);
    } else if (command == SwitchCommand::SWITCH_PORT_VLAN) {
        const auto request = *Peek<PortVlanRecord>(record);
        const auto vid = request.vid.value();
        Change(vlans, {PortOf(static_cast<uint32_t>(request.portMask)), vid}, request.state != 0,
               static_cast<uint32_t>(vid));
    } else if (command == SwitchCommand::SWITCH_EGRESS_LIMIT) {
        const auto request = *Peek<EgressLimitRecord>(record);
        egress[request.port] = {request.parameter, request.limit};
    }
}

}  // namespace norvad::fuzz
